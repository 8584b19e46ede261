// Operations on lists and groups as transcripts: tests/objects/NAME.t holds the operations, each followed by all that
// can be seen of it.
//
//     > <t name="a"/><group name="g" type="t"/>       loads this scope, with records as they come
//     with g -entry_removed max_groups=2              takes callbacks away, sets fields
//     $ join_entry g a 9 7                            an operation
//     0 set_entry(a=9) ..                             its result and the callbacks, in order
//     log Group: ...                                  what it logged; err: its steps on the standard error stream
//     - 3 <t name="a" ...                             the elements that went from the scope, and, with +, those that
//                                                     came, with their places
//     $ every join_entry g a 9 7                      the operation with each of its callbacks, and each of its calls
//                                                     of the store, failing in turn, each with its number, those of one
//                                                     outcome together; .. and | tell where the callbacks part from
//                                                     those of the success
#include <algorithm>
#include <sstream>

#include "tests/object_recorder.h"
#include "tests/support/transcript.h"

namespace {

using transcript::argument;
using transcript::difference;
using transcript::Words;

// Of the callbacks of a run that failed: the last one that it has in common with a successful one, and what follows.
std::string parting(const std::string &whole, const std::string &seen) {
    if (whole == seen) return "all";
    size_t same = std::mismatch(whole.begin(), whole.end(), seen.begin(), seen.end()).first - whole.begin();
    same = same ? whole.rfind(' ', same - 1) + 1 : 0;
    size_t last = same > 1 ? whole.rfind(' ', same - 2) + 1 : 0;
    return (same ? ".. " + whole.substr(last, same - last) : "") + "| " + seen.substr(same);
}

class Transcripts : public Objects, public testing::WithParamInterface<const char *> {
protected:
    using Operation = std::function<long()>;

    static void *data(const std::string &word) { return const_cast<char *>(argument(word)); }

    group_desc_t *record(const std::string &name) {
        auto found = groups.find(name);
        return &(found != groups.end() ? found : groups.emplace(name, group(argument(name))).first)->second;
    }

    template <class Record>
    static bool take_away(Record &record, const std::string &callback) {
        const std::map<std::string, std::function<void()>> common = {
            {"begin", [&] { record.begin = nullptr; }},
            {"end", [&] { record.end = nullptr; }},
            {"print_entry", [&] { record.print_entry = nullptr; }},
            {"alloc_entry", [&] { record.alloc_entry = nullptr; }},
            {"set_entry", [&] { record.set_entry = nullptr; }},
            {"get_entry", [&] { record.get_entry = nullptr; }},
            {"free_entry", [&] { record.free_entry = nullptr; }},
            {"type", [&] { record.type = "u"; }},
        };
        auto found = common.find(callback);
        if (found != common.end()) found->second();
        return found != common.end();
    }

    void with(const Words &words) {
        for (size_t i = 2; i < words.size(); ++i) {
            const std::string field = words[i].substr(words[i][0] == '-' ? 1 : 0, words[i].find('='));
            const int number = std::atoi(words[i].c_str() + words[i].find('=') + 1);
            if (words[1] == "l") {
                if (words[i].rfind("max_entries=", 0) == 0)
                    entries.max_entries = number;
                else if (field == "print_name")
                    entries.print_name = nullptr;
                else
                    EXPECT_TRUE(take_away(entries, field)) << field;
                continue;
            }
            group_desc_t &g = *record(words[1]);
            if (words[i].rfind("max_groups=", 0) == 0)
                g.max_groups = number;
            else if (field == "properties")
                without_properties(&g);
            else if (field == "callbacks")
                without_callbacks(&g);
            else if (field == "print_group")
                g.print_group = nullptr;
            else if (field == "entry_removed")
                g.entry_removed = nullptr;
            else if (field == "property_removed")
                g.property_removed = nullptr;
            else if (field == "export_entry")
                g.export_entry = nullptr;
            else
                EXPECT_TRUE(take_away(g, field)) << field;
        }
    }

    Operation operation(const Words &w) {
        const std::string &name = w[0];
        if (name == "list_list") return [=] { return list_list(&entries, argument(w[2])); };
        if (name == "list_list2") return [=] { return list_list2(&entries); };
        if (name == "append_list") return [=] { return append_list(&entries, data(w[3]), argument(w[2])); };
        if (name == "change_list") return [=] { return change_list(&entries, data(w[3]), argument(w[2])); };
        if (name == "delete_list") return [=] { return delete_list(&entries, argument(w[2])); };
        if (name == "get_list") return [=] { return get_list(&entries, argument(w[2]), own_entry()); };
        group_desc_t *g = record(w[1]);
        if (name == "list_group") return [=] { return list_group(g); };
        if (name == "create_group") return [=] { return create_group(g, record(w[2])); };
        if (name == "use_group") return [=] { return use_group(g); };
        if (name == "unuse_group") return [=] { return unuse_group(g); };
        if (name == "remove_entry") return [=] { return remove_entry(g, argument(w[2])); };
        if (name == "remove_group") return [=] { return remove_group(g, argument(w[2])); };
        if (name == "dispose_group") return [=] { return dispose_group(g, record(w[2])); };
        if (name == "join_entry") return [=] { return join_entry(g, argument(w[2]), data(w[3]), data(w[4])); };
        if (name == "join_group") return [=] { return join_group(g, record(w[2])); };
        if (name == "change_entry") return [=] { return change_entry(g, argument(w[2]), data(w[3]), data(w[4])); };
        if (name == "export_group") return [=] { return export_group(g) ? 1 : 0; };
        if (name == "valid_property") return [=] { return valid_property(argument(w[3]), g, argument(w[2])); };
        ADD_FAILURE() << "no operation " << name;
        return [] { return 0; };
    }

    void start(const std::string &scope) {
        load(scope);
        entries = list();
        groups.clear();
    }

    std::string messages(const Seen &seen) const {
        std::string text;
        std::istringstream log(seen.log);
        for (std::string line; std::getline(log, line);) text += "    log " + line.substr(line.find(':') + 2) + "\n";
        if (err[0] == '%') text += "    err " + err;
        return text;
    }

    std::string performed(const Words &words) {
        const std::string before = scope();
        Seen seen = run(operation(words));
        std::string text = std::to_string(seen.result) + " " + seen.calls + "\n" + messages(seen);
        if (words[0] == "valid_property") {
            text.insert(text.find(' ') + 1, std::string("at ") + record(words[1])->name);
            groups.erase(words[1]);
        }
        return text + difference(before, seen.scope);
    }

    std::string failures(const std::string &before, const Words &words) {
        start(before);
        const Seen success = run(operation(words));
        const std::map<std::string, int> uses_of = uses();
        std::string text =
            std::to_string(success.result) + " " + success.calls + "\n" + difference(before, success.scope);
        struct Failures {
            std::string what, failing;
        };
        std::vector<Failures> seen_of;
        for (const auto &[function, count] : uses_of) {
            // Nobody notices these.
            if (function == "begin" || function == "end" || function.rfind("free_", 0) == 0) continue;
            for (int nth = 1; nth <= count; ++nth) {
                start(before);
                fail(function, nth);
                Seen seen = run(operation(words));
                std::string what =
                    std::to_string(seen.result) + " " + parting(success.calls, seen.calls) + "\n" + messages(seen);
                const std::string changed = difference(before, seen.scope);
                const std::string missed = difference(success.scope, seen.scope);
                what += changed.size() <= missed.size() ? changed
                        : missed.empty()                ? "    done\n"
                                                        : "    done, but\n" + missed;
                auto same = std::find_if(seen_of.begin(), seen_of.end(), [&](auto &one) { return one.what == what; });
                if (same == seen_of.end()) same = seen_of.insert(same, {what, ""});
                same->failing += (same->failing.empty() ? "" : ", ") + function + " " + std::to_string(nth);
            }
        }
        for (const auto &[what, failing] : seen_of) text += "  " + failing + ": " + what;
        return text;
    }

    list_desc_t entries = {};
    std::map<std::string, group_desc_t> groups;
};

TEST_P(Transcripts, ShowWhatIsSeen) {
    if (GetParam() == std::string("failures")) NEEDS_FAILING_STORE_CALLS();
    std::string before;
    auto load = [&](const std::string &scope) { start(before = scope); };
    auto perform = [&](Words words) -> std::string {
        if (words[0] == "with") return with(words), "";
        const bool every = words[1] == "every";
        words.erase(words.begin(), words.begin() + (every ? 2 : 1));
        return every ? failures(before, words) : performed(words);
    };
    transcript::play(std::string(TRANSCRIPTS) + GetParam() + ".t", load, perform);
}

INSTANTIATE_TEST_SUITE_P(Of, Transcripts, testing::Values("lists", "groups", "joins", "export", "failures"),
                         [](const auto &of) { return std::string(of.param); });

}  // namespace
