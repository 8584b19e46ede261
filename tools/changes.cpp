// Runs changes, single ones, batches and edited ones: under one lock, saved once and only if all of them succeed.
#include <fcntl.h>
#include <ftw.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "document.h"

namespace kvio {
namespace {

// Replaces a value "-" by standard input, before the file is locked. There can be one.
void read_value(Call &call) {
    bool taken = call.in_batch;
    for (std::size_t i = call.index("FIELD"); i < call.arguments.size(); ++i) {
        if (call.arguments[i] != "-" || argument_at(*call.verb, i) != "VALUE") continue;
        if (taken)
            throw Failure{misused, call.in_batch ? "a batch has no value on standard input"
                                                 : "only one value can come from standard input"};
        taken = true;
        std::string &value = call.arguments[i] = standard_input();
        if (!value.empty() && value.back() == '\n') value.pop_back();
        if (!value.empty() && value.back() == '\r') value.pop_back();
    }
}

// Words as a shell makes them: blanks separate, quotes and backslashes keep together, # begins a comment. Between
// double quotes a backslash stays unless the character behind it needs one there.
Strings split(const std::string &line) {
    Strings words;
    bool in_word = false;
    char quote = 0;
    auto add = [&](const std::string &text) {
        if (!in_word) words.emplace_back();
        in_word = true;
        words.back() += text;
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '\\' && quote != '\'' && i + 1 < line.size()) {
            bool kept = quote && !std::strchr("$`\"\\", line[i + 1]);
            add(line.substr(kept ? i : i + 1, kept ? 2 : 1));
            ++i;
        } else if (quote ? c == quote : c == '"' || c == '\'') {
            quote = quote ? '\0' : c;
            add("");
        } else if (!quote && (c == ' ' || c == '\t')) {
            in_word = false;
        } else if (!quote && !in_word && c == '#') {
            break;
        } else {
            add(std::string(1, c));
        }
    }
    if (quote) throw Failure{misused, "a quote is not closed"};
    return words;
}

void apply(Call &call, Document &document) {
    call.verb->action.change(call, document);
    if (call.verb->action.change != set && call.verb->action.change != unset) document.structure_changed = true;
}

void run_line(const std::string &line, const std::string &name, Document &document) {
    Strings words = split(line);
    if (words.empty()) return;
    Call call = parse(words, name.c_str());
    if (!call.verb || !call.verb->action.change || call.has('h')) throw Failure{misused, words[0] + " is no change"};
    read_value(call);
    apply(call, document);
}

// Keeps the counts of references, too.
int save_counted(const Call &call, const std::function<void(Document &)> &make) {
    return save_change(call, [&](Document &document) {
        document.references = references_below(document.root());
        make(document);
        if (document.structure_changed) update_references(document.references, references_below(document.root()));
    });
}

// Those that NAME does not have. The names that a change has replaced are like the new ones in the text of a fault.
void refuse_new_faults(const Document &document, const std::string &name) {
    if (!document.structure_changed) return;
    Strings renamed = document.renamed;
    std::sort(renamed.begin(), renamed.end(), [](auto &one, auto &other) { return one.size() > other.size(); });
    auto nameless = [&](std::string fault) {
        for (const std::string &one : renamed)
            for (std::size_t at = fault.find(one); !one.empty() && at != std::string::npos;
                 at = fault.find(one, at + 1))
                fault.replace(at, one.size(), "\n");
        return fault;
    };
    std::multimap<std::string, std::string> faults;
    for (const std::string &fault : faults_of(document)) faults.emplace(nameless(fault), fault);
    if (!faults.empty() && !is_broken(name))
        for (const std::string &fault : faults_of(Document::look(name)))
            if (auto found = faults.find(nameless(fault)); found != faults.end()) faults.erase(found);
    if (!faults.empty()) throw Failure{inconsistent, faults.begin()->second + "; nothing is saved without --force"};
}

// ---- edit

// The file to be edited, in a directory that only this user can read. The directory is removed with this object, or
// where this process is killed, by another one, which waits for the end of a pipe that this one holds.
class PrivateFile {
public:
    PrivateFile(const std::string &name, const std::string &bytes)
        : directory_(environment("TMPDIR", "/tmp") + "/kvio.XXXXXX") {
        start_remover();
        path_ = directory_ + '/' + name.substr(name.rfind('/') + 1);
        write_file(path_, bytes);
    }
    ~PrivateFile() {
        if (!keep || write(held_.get(), "", 1) != 1) remove_directory();
    }
    PrivateFile(const PrivateFile &) = delete;
    PrivateFile &operator=(const PrivateFile &) = delete;

    const std::string &path() const { return path_; }
    bool keep = false;

private:
    void remove_directory() {
        auto remove_one = [](const char *path, const struct stat *, int, FTW *) { return std::remove(path); };
        nftw(directory_.c_str(), remove_one, 8, FTW_DEPTH | FTW_PHYS);
    }

    void start_remover() {
        const SignalsBlocked signals;
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0 || !mkdtemp(directory_.data())) system_failure(directory_, errno);
        const Descriptor waiting(ends[0]);
        held_ = Descriptor(ends[1]);
        const pid_t child = fork();
        if (child > 0) return;
        held_.close();
        char kept;
        if (child < 0 || read(waiting.get(), &kept, 1) == 0) remove_directory();
        if (child < 0) throw Failure{io_error, "no process can be started"};
        _exit(0);
    }

    std::string directory_, path_;
    Descriptor held_;
};

void run_editor(const std::string &path) {
    const std::string editor = environment("VISUAL", environment("EDITOR", "vi"));
    setenv("KVIO_EDITED", path.c_str(), 1);
    const std::string command = editor + " \"$KVIO_EDITED\"";
    if (std::system(command.c_str()) != 0)  // NOLINT(cert-env33-c): the user's own command
        throw Failure{io_error, "the editor " + editor + " failed; nothing is saved"};
}

// What was edited, once it is well-formed and has no new faults.
Document edited_document(const Call &call, const std::string &path) {
    for (;;) {
        run_editor(path);
        try {
            Document edited = Document::file(path);
            edited.root();
            if (call.given("SCOPE")) edited.scope(call.scope());
            edited.structure_changed = true;
            if (!call.has('f')) refuse_new_faults(edited, call.name());
            return edited;
        } catch (const Failure &failure) {
            messages::say(failure.text);
            if (call.has('y') || !isatty(0) || !confirmed("Edit it again?"))
                throw Failure{failure.status, "nothing is saved"};
        }
    }
}

// What is edited: the bytes of a broken configuration as they are.
std::string bytes_to_edit(const Call &call, bool broken) {
    return broken ? contents_of(path_of(call.name())) : bytes_of(Document::look(call.name()), call.scope());
}

// Saves what was edited, unless the configuration has changed since then; a broken one as `restore` would.
int save_edited(const Call &call, Document &edited, bool broken, const std::string &before) {
    auto refuse_if_changed = [&] {
        if (bytes_to_edit(call, broken) != before) throw Failure{inconsistent, call.name() + " has changed meanwhile"};
    };
    if (!broken)
        return save_change(call, [&](Document &current) {
            refuse_if_changed();
            put_into(current, edited, call.scope());
        });
    refuse_if_changed();
    replace_broken(call, edited);
    return success;
}

}  // namespace

int save_change(const Call &call, const std::function<void(Document &)> &make) {
    std::string text;
    {
        Document document = Document::change(call);
        make(document);
        if (!call.has('f')) refuse_new_faults(document, call.name());
        if (call.has('n')) {
            differences(call, Document::look(call.name()), document, text);
        } else {
            document.save();
            text = document.output;
        }
    }
    put(text);  // without the lock, since a reader may keep it waiting
    return success;
}

int run_change(Call &call) {
    read_value(call);
    return save_counted(call, [&](Document &document) { apply(call, document); });
}

int batch(Call &call) {
    const Strings lines = lines_of(standard_input());
    return save_counted(call, [&](Document &document) {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            try {
                run_line(lines[i], call.name(), document);
            } catch (const Failure &failure) {
                throw Failure{failure.status,
                              "line " + std::to_string(i + 1) + ": " + failure.text + "; nothing is saved"};
            }
        }
    });
}

int edit(Call &call) {
    const bool broken = !call.given("SCOPE") && is_broken(call.name());
    const std::string before = bytes_to_edit(call, broken);
    PrivateFile file(call.name(), before);
    Document edited = edited_document(call, file.path());
    std::string text;
    if (broken) {
        messages::say(call.name() + " is not well-formed: all is new");
    } else if (!differences(call, Document::parse(before, call.name()), edited, text)) {
        messages::say("nothing is changed");
        return success;
    }
    if (!messages::quiet) put(text);
    if (call.has('n')) return success;
    if (!call.has('y') && !confirmed("Save this?")) return not_found;
    try {
        return save_edited(call, edited, broken, before);
    } catch (const Failure &failure) {
        file.keep = true;
        throw Failure{failure.status, failure.text + "; your version is " + file.path()};
    }
}

}  // namespace kvio
