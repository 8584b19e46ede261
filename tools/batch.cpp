// Changes as a whole: under one lock, saved once and only if all of them succeed.
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
        if (taken) throw Failure{misused, call.in_batch ? "a batch has no value on standard input"
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

void take_away(Faults &from, const Faults &what) {
    for (const std::string &one : what)
        if (auto found = from.find(one); found != from.end()) from.erase(found);
}

// Keeps changes from leaving what `check` calls a fault, and was none before.
class Guard {
public:
    Guard(Document &document, const std::string &name) : document_(document), name_(name) {}

    // What a change does that is forced was asked for.
    void let(Call &call) {
        Faults before = faults_of(document_.tree());
        call.verb->change(call, document_);
        document_.changed();
        Faults after = faults_of(document_.tree());
        take_away(after, before);
        wanted_.merge(after);
    }

    void check() {
        if (!document_.is_changed()) return;
        Faults faults = faults_of(document_.tree());
        if (faults.empty()) return;
        take_away(faults, wanted_);
        take_away(faults, faults_of(Document::look(name_).tree()));
        if (!faults.empty()) throw Failure{inconsistent, *faults.begin() + "; --force saves it nevertheless"};
    }

private:
    Document &document_;
    std::string name_;
    Faults wanted_;
};

void run_line(const std::string &line, const std::string &name, Document &document, Guard &guard) {
    Strings words = split(line);
    if (words.empty()) return;
    Call call = parse(words, name.c_str());
    if (!call.verb || !call.verb->change || call.has('h')) throw Failure{misused, words[0] + " is no change"};
    read_values(call);
    call.has('f') ? guard.let(call) : call.verb->change(call, document);
}

// What was printed for a change that is not saved would be wrong, and while it is printed nobody should have to wait.
template <class Changes>
int saved_once(Call &call, Changes make) {
    std::string output;
    {
        Document document = Document::change(call[0]);
        Guard guard(document, call[0]);
        make(document, guard);
        if (!call.has('f')) guard.check();
        document.save();
        output = document.output;
    }
    return put(output), success;
}

}  // namespace

int run_change(Call &call) {
    read_values(call);
    return saved_once(call, [&](Document &document, Guard &) { call.verb->change(call, document); });
}

int batch(Call &call) {
    const std::string text = standard_input();
    return saved_once(call, [&](Document &document, Guard &guard) {
        int line = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            std::size_t end = std::min(text.find('\n', begin), text.size());
            ++line;
            try {
                run_line(text.substr(begin, end - begin), call[0], document, guard);
            } catch (const Failure &failure) {
                throw Failure{failure.status,
                              "line " + std::to_string(line) + ": " + failure.text + "; nothing is saved"};
            }
            begin = end + 1;
        }
    });
}

}  // namespace kvio
