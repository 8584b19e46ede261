// A configuration and calls of the store on it. Input: the file, a line "%%", and bytes from which the functions and
// their arguments are drawn.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "fuzz/fuzz.h"
#include "tests/play/functions.h"

namespace {

constexpr char path[] = "/etc/kavex/conf/a.xml";
// Scopes, types, names, fields, values and files, for any argument.
// clang-format off
const char *const texts[] = {
    nullptr, "", "s", "s/u", "object/address", "*", "s | /kavex/u", "..", "count(s)", "s[1]", "descendant::u", "@a",
    "s/text()", "namespace::x", "x:s", "[", "t", "group", "list", "entity", "u", "p:t", "t/f", "address_t", "a", "b",
    "c", "d", "e", "f", "g", "lan", "#1", "&amp;", "&", "&#38;", "a'\"b", "&e;", "<", "\xc3\xa4", "&#0;",
    "&#x110000;", "a\tb", "ip", "reference", "name", "type", "p:f", "xml:id", "xmlns", "text", "x", "4294967295",
    "-1", " 7 ", "<>&\"'", "\n", "]]>", "a long text that does not fit into small buffers of a caller", "a.xml",
    "b.xml", "c.xml", "/tmp/side.xml"};
// clang-format on

// Everything that hangs on the documents.
class Session {
public:
    explicit Session(FuzzedDataProvider &bytes) : bytes_(bytes) { given(kvio_open_config("a.xml", 0)); }
    ~Session() {
        drop_handles();
        kvio_release_checkpoint(checkpoint_);
        for (kvio_config_t *config : configs_) kvio_close_config(config);
    }
    bool is_open() const { return !configs_.empty(); }

    template <class Result, class... Arguments>
    void call(const char *name, Result (*function)(Arguments...)) {
        name_ = name;
        size_ = bytes_.ConsumeIntegralInRange<unsigned>(1, 40);
        small_.reset();
        const std::tuple<Arguments...> arguments{taken(static_cast<Arguments *>(nullptr))...};
        if constexpr (std::is_void_v<Result>) {
            std::apply(function, arguments);
            if (name_ == "kvio_release_checkpoint") checkpoint_ = nullptr;
        } else {
            const Result result = std::apply(function, arguments);
            if constexpr (std::is_same_v<Result, int>)
                MUST(!small_ || result < 1 || std::memchr(small_.get(), '\0', size_));
            if (name_ == "kvio_rollback_checkpoint" && result) checkpoint_ = nullptr;
            given(result);
        }
        // What the call has freed might be below what is held: a value may be anything in a document written by hand.
        if (std::regex_match(name, std::regex("kvio_(dispose|undefine|remove$|delete|set|set2|unset|rollback).*")))
            drop_handles();
    }

    void close_container() {
        if (!containers_.empty()) kvio_close_group(containers_.back()), containers_.pop_back();
    }

private:
    void drop_handles() {
        while (!containers_.empty()) close_container();
        entity_ = nullptr;
    }

    const char *taken(const char **) { return bytes_.PickValueInArray(texts); }
    int taken(int *) { return bytes_.ConsumeIntegralInRange(-16, 64); }
    // The number behind a buffer is its size. The buffer is a block of exactly that size.
    unsigned taken(unsigned *) { return small_ ? size_ : bytes_.ConsumeIntegralInRange(0u, 16u); }
    char *taken(char **) {
        static char large[1 << 20];
        if (name_.back() != '2') return large;
        small_ = std::make_unique<char[]>(size_);
        return small_.get();
    }
    uint32_t *taken(uint32_t **) { return &number_; }
    kvio_config_t *taken(kvio_config_t **) { return one_of(configs_); }
    kvio_iterator_t *taken(kvio_iterator_t **) { return containers_.empty() ? nullptr : one_of(containers_); }
    kvio_node_t *taken(kvio_node_t **) {
        const bool is_checkpoint = name_.find("checkpoint") != name_.npos;
        return is_checkpoint ? checkpoint_ : entity_;
    }
    template <class T>
    T *taken(T **) {
        return nullptr;
    }
    template <class T>
    T *one_of(const std::vector<T *> &all) {
        return all[bytes_.ConsumeIntegralInRange<size_t>(0, all.size() - 1)];
    }

    void given(kvio_config_t *config) {
        if (config) configs_.push_back(config);
    }
    void given(kvio_iterator_t *container) {
        if (container) containers_.push_back(container);
    }
    void given(kvio_node_t *node) {
        if (name_ == "kvio_create_checkpoint")
            kvio_release_checkpoint(std::exchange(checkpoint_, node));
        else if (node)
            entity_ = node;
    }
    void given(kvio_entities_t *array) {
        MUST(!array || (array->count >= 0 && array->count <= array->capacity));
        char name[16];
        for (int i = 0; array && name_ != "kvio_alloc_entities" && i < array->count; ++i)
            kvio_name2(array->items[i], name, sizeof name);
        kvio_free_entities(array);
    }
    template <class T>
    void given(T) {}

    FuzzedDataProvider &bytes_;
    std::vector<kvio_config_t *> configs_;
    std::vector<kvio_iterator_t *> containers_;
    kvio_node_t *entity_ = nullptr;
    kvio_checkpoint_t *checkpoint_ = nullptr;
    // Of the call:
    std::string name_;
    unsigned size_ = 0;
    std::unique_ptr<char[]> small_;
    uint32_t number_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const std::vector<std::function<void(Session &)>> calls = [] {
        std::vector<std::function<void(Session &)>> table = {[](Session &session) { session.close_container(); }};
        each_function([&](const std::string &name, auto function) {
            if (name.rfind("kvio_", 0) == 0 && name.rfind("kvio_close", 0) != 0)
                table.push_back([=](Session &session) { session.call(name.c_str(), function); });
        });
        return table;
    }();
    if (size > 1 << 16) return 0;
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    for (const char *other : {"/tmp/side.xml", "/etc/kavex/conf/b.xml", "/etc/kavex/conf/c.xml"}) unlink(other);
    fuzz::write_file(path, fuzz::cut(rest));
    FuzzedDataProvider bytes(reinterpret_cast<const uint8_t *>(rest.data()), rest.size());
    {
        Session session(bytes);
        if (!session.is_open()) return 0;
        while (bytes.remaining_bytes() > 0) calls[bytes.ConsumeIntegralInRange<size_t>(0, calls.size() - 1)](session);
        session.call("kvio_save_config", kvio_save_config);
    }
    if (access(path, F_OK) != 0) return 0;
    // What was saved can be opened, and where a save fails, what was there before.
    kvio_config_t *again = kvio_open_config("a.xml", 0);
    MUST(again);
    kvio_close_config(again);
    return 0;
}
