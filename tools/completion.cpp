// What may stand at the cursor of a command line: the usage of a verb says what each argument is.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <sstream>

#include "document.h"

namespace kvio {
namespace {

using Proposals = std::set<std::string>;

const Proposals file_names = {"\n"};  // which the shell knows

bool begins(const std::string &text, const std::string &prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

bool is_one_of(char c, const char *characters) { return c && std::strchr(characters, c); }

// A command line up to the cursor, without quotes. It is read as bash does, but nothing is expanded, let alone run.
class Typed {
public:
    Typed(const std::string &line, const std::string &breaks);

    Strings words;            // all before the one at the cursor, redirections left out
    std::string last;         // the one at the cursor
    std::size_t kept = 0;     // how much of it readline does not replace: up to a character that breaks words
    char quote = 0;           // the one that is still open
    bool redirected = false;  // last is the file of a redirection
    bool expanded = false;    // last has something to be expanded

private:
    void end_word();
    bool begun_ = false;  // "" is a word as well
};

Typed::Typed(const std::string &line, const std::string &breaks) {
    std::size_t kept_before = 0;  // the quote, which breaks words as long as it is open
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote != '\'' && is_one_of(c, "$`")) expanded = true;
        if (c == '\\' && quote != '\'') {
            char next = i + 1 < line.size() ? line[i + 1] : '\0';
            if (quote && !is_one_of(next, "\"$`\\"))
                last += c;
            else if (next)
                last += line[++i];
            begun_ = true;
        } else if (quote) {
            if (c != quote)
                last += c;
            else
                quote = 0, kept = kept_before;
        } else if (c == '"' || c == '\'') {
            quote = c;
            begun_ = true;
            kept_before = kept;
            kept = last.size();
        } else if (is_one_of(c, " \t\n")) {
            end_word();
        } else if (c == '<' || c == '>') {
            if (last.find_first_not_of("0123456789") == std::string::npos) last.clear(), begun_ = false;
            end_word();
            redirected = true;
        } else {
            last += c;
            begun_ = true;
            if (breaks.find(c) != std::string::npos) kept = last.size();
        }
    }
}

void Typed::end_word() {
    if (begun_ && !redirected) words.push_back(last);
    if (begun_) redirected = false;
    last.clear();
    kept = 0;
    begun_ = expanded = false;
}

// How a text is written behind an open quote, or without one.
std::string quoted(const std::string &text, char quote) {
    std::string result;
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        bool plain =
            quote == '"' ? !is_one_of(c, "\"$`\\") : std::isalnum(byte) || byte >= 0x80 || is_one_of(c, "%+,-./:=@_");
        if (quote == '\'')
            result += c == quote ? "'\\''" : std::string(1, c);
        else
            result += plain ? std::string(1, c) : std::string("\\") + c;
    }
    return result;
}

// The words of a verb's usage without brackets; the last ones are repeated as often as needed when they may be.
std::string argument_at(const Verb &verb, std::size_t index) {
    std::istringstream stream(verb.usage);
    Strings kinds;
    std::size_t repeated = 0;
    for (std::string word; stream >> word;) {
        bool opens = word.front() == '[', closes = word.find("...") != std::string::npos;
        std::string kind;
        for (char c : word)
            if (c >= 'A' && c <= 'Z') kind += c;
        kinds.push_back(kind);
        if (closes) repeated = opens ? 1 : (word.find(']') != std::string::npos ? 2 : 1);
    }
    if (index < kinds.size()) return kinds[index];
    if (!repeated) return "";
    return kinds[kinds.size() - repeated + (index - kinds.size()) % repeated];
}

// What stands behind a verb.
struct Line {
    const Verb &verb;
    Strings arguments;
    std::map<char, std::string> options;
    const Option *open = nullptr;  // the one whose argument comes next
    bool more_options = true;

    explicit Line(const Verb &of_whom) : verb(of_whom) {}
    void take(const std::string &word);
    const Option *option_at(const std::string &word, std::size_t &end) const;

    // NAME, SCOPE, TYPE and so on, as far as they stand on the line already
    std::string of(const std::string &what) const {
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (argument_at(verb, i) == what) return arguments[i];
        return "";
    }
    std::string option(char letter) const {
        auto found = options.find(letter);
        return found == options.end() ? "" : found->second;
    }
};

// The option that an argument belongs to, which begins at the end: --kind=group, --kind, -kgroup, -k, -rk.
const Option *Line::option_at(const std::string &word, std::size_t &end) const {
    if (begins(word, "--")) {
        end = std::min(word.find('='), word.size());
        std::string name = word.substr(2, end - 2);
        if (end < word.size()) ++end;
        for (const Option &one : kvio::options)
            if (one.argument && name == one.name) return &one;
        return nullptr;
    }
    for (end = 1; end < word.size();) {
        const Option *one = find_option(word[end++]);
        if (one && one->argument) return one;
    }
    return nullptr;
}

void Line::take(const std::string &word) {
    if (open) {
        options[open->letter] = word;
        open = nullptr;
    } else if (more_options && word == "--") {
        more_options = false;
    } else if (more_options && word.size() > 1 && word[0] == '-') {
        std::size_t end = 0;
        const Option *one = option_at(word, end);
        if (one && end < word.size())
            options[one->letter] = word.substr(end);
        else
            open = one;
        bool letters = word[1] != '-';
        if (letters ? word.find('c') < end : word == "--container") options['c'] = "";
    } else {
        arguments.push_back(word);
    }
}

// Adds what an entity or container of the scope has to offer.
void add(Proposals &found, const Line &line, const std::string &what, Element child) {
    std::string kind = line.option('k').empty() ? line.of("KIND") : line.option('k');
    std::string type = line.of("TYPE").empty() ? line.option('t') : line.of("TYPE");
    bool is_container = child.role() == Role::container;
    if (is_container ? !kind.empty() && child.tag() != kind : child.role() != Role::entity) return;
    std::string its_type = is_container ? child.type() : child.tag();
    if (what == "TYPE") {
        if (is_container || kind.empty()) found.insert(its_type);
        return;
    }
    if (!type.empty() && its_type != type) return;

    bool of_container = what == "MEMBER" && (line.verb.change == leave || line.verb.change == rename_member);
    bool containers = what == "CONTAINER" || of_container || line.options.count('k') || line.options.count('c');
    if (is_container != containers) return;
    if (what == "FIELD" || what == "ATTRIBUTE" || of_container) {
        std::string whose = line.of(of_container ? "CONTAINER" : "ENTITY");
        bool new_one = line.verb.change == define;  // it gets what others of its type have
        if (!whose.empty() && !new_one && child.name() != whose) return;
    }
    if (what == "ATTRIBUTE") {
        for (const auto &attribute : child.attributes()) found.insert(attribute.first);
    } else if (what == "FIELD" || of_container) {
        for (Element part : child.children()) found.insert(of_container ? part.text() : part.tag());
    } else {
        found.insert(child.name());
    }
}

Proposals elements(const Line &line, const std::string &what) {
    Proposals found;
    Document document = Document::look(line.of("NAME"));
    const Tree &tree = document.tree();
    if (what == "SCOPE") return tree.each_scope([&](Element scope) { found.insert(scope.scope()); }), found;
    auto add_all = [&](Element scope) {
        for (Element child : scope.children()) add(found, line, what, child);
    };
    std::string scope = line.of("SCOPE");
    if (scope.empty())
        tree.each_scope(add_all);
    else
        add_all(tree.scope(scope));
    return found;
}

// What may stand in the place of a word of a usage, or of the argument of an option.
Proposals candidates(const Line &line, const std::string &what) {
    if (what == "FILE") return file_names;
    if (what == "KIND") return {"group", "list", "table"};
    if (what == "FORMAT") return {"json", "text", "xml"};
    if (what == "NEW" && line.verb.change) return elements(line, "ENTITY");
    if (what == "NAME" || what == "NEW") {
        Strings names = configurations();
        return {names.begin(), names.end()};
    }
    for (const char *known : {"SCOPE", "TYPE", "ENTITY", "CONTAINER", "MEMBER", "FIELD", "ATTRIBUTE"})
        if (what == known) return elements(line, what);
    return {};
}

Proposals verb_words(const std::string &family) {
    Proposals found;
    for (const Verb &verb : verbs) {
        std::string name = verb.name;
        std::size_t blank = name.find(' ');
        if (family.empty())
            found.insert(name.substr(0, blank));
        else if (begins(name, family + ' '))
            found.insert(name.substr(blank + 1));
    }
    return found;
}

const Verb *verb_of(Strings &words) {
    for (std::size_t count : {std::size_t(2), std::size_t(1)}) {
        if (words.size() < count) continue;
        std::string name = count == 2 ? words[0] + ' ' + words[1] : words[0];
        for (const Verb &verb : verbs) {
            if (verb.name != name) continue;
            words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(count));
            return &verb;
        }
    }
    return nullptr;
}

Proposals option_words(const char *letters) {
    Proposals found;
    for (char letter : std::string(letters) + "hqv") found.insert(std::string("--") + find_option(letter)->name);
    return found;
}

Proposals proposals(const Typed &typed) {
    if (typed.redirected || typed.expanded) return file_names;
    auto is_argument = [](const std::string &word) { return !begins(word, "-"); };
    Strings words(typed.words.begin() + !typed.words.empty(), typed.words.end());
    words.erase(words.begin(), std::find_if(words.begin(), words.end(), is_argument));
    bool is_option = typed.last.size() > 0 && !is_argument(typed.last);
    if (words.empty()) return is_option ? option_words("") : verb_words("");
    const Verb *verb = verb_of(words);
    if (!verb) return words.size() == 1 ? verb_words(words[0]) : Proposals();

    Line line(*verb);
    for (const std::string &word : words) line.take(word);
    if (line.open) return candidates(line, line.open->argument);
    if (!is_option || !line.more_options) return candidates(line, argument_at(*verb, line.arguments.size()));
    std::size_t end = 0;
    const Option *option = line.option_at(typed.last, end);
    if (!option || (end == typed.last.size() && typed.last.back() != '=')) return option_words(verb->options);
    Proposals found;
    for (const std::string &value : candidates(line, option->argument)) found.insert(typed.last.substr(0, end) + value);
    return found;
}

bool is_printable(const std::string &text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return std::iscntrl(static_cast<unsigned char>(c)); });
}

}  // namespace

// The words are the line, the characters that break words for readline and what it wants, both as bash tells them.
std::string complete(const Strings &words) try {
    constexpr char listing[] = "63";
    Typed typed(words.empty() ? "" : words[0], words.size() > 1 ? words[1] : "");
    Proposals found = proposals(typed);
    if (found == file_names) return "\n";
    for (auto one = found.begin(); one != found.end();)
        one = !one->empty() && begins(*one, typed.last) && is_printable(*one) ? std::next(one) : found.erase(one);
    bool as_it_is = words.size() > 2 && words[2] == listing && found.size() > 1;
    std::string text;
    for (const std::string &one : found) text += (as_it_is ? one : quoted(one.substr(typed.kept), typed.quote)) + '\n';
    return text == "\n" ? "" : text;
} catch (const Failure &) {  // no such configuration, scope, ...: nothing to propose
    return "";
}

}  // namespace kvio
