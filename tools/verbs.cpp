// The table of verbs, from which parsing, help and completion are made.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "kvio.h"

namespace kvio {

const std::map<char, Option> options = {
    {'a', {"all", nullptr, "all configurations"}},
    {'c', {"container", nullptr, "the members are containers"}},
    {'d', {"default", "VALUE", "print this, with success, if there is no such value"}},
    {'e', {"field", "FIELD", "search this field alone"}},
    {'f', {"force", nullptr, "do what would be refused with status 4"}},
    {'F', {"format", "FORMAT", "text (the default), json, or xml from show"}},
    {'k', {"kind", "KIND", "ENTITY is a container: a table, list or group"}},
    {'n', {"dry-run", nullptr, "print what would differ, save nothing"}},
    {'p', {"position", "NUMBER", "the member at this position, from 1"}},
    {'P', {"pager", nullptr, "show the output with $PAGER"}},
    {'r', {"recursive", nullptr, "the entities of nested containers too, each once"}},
    {'R', {"repair", nullptr, "offer the repairs that are safe"}},
    {'t', {"type", "TYPE", "search entities and containers of this type alone"}},
    {'w', {"wait", "SECONDS", "wait that long for the lock"}},
    {'y', {"yes", nullptr, "do it without a question"}},
    {'h', {"help", nullptr, "describe the verb"}},
    {'q', {"quiet", nullptr, "print no messages and questions"}},
    {'v', {"verbose", nullptr, "print the library's diagnostics too"}},
};

const std::vector<Verb> verbs = {
    {"show", "NAME [SCOPE]", "FP", "print a configuration or a scope as a tree", "appliance.xml object/address", show,
     "Look at a configuration"},
    {"get", "NAME SCOPE TYPE ENTITY [FIELD]", "dFP", "print a value, or all values of an entity",
     "appliance.xml interface interface_t lan address", get},
    {"ls", "[NAME] [SCOPE] [TYPE]", "FP", "list configurations, scopes, a scope's contents, or entities",
     "appliance.xml object/address address_object_t", ls},
    {"members", "NAME SCOPE KIND TYPE CONTAINER", "rFP", "list the members of a container",
     "--recursive appliance.xml object/service group service_object_t outgoing", members},
    {"find", "NAME PATTERN [SCOPE]", "teFP", "search names, values and members; * and ? stand for any text",
     "appliance.xml '192.168.*'", find},
    {"count", "NAME SCOPE TYPE", "", "count the entities of a type", "appliance.xml object/address address_object_t",
     count},
    {"refs", "NAME SCOPE TYPE ENTITY", "kFP", "list the containers that name an entity or container",
     "appliance.xml object/address address_object_t mail-server", refs},
    {"set", "NAME SCOPE TYPE ENTITY FIELD VALUE [FIELD VALUE]...", "nw", "set values; - reads one from standard input",
     "appliance.xml interface interface_t lan mtu 1492", set, "Change entities"},
    {"unset", "NAME SCOPE TYPE ENTITY FIELD...", "nw", "remove fields",
     "appliance.xml interface interface_t lan description", unset},
    {"define", "NAME SCOPE TYPE ENTITY [FIELD VALUE]...", "fnw", "create an entity, with or without values",
     "appliance.xml object/address address_object_t scanner kind host", define},
    {"undefine", "NAME SCOPE TYPE ENTITY", "fnw", "delete an entity that no container names",
     "appliance.xml object/address address_object_t printer", remove_unnamed},
    {"rename-entity", "NAME SCOPE TYPE ENTITY NEW", "fnw", "rename an entity, in the containers that name it too",
     "appliance.xml object/address address_object_t printer copier", rename_all},
    {"create", "NAME SCOPE KIND TYPE CONTAINER", "fnw", "create an empty container",
     "appliance.xml object/address group address_object_t outside", create, "Change containers"},
    {"dispose", "NAME SCOPE KIND TYPE CONTAINER", "fnw", "delete a container that no container names, not its entities",
     "appliance.xml object/service list service_object_t recently-used", remove_unnamed},
    {"rename-container", "NAME SCOPE KIND TYPE CONTAINER NEW", "fnw", "rename a container, in those that name it too",
     "appliance.xml object/address group address_object_t servers dmz", rename_all},
    {"join", "NAME SCOPE KIND TYPE CONTAINER MEMBER...", "cfnw", "add members at the end, each name once",
     "appliance.xml object/address group address_object_t servers printer", join},
    {"append", "NAME SCOPE KIND TYPE CONTAINER [MEMBER]", "fnw", "add an entity member at the end, also a second time",
     "appliance.xml object/service list service_object_t recently-used http/tcp", append},
    {"insert", "NAME SCOPE KIND TYPE CONTAINER NUMBER [MEMBER]", "fnw", "add an entity member in front of a position",
     "appliance.xml object/service list service_object_t recently-used 1 smtp/tcp", insert},
    {"leave", "NAME SCOPE KIND TYPE CONTAINER [MEMBER]...", "pnw", "remove members by name, or one by its position",
     "appliance.xml object/address group address_object_t servers web-server", leave},
    {"rename-member", "NAME SCOPE KIND TYPE CONTAINER MEMBER NEW", "fnw", "replace the name of one member",
     "appliance.xml object/user_group group user_group_object_t staff bob robert", rename_member},
    {"attr get", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "kd", "print an attribute of an entity or container",
     "appliance.xml interface interface_t lan reference", attr_get, "Attributes"},
    {"attr set", "NAME SCOPE TYPE ENTITY ATTRIBUTE VALUE", "kfnw", "set an attribute of an entity or container",
     "appliance.xml interface interface_t lan note 'do not touch'", attr_set},
    {"attr unset", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "kfnw", "remove an attribute of an entity or container",
     "appliance.xml interface interface_t lan note", attr_unset},
    {"attr increase", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "fnw", "add 1 to a counter of an entity and print it",
     "appliance.xml interface interface_t lan reference", attr_count},
    {"attr decrease", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "fnw", "subtract 1 from a counter above 0 and print it",
     "appliance.xml interface interface_t lan reference", attr_count},
    {"batch", "NAME", "fnw", "run the changes on standard input, one a line without NAME", "appliance.xml <changes",
     batch, "Many changes"},
    {"edit", "NAME [SCOPE]", "fnwyF", "edit a configuration or a scope with $VISUAL or $EDITOR",
     "appliance.xml interface", edit},
    {"create-scope", "NAME SCOPE", "nw", "create an empty scope, and the scopes around it",
     "appliance.xml object/schedule", create_scope, "Scopes and whole files"},
    {"copy", "NAME NEW", "w", "copy a configuration onto another one", "appliance.xml spare.xml", copy},
    {"rename", "NAME NEW", "w", "rename a configuration; NEW must not exist", "spare.xml old.xml", rename},
    {"remove", "NAME", "w", "delete a configuration", "old.xml", remove},
    {"save-as", "NAME NEW", "w", "write a configuration, freshly formatted, to another one", "appliance.xml tidy.xml",
     save_as},
    {"dump", "NAME [FILE]", "", "write a configuration to a file or standard output",
     "appliance.xml appliance-backup.xml", backup},
    {"backup", "NAME SCOPE [FILE]", "", "write one scope to a file or standard output",
     "appliance.xml object/address addresses.xml", backup},
    {"restore", "NAME FILE [SCOPE]", "fnw", "put back what dump or backup wrote, all or one scope of it",
     "appliance.xml addresses.xml object/address", restore},
    {"diff", "OLD NEW", "FP", "show how two configurations or files differ", "before.xml appliance.xml", diff,
     "Compare and check"},
    {"check", "NAME", "RyFPw", "look for broken references, duplicates, loops, wrong counts", "--repair appliance.xml",
     check},
    {"lock status", "[NAME]...", "aF", "show whether configurations are held, since when and by whom", "--all",
     lock_status, "Locks"},
    {"lock clear", "NAME", "yf", "remove the lock that a dead process left", "appliance.xml", lock_clear},
    {"user show", "USER", "F", "print the profile of a user who has logged in", "alice", user_show, "Users"},
    {"user method", "USER", "F", "print the method by which a user was authenticated", "alice", user_method},
    {"user release", "USER", "", "forget that a user has logged in", "alice", user_release},
    {"user groups", "GROUP [USER]", "F", "list the members of a user group, or test for one", "office alice",
     user_groups},
    {"user types", "", "F", "list the built-in user types", "", user_types},
};

const std::string options_of_all = "hqv";

namespace {

const std::string none;

struct Usage {
    Strings words;
    std::size_t required = 0;  // words in front of the first bracket
    std::size_t repeated = 0;  // words at the end that may come again
};

Usage usage_of(const Verb &verb) {
    Usage usage;
    bool optional = false;
    for (const char *at = verb.usage; *at; ++at) {
        optional = optional || *at == '[';
        if (*at == '[') usage.repeated = 0;
        if (!std::isupper(static_cast<unsigned char>(*at))) continue;
        const std::size_t length = std::strcspn(at, " [].");
        usage.words.emplace_back(at, length);
        usage.required += !optional;
        usage.repeated = optional ? usage.repeated + 1 : 1;
        at += length - 1;
    }
    if (!std::strstr(verb.usage, "...")) usage.repeated = 0;
    return usage;
}

std::string synopsis(const Verb &verb) {
    return std::string("kvio ") + verb.name + (*verb.options ? " [OPTION]..." : "") + (*verb.usage ? " " : "") +
           verb.usage;
}

[[noreturn]] void refuse_verb(const std::string &first) {
    std::string family;
    Strings names;
    for (const Verb &verb : verbs) {
        const std::string name = verb.name;
        names.push_back(name.substr(0, name.find(' ')));
        if (name.compare(0, first.size() + 1, first + ' ') == 0) family += (family.empty() ? "" : ", ") + name;
    }
    if (!family.empty()) throw Failure{misused, "the verb is one of " + family};
    const std::string similar = suggestion(first, names);
    throw Failure{misused, "no verb " + first + (similar.empty() ? "; kvio --help lists them" : similar)};
}

// How many characters have to be changed, added, removed or swapped with the next to make one word of the other.
std::size_t distance(const std::string &one, const std::string &other) {
    std::vector<std::vector<std::size_t>> of(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
    for (std::size_t i = 0; i <= one.size(); ++i) {
        for (std::size_t j = 0; j <= other.size(); ++j) {
            of[i][j] = i + j;
            if (i == 0 || j == 0) continue;
            of[i][j] = std::min({of[i - 1][j - 1] + (one[i - 1] != other[j - 1]), of[i - 1][j] + 1, of[i][j - 1] + 1});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                of[i][j] = std::min(of[i][j], of[i - 2][j - 2] + 1);
        }
    }
    return of.back().back();
}

// A label and its text, in one line of at most 79 columns.
std::string entry(const std::string &label, std::size_t indent, const std::string &text) {
    return "  " + label + std::string(std::max(indent, label.size() + 3) - label.size() - 2, ' ') + text + '\n';
}

std::string option_lines(const std::string &letters) {
    std::string text;
    for (char letter : letters) {
        const Option &option = options.at(letter);
        const std::string name = std::string(1, '-') + letter + ", --" + option.name;
        text += entry(name + (option.argument ? std::string(" ") + option.argument : ""), 24, option.summary);
    }
    return text;
}

}  // namespace

std::string suggestion(const std::string &word, const Strings &known) {
    std::size_t least = std::min<std::size_t>(word.size() / 3 + 1, 4);  // more changes make another word
    std::string best;
    for (const std::string &one : known) {
        if (one.size() > 100 || one.size() >= word.size() + least || word.size() >= one.size() + least) continue;
        const std::size_t changes = distance(one, word);
        if (changes >= least) continue;
        least = changes;
        best = one;
    }
    return best.empty() ? "" : "; did you mean " + best + '?';
}

const Verb *take_verb(Strings &words) {
    const std::string one = words.empty() ? "" : words[0], two = words.size() < 2 ? "" : one + ' ' + words[1];
    for (const Verb &verb : verbs) {
        if (verb.name != one && verb.name != two) continue;
        words.erase(words.begin(), words.begin() + (verb.name == two ? 2 : 1));
        return &verb;
    }
    return nullptr;
}

std::string argument_at(const Verb &verb, std::size_t index) {
    const Usage usage = usage_of(verb);
    const std::size_t count = usage.words.size();
    if (index < count) return usage.words[index];
    return usage.repeated ? usage.words[count - usage.repeated + (index - count) % usage.repeated] : "";
}

const std::string &Call::option(char letter) const {
    auto given = options.find(letter);
    return given == options.end() ? none : given->second;
}

std::size_t Call::index(const char *what) const {
    const Strings words = usage_of(*verb).words;
    auto found = std::find(words.begin(), words.end(), what);
    return found == words.end() ? std::string::npos : static_cast<std::size_t>(found - words.begin());
}

const std::string &Call::operator[](const char *what) const { return given(what) ? arguments[index(what)] : none; }

Strings Call::from(const char *what) const {
    if (!given(what)) return {};
    return {arguments.begin() + static_cast<std::ptrdiff_t>(index(what)), arguments.end()};
}

void Line::take(const std::string &word) {
    if (open) {
        call.options[open] = word;
        open = '\0';
    } else if (!more_options || word.size() < 2 || word[0] != '-') {
        call.arguments.push_back(word);
    } else if (word == "--") {
        more_options = false;
    } else if (word[1] == '-') {
        std::size_t equals = std::min(word.find('='), word.size());
        take_option(word.substr(0, equals), equals < word.size() ? &word[equals + 1] : nullptr);
    } else {
        for (std::size_t i = 1; i < word.size(); ++i) {
            const Option *option =
                take_option(std::string("-") + word[i], i + 1 < word.size() ? &word[i + 1] : nullptr);
            if (!option || option->argument) break;
        }
    }
}

// An option by its long name, which begins with two dashes, or by its letter, with an argument that follows at once.
const Option *Line::take_option(const std::string &name, const char *argument) {
    const std::string known = options_of_all + (call.verb ? call.verb->options : "");
    for (char letter : known) {
        const Option &one = options.at(letter);
        bool by_name = name == std::string("--") + one.name;
        if (!by_name && name != std::string("-") + letter) continue;
        if (by_name && argument && !one.argument) break;
        call.options[letter] = argument && one.argument ? argument : "";
        if (one.argument && !argument) open = letter;
        return &one;
    }
    if (mistake.empty()) mistake = "no option " + name;
    return nullptr;
}

Call parse(const Strings &words, const char *name_in_batch) {
    auto is_option = [](const std::string &word) { return word.size() > 1 && word[0] == '-'; };
    Line line;
    Strings rest(std::find_if_not(words.begin(), words.end(), is_option), words.end());
    const Strings before(words.begin(), words.end() - static_cast<std::ptrdiff_t>(rest.size()));
    const std::string first = rest.empty() ? "" : rest[0];
    line.call.verb = take_verb(rest);
    if (name_in_batch) line.call.arguments.push_back(name_in_batch);
    line.call.in_batch = name_in_batch != nullptr;
    for (const std::string &word : before) line.take(word);
    for (const std::string &word : rest) line.take(word);
    Call &call = line.call;
    messages::quiet |= call.has('q');
    const std::string help_line =
        std::string("; see kvio ") + (call.verb ? call.verb->name + std::string(" ") : "") + "--help";
    if (call.has('h')) return call;
    if (first.empty() && line.mistake.empty()) throw Failure{misused, "no verb" + help_line};
    if (!first.empty() && !call.verb) refuse_verb(first);
    if (line.open) line.mistake = std::string("no argument for --") + options.at(line.open).name;
    if (!line.mistake.empty()) throw Failure{misused, line.mistake + help_line};
    const Usage usage = usage_of(*call.verb);
    const std::size_t given = call.arguments.size();
    if (given < usage.required || (given > usage.words.size() && usage.repeated == 0))
        throw Failure{misused, "usage: " + synopsis(*call.verb)};
    if (call.given("SCOPE") && call.scope().empty()) throw Failure{misused, "the scope is empty"};
    return call;
}

std::string help(const Verb *verb) {
    if (verb) {
        std::string sentence = verb->summary;
        sentence[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[0])));
        return "Usage: " + synopsis(*verb) + "\n\n" + sentence + "\n\n" + option_lines(verb->options + options_of_all) +
               "\nExample: kvio " + verb->name + ' ' + verb->example + '\n';
    }
    std::string text =
        "Usage: kvio VERB [OPTION]... [ARGUMENT]...\n\n"
        "Reads and changes the configurations of the appliance. NAME is a file of\n"
        "/etc/kavex/conf, SCOPE a path of element names such as object/address, KIND\n"
        "table, list or group. -- ends the options.\n";
    for (const Verb &one : verbs) {
        if (one.heading) text += std::string("\n") + one.heading + ":\n";
        text += entry(one.name, 19, one.summary);
    }
    return text + "\nOptions of all verbs:\n" + option_lines(options_of_all) +
           "  -V, --version         print the version; only in the place of a verb\n"
           "\nExit status: 0 done, 1 not found or different, 2 wrong usage, 3 locked, 4 not\n"
           "well-formed or inconsistent, 5 input or output failed, 6 no permission.\n"
           "kvio VERB --help describes a verb; so does kvio(1).\n";
}

}  // namespace kvio
