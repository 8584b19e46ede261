// Runs changes, single ones and batches: under one lock, saved once and only if all of them succeed.
#include <algorithm>
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

}  // namespace

void refuse_new_faults(const Document &document, const std::string &name) {
    if (!document.structure_changed) return;
    std::multiset<std::string> faults = faults_of(document);
    if (!faults.empty())
        for (const std::string &fault : faults_of(Document::look(name)))
            if (auto found = faults.find(fault); found != faults.end()) faults.erase(found);
    if (!faults.empty()) throw Failure{inconsistent, *faults.begin() + "; nothing is saved without --force"};
}

int save_change(const Call &call, const std::function<void(Document &)> &make) {
    std::string text;
    {
        Document document = Document::change(call);
        make(document);
        if (!call.has('f')) refuse_new_faults(document, call.name());
        if (call.has('n'))
            differences(call, Document::look(call.name()), document, text);
        else
            document.save();
        if (!call.has('n')) text = document.output;
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

}  // namespace kvio
