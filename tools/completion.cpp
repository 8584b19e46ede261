// What may stand at the end of a command line: the usage of a verb says what each argument is.
#include <algorithm>
#include <set>
#include <sstream>

#include "document.h"

namespace kvio {
namespace {

bool begins(const std::string &text, const std::string &prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

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

// NAME, SCOPE, TYPE and so on, as far as they stand on the line already.
struct Line {
    const Verb &verb;
    Strings arguments;
    std::string kind;  // of --kind

    std::string of(const std::string &what) const {
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (argument_at(verb, i) == what) return arguments[i];
        return "";
    }
};

void add_elements(std::set<std::string> &found, const Line &line, const std::string &what) {
    Document document = Document::look(line.of("NAME"));
    if (what == "SCOPE") return document.tree().each_scope([&](Element scope) { found.insert(scope.scope()); });
    Element scope = document.tree().scope(line.of("SCOPE"));
    std::string kind = line.kind.empty() ? line.of("KIND") : line.kind, type = line.of("TYPE");
    bool container_names = what == "CONTAINER" || (what == "ENTITY" && !kind.empty());
    for (Element child : scope.children()) {
        bool container = child.role() == Role::container && (kind.empty() || child.tag() == kind);
        if (what == "TYPE" && child.role() == Role::entity && kind.empty()) found.insert(child.tag());
        if (what == "TYPE" && container) found.insert(child.type());
        if (container_names && container && child.type() == type) found.insert(child.name());
        if ((what == "ENTITY" || what == "MEMBER") && !container_names && child.tag() == type)
            found.insert(child.name());
    }
    Element entity = find_entity(scope, type, line.of("ENTITY"));
    if (!entity) return;
    if (what == "FIELD")
        for (Element field : entity.children()) found.insert(field.tag());
    if (what == "ATTRIBUTE")
        for (const auto &attribute : entity.attributes()) found.insert(attribute.first);
}

std::set<std::string> candidates_for(const Line &line) {
    std::set<std::string> found;
    std::string what = argument_at(line.verb, line.arguments.size());
    if (what == "KIND") return {"group", "list", "table"};
    if (what == "NAME") {
        Strings names = configurations();
        found.insert(names.begin(), names.end());
    } else if (what == "SCOPE" || what == "TYPE" || what == "ENTITY" || what == "CONTAINER" || what == "FIELD" ||
               what == "MEMBER" || what == "ATTRIBUTE") {
        add_elements(found, line, what);
    }
    return found;
}

std::set<std::string> verb_words(const std::string &family) {
    std::set<std::string> found;
    for (const Verb &verb : verbs) {
        std::string name = verb.name;
        std::size_t blank = name.find(' ');
        if (family.empty()) found.insert(name.substr(0, blank));
        else if (begins(name, family + ' ')) found.insert(name.substr(blank + 1));
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

std::set<std::string> option_words(const Verb *verb) {
    std::set<std::string> found;
    for (char letter : std::string(verb ? verb->options : "") + "hqv")
        found.insert(std::string("--") + find_option(letter)->name);
    return found;
}

std::set<std::string> proposals(Strings words, const std::string &last) {
    const Verb *verb = verb_of(words);
    Line line{verb ? *verb : verbs[0], {}, ""};
    bool more_options = true;
    const Option *open = nullptr;  // the option whose argument comes next
    for (const std::string &word : words) {
        if (open) {
            if (open->letter == 'k') line.kind = word;
            open = nullptr;
        } else if (more_options && word == "--") {
            more_options = false;
        } else if (more_options && word.size() > 1 && word[0] == '-') {
            for (const Option &option : options)
                if (option.argument &&
                    (word == std::string("--") + option.name || word == std::string("-") + option.letter))
                    open = &option;
        } else {
            line.arguments.push_back(word);
        }
    }
    if (open && open->letter == 'k') return {"group", "list", "table"};
    if (open && open->letter == 'F') return {"json", "text", "xml"};
    if (open) return {};
    if (more_options && begins(last, "-")) return option_words(verb);
    if (!verb)
        return line.arguments.size() < 2 ? verb_words(line.arguments.empty() ? "" : line.arguments[0])
                                         : std::set<std::string>();
    return candidates_for(line);
}

}  // namespace

std::string complete(const Strings &words) {
    std::string text, last = words.empty() ? "" : words.back();
    try {
        for (const std::string &word :
             proposals(Strings(words.begin(), words.empty() ? words.end() : words.end() - 1), last))
            if (begins(word, last)) text += word + '\n';
    } catch (const Failure &) {  // no such configuration, scope, ...: nothing to propose
    }
    return text;
}

}  // namespace kvio
