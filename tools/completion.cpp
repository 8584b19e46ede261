// Proposals for the word at the cursor of a command line: the usage of a verb names what each argument is.
#include <algorithm>
#include <cctype>

#include "document.h"

namespace kvio {
namespace {

using Proposals = std::set<std::string>;

const Proposals file_names = {""};  // which bash proposes

bool begins(const std::string &text, const std::string &prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

// Adds what an entity or container of the scope has to offer.
void add(Proposals &found, const Line &line, const std::string &what, Element element) {
    const Call &call = line.call;
    Change *const change = call.verb->action.change;
    const std::string &kind = call.has('k') ? call.option('k') : call.kind();
    const std::string &type = call.has('t') ? call.option('t') : call.type();
    const Identity its = element.identity();
    const bool its_kind = kind.empty() || its.kind == kind;
    if (what == "TYPE" && its_kind) found.insert(its.type);
    const bool of_members = what == "MEMBER" && (change == leave || change == rename_member);
    const bool containers = what == "CONTAINER" || of_members || call.has('k') || call.has('c');
    if (what == "TYPE" || containers == its.kind.empty() || (containers && !its_kind)) return;
    if (!type.empty() && its.type != type) return;
    if (what != "FIELD" && what != "ATTRIBUTE" && !of_members) {
        found.insert(its.name);
        return;
    }
    const std::string &whose = call.given("CONTAINER") ? call.container() : call.entity();
    if (!whose.empty() && its.name != whose && change != define) return;  // new ones get the fields of others
    if (what == "ATTRIBUTE")
        for (const auto &attribute : element.attributes()) found.insert(attribute.first);
    else
        for (Element part : element) found.insert(of_members ? part.text() : part.tag());
}

Proposals elements(const Line &line, const std::string &what) {
    Proposals found;
    Document document = Document::look(line.call.name());
    const std::string &path = line.call.scope();
    const Element scope = path.empty() ? Element() : document.scope(path);
    each_below(document.root(), [&](Element one) {
        const bool is_scope = one.role() == Role::scope;
        if (is_scope && what == "SCOPE") found.insert(one.scope());
        if (!is_scope && what != "SCOPE" && (path.empty() || one.parent() == scope)) add(found, line, what, one);
    });
    return found;
}

// Proposals for a word of a usage, or for the argument of an option.
Proposals candidates(const Line &line, const std::string &what) {
    const Verb &verb = *line.call.verb;
    if (what == "FILE") return file_names;
    if (what == "KIND") return {"group", "list", "table"};
    if (what == "FORMAT") return {"json", "text", "xml"};
    if (what == "NEW" && verb.action.change) return elements(line, "ENTITY");
    if (what == "NAME" || what == "NEW" || what == "OLD") {
        Strings names = configurations();
        return {names.begin(), names.end()};
    }
    for (const char *known : {"SCOPE", "TYPE", "ENTITY", "CONTAINER", "MEMBER", "FIELD", "ATTRIBUTE"})
        if (what == known) return elements(line, what);
    return {};
}

// The next words of the verbs that begin like this.
Proposals verb_words(const std::string &beginning) {
    Proposals found;
    for (const Verb &verb : verbs) {
        const std::string name = verb.name, rest = name.substr(std::min(beginning.size(), name.size()));
        if (begins(name, beginning)) found.insert(rest.substr(0, rest.find(' ')));
    }
    return found;
}

Proposals option_words(const std::string &letters) {
    Proposals found;
    for (char letter : letters + options_of_all) found.insert(std::string("--") + options.at(letter).name);
    return found;
}

Proposals proposals(Strings words, const std::string &last) {
    while (!words.empty() && begins(words[0], "-")) words.erase(words.begin());
    bool is_option = begins(last, "-");
    if (words.empty()) return is_option ? option_words("") : verb_words("");
    Line line;
    line.call.verb = take_verb(words);
    if (!line.call.verb) return words.size() == 1 ? verb_words(words[0] + ' ') : Proposals();
    for (const std::string &word : words) line.take(word);
    if (line.open) return candidates(line, options.at(line.open).argument);
    if (is_option && line.more_options) {
        std::size_t equals = last.find('=');
        if (equals == std::string::npos) return option_words(line.call.verb->options);
        line.take_option(last.substr(0, equals), nullptr);
        Proposals found;
        if (line.open)
            for (const std::string &one : candidates(line, options.at(line.open).argument))
                found.insert(last.substr(0, equals + 1) + one);
        return found;
    }
    return candidates(line, argument_at(*line.call.verb, line.call.arguments.size()));
}

bool is_control(char c) { return std::iscntrl(static_cast<unsigned char>(c)); }

}  // namespace

std::string complete(Strings words) {
    try {
        const std::string last = words.empty() ? "" : words.back();
        if (!words.empty()) words.pop_back();
        Proposals found = proposals(words, last);
        if (found == file_names) return "\n";
        std::string text;
        for (const std::string &one : found)
            if (!one.empty() && begins(one, last) && std::none_of(one.begin(), one.end(), is_control))
                text += one + '\n';
        return text;
    } catch (const Failure &) {  // no such configuration or scope: nothing to propose
        return "";
    }
}

}  // namespace kvio
