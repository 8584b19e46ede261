// Changes as a whole: under one lock, saved once and only if all of them succeed.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <utility>

#include "check.h"
#include "document.h"
#include "output.h"

namespace kvio {
namespace {

std::string standard_input() {
    std::string text;
    char piece[4096];
    while (std::size_t got = std::fread(piece, 1, sizeof piece, stdin)) text.append(piece, got);
    if (std::ferror(stdin)) throw Failure{io_error, std::string("standard input: ") + std::strerror(errno)};
    if (text.find('\0') != std::string::npos) throw Failure{misused, "standard input has a zero byte"};
    return text;
}

// One value at most can come from standard input, and it is read before the file is locked.
void read_values(Call &call) {
    if (call.verb->change != set && call.verb->change != define) return;
    bool taken = call.in_batch;
    for (std::size_t i = 5; i < call.count(); i += 2) {
        if (call[i] != "-") continue;
        if (taken)
            throw Failure{misused, call.in_batch ? "a batch has no value on standard input"
                                                 : "only one value can come from standard input"};
        taken = true;
        std::string &value = call.arguments[i] = standard_input();
        if (!value.empty() && value.back() == '\n') value.pop_back();
    }
}

// Words as a shell makes them: blanks separate, quotes and backslashes keep together, # begins a comment. In double
// quotes a backslash stays that stands before none of the characters it could protect there.
Strings split(const std::string &line) {
    Strings words;
    std::optional<std::string> word;
    char quote = 0;
    auto add = [&](char c) { (word ? *word : word.emplace()) += c; };
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote && c == quote) {
            quote = 0;
        } else if (c == '\\' && quote != '\'' && i + 1 < line.size()) {
            if (quote && !std::strchr("$`\"\\", line[i + 1])) add(c);
            add(line[++i]);
        } else if (!quote && (c == '"' || c == '\'')) {
            quote = c;
            if (!word) word.emplace();
        } else if (!quote && (c == ' ' || c == '\t')) {
            if (word) words.push_back(*std::exchange(word, std::nullopt));
        } else if (!quote && !word && c == '#') {
            break;
        } else {
            add(c);
        }
    }
    if (quote) throw Failure{misused, "a quote is not closed"};
    if (word) words.push_back(*word);
    return words;
}

using Faults = std::multiset<std::string>;

// What `check` calls a fault, and was none before.
Strings new_faults(Document &document, const std::string &name) {
    if (!document.is_changed()) return {};
    Faults faults = faults_of(document.tree());
    if (!faults.empty())
        for (const std::string &one : faults_of(Document::look(name).tree()))
            if (auto found = faults.find(one); found != faults.end()) faults.erase(found);
    return {faults.begin(), faults.end()};
}

[[noreturn]] void refuse(const std::string &fault) {
    throw Failure{inconsistent, fault + "; --force saves it nevertheless"};
}

class Batch {
public:
    explicit Batch(const std::string &name) : name_(name) {
        const std::string text = standard_input();
        for (std::size_t begin = 0, end; begin < text.size(); begin = end + 1) {
            end = std::min(text.find('\n', begin), text.size());
            lines_.push_back(text.substr(begin, end - begin));
        }
    }

    void run(Document &document) {
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            try {
                run_line(lines_[i], document, true);
            } catch (const Failure &failure) {
                throw Failure{failure.status, at(i) + failure.text + "; nothing is saved"};
            }
        }
    }

    void check(Document &document) {
        Strings faults = new_faults(document, name_);
        std::size_t which = faults.empty() || !forced_ ? 0 : first_left(document, lines_.size(), faults);
        if (which >= faults.size()) return;  // they come of what is forced
        // Before the line that brings it, it is not there.
        std::size_t without = 0, with = lines_.size();
        while (with - without > 1) {
            std::size_t middle = without + (with - without) / 2;
            (first_left(document, middle, {faults[which]}) == 0 ? with : without) = middle;
        }
        refuse(at(with - 1) + faults[which]);
    }

private:
    static std::string at(std::size_t index) { return "line " + std::to_string(index + 1) + ": "; }

    void run_line(const std::string &line, Document &document, bool forced_too) {
        Strings words = split(line);
        if (words.empty()) return;
        Call call = parse(words, name_.c_str());
        if (!call.verb || !call.verb->change || call.has('h')) throw Failure{misused, words[0] + " is no change"};
        read_values(call);
        if (call.has('f')) forced_ = true;
        if (!call.has('f') || forced_too) call.verb->change(call, document);
    }

    // Which of these faults, the first one, the lines up to one leave that are not forced. Another process runs them
    // once more, so that the memory for that is soon free again. It never closes what it opens: the lock is this one's.
    std::size_t first_left(Document &document, std::size_t lines, const Strings &faults) {
        constexpr int none = 255;
        pid_t child = fork();
        if (child < 0) return 0;
        if (child == 0) {
            int left = none;
            try {
                Document again = document.again();
                again.abandon();
                for (std::size_t i = 0; i < lines; ++i) {
                    try {
                        run_line(lines_[i], again, false);
                    } catch (const Failure &) {  // it builds on what is forced
                    }
                }
                Faults now = faults_of(again.tree()), before = faults_of(Document::look(name_).tree());
                for (std::size_t i = std::min<std::size_t>(faults.size(), none); i-- > 0;)
                    if (now.count(faults[i]) > before.count(faults[i])) left = static_cast<int>(i);
            } catch (...) { left = 0; }
            _exit(left);
        }
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
        if (!WIFEXITED(status)) return 0;
        return WEXITSTATUS(status) == none ? faults.size() : static_cast<std::size_t>(WEXITSTATUS(status));
    }

    std::string name_;
    Strings lines_;
    bool forced_ = false;  // one of the lines is
};

// What was printed for a change that is not saved would be wrong, and while it is printed nobody should have to wait.
template <class Changes>
int saved_once(Call &call, Changes make) {
    std::string output;
    {
        Document document = Document::change(call[0]);
        make(document);
        document.save();
        output = document.output;
    }
    return put(output), success;
}

}  // namespace

int run_change(Call &call) {
    read_values(call);
    return saved_once(call, [&](Document &document) {
        call.verb->change(call, document);
        if (call.has('f')) return;
        Strings faults = new_faults(document, call[0]);
        if (!faults.empty()) refuse(faults[0]);
    });
}

int batch(Call &call) {
    Batch lines(call[0]);
    return saved_once(call, [&](Document &document) {
        lines.run(document);
        if (!call.has('f')) lines.check(document);
    });
}

}  // namespace kvio
