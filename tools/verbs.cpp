// The table of verbs, from which parsing, help and completion are made.
#include <getopt.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "kvio.h"
#include "output.h"

namespace kvio {

const std::vector<Option> options = {
    {'a', "all", nullptr, "all configurations"},
    {'c', "container", nullptr, "the members are containers"},
    {'d', "default", "VALUE", "what to print, with success, when there is no such value"},
    {'e', "field", "FIELD", "look at this field alone"},
    {'f', "force", nullptr, "do it also where it leaves a fault, or takes away what is needed"},
    {'F', "format", "FORMAT", "text (the default), json or xml"},
    {'k', "kind", "KIND", "ENTITY is the name of a container: a table, list or group"},
    {'p', "position", "NUMBER", "the member at this position; the first one is 1"},
    {'r', "recursive", nullptr, "the entities of nested containers, too, each one once"},
    {'R', "repair", nullptr, "say what can be repaired safely; with --yes do it"},
    {'t', "type", "TYPE", "look at entities of this type alone"},
    {'y', "yes", nullptr, "do it without asking"},
    {'h', "help", nullptr, "describe the verb"},
    {'q', "quiet", nullptr, "no messages; the exit status tells"},
    {'v', "verbose", nullptr, "the store's own diagnostics, too"},
};

const std::vector<Verb> verbs = {
    {"show", "NAME [SCOPE]", "F", "print a configuration or a scope as a tree",
     "kvio show appliance.xml object/address", show, nullptr},
    {"get", "NAME SCOPE TYPE ENTITY [FIELD]", "d", "print a value, or all values of an entity",
     "kvio get appliance.xml interface interface_t lan address", get, nullptr},
    {"ls", "[NAME] [SCOPE] [TYPE]", "", "list configurations, scopes, what is in a scope, or the entities of a type",
     "kvio ls appliance.xml object/address address_object_t", ls, nullptr},
    {"members", "NAME SCOPE KIND TYPE CONTAINER", "r", "list the members of a container",
     "kvio members --recursive appliance.xml object/service group service_object_t outgoing", members, nullptr},
    {"find", "NAME PATTERN [SCOPE]", "te", "list entities by name and values by contents; * and ? stand for any text",
     "kvio find appliance.xml '192.168.*'", find, nullptr},
    {"count", "NAME SCOPE TYPE", "", "count the entities of a type",
     "kvio count appliance.xml object/address address_object_t", count, nullptr},
    {"refs", "NAME SCOPE TYPE ENTITY", "k", "list the containers that name an entity, or with --kind a container",
     "kvio refs appliance.xml object/address address_object_t mail-server", refs, nullptr},

    {"set", "NAME SCOPE TYPE ENTITY FIELD VALUE [FIELD VALUE]...", "", "set values; - reads one from standard input",
     "kvio set appliance.xml interface interface_t lan mtu 1492", run_change, set},
    {"unset", "NAME SCOPE TYPE ENTITY FIELD...", "", "set values to the empty text",
     "kvio unset appliance.xml interface interface_t lan description", run_change, unset},
    {"define", "NAME SCOPE TYPE ENTITY [FIELD VALUE]...", "f", "create an entity, with values if any are given",
     "kvio define appliance.xml object/address address_object_t scanner kind host", run_change, define},
    {"undefine", "NAME SCOPE TYPE ENTITY", "f", "delete an entity that no container names",
     "kvio undefine appliance.xml object/address address_object_t printer", run_change, undefine},
    {"create", "NAME SCOPE KIND TYPE CONTAINER", "f", "create an empty container",
     "kvio create appliance.xml object/address group address_object_t outside", run_change, create},
    {"dispose", "NAME SCOPE KIND TYPE CONTAINER", "f",
     "delete a container that no container names; its members' entities stay",
     "kvio dispose appliance.xml object/service list service_object_t recently-used", run_change, dispose},
    {"join", "NAME SCOPE KIND TYPE CONTAINER MEMBER...", "cf", "add members at the end, each name once",
     "kvio join appliance.xml object/address group address_object_t servers printer", run_change, join},
    {"append", "NAME SCOPE KIND TYPE CONTAINER [MEMBER]", "f", "add an entity member at the end, also a second time",
     "kvio append appliance.xml object/service list service_object_t recently-used http/tcp", run_change, append},
    {"insert", "NAME SCOPE KIND TYPE CONTAINER NUMBER [MEMBER]", "f",
     "add an entity member before the one at a position",
     "kvio insert appliance.xml object/service list service_object_t recently-used 1 smtp/tcp", run_change, insert},
    {"leave", "NAME SCOPE KIND TYPE CONTAINER [MEMBER]...", "p", "remove members by name, or one by its position",
     "kvio leave appliance.xml object/address group address_object_t servers web-server", run_change, leave},
    {"rename-member", "NAME SCOPE KIND TYPE CONTAINER MEMBER NEW", "f", "put another name in the place of a member's",
     "kvio rename-member appliance.xml object/user_group group user_group_object_t staff bob robert", run_change,
     rename_member},
    {"attr get", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "kd", "print an attribute of an entity or container",
     "kvio attr get appliance.xml interface interface_t lan reference", attr_get, nullptr},
    {"attr set", "NAME SCOPE TYPE ENTITY ATTRIBUTE VALUE", "kf", "set an attribute of an entity or container",
     "kvio attr set appliance.xml interface interface_t lan note 'do not touch'", run_change, attr_set},
    {"attr unset", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "kf", "remove an attribute of an entity or container",
     "kvio attr unset appliance.xml interface interface_t lan note", run_change, attr_unset},
    {"attr increase", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "f", "add 1 to a counter of an entity and print it",
     "kvio attr increase appliance.xml interface interface_t lan reference", run_change, attr_increase},
    {"attr decrease", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "f", "subtract 1 from a counter that is not 0, and print it",
     "kvio attr decrease appliance.xml interface interface_t lan reference", run_change, attr_decrease},
    {"batch", "NAME", "f", "run the changes on standard input, one a line without NAME, and save if all succeed",
     "kvio batch appliance.xml <changes", batch, nullptr},

    {"copy", "NAME NEW", "", "copy a configuration onto another one", "kvio copy appliance.xml spare.xml", copy,
     nullptr},
    {"rename", "NAME NEW", "", "rename a configuration; NEW must not exist", "kvio rename spare.xml old.xml", rename,
     nullptr},
    {"remove", "NAME", "", "delete a configuration", "kvio remove old.xml", remove, nullptr},
    {"save-as", "NAME NEW", "", "write a configuration to another one, freshly formatted",
     "kvio save-as appliance.xml tidy.xml", save_as, nullptr},
    {"dump", "NAME [FILE]", "", "write a configuration to a file, or to standard output",
     "kvio dump appliance.xml /tmp/appliance.xml", dump, nullptr},
    {"backup", "NAME SCOPE [FILE]", "", "write one scope to a file, or to standard output",
     "kvio backup appliance.xml object/address /tmp/addresses.xml", backup, nullptr},
    {"restore", "NAME FILE [SCOPE]", "f", "put back what dump wrote, or one scope of it or of a backup",
     "kvio restore appliance.xml /tmp/addresses.xml object/address", restore, nullptr},
    {"diff", "OLD NEW", "F", "show how two configurations or files differ", "kvio diff before.xml appliance.xml", diff,
     nullptr},
    {"check", "NAME", "Ry", "look for dangling and duplicate names, loops, broken containers and wrong counts",
     "kvio check --repair appliance.xml", check, nullptr},

    {"lock status", "[NAME]...", "a", "tell whether configurations are free or held, since when and by whom",
     "kvio lock status --all", lock_status, nullptr},
    {"lock clear", "NAME", "yf", "remove a lock that a dead process left", "kvio lock clear --yes appliance.xml",
     lock_clear, nullptr},

    {"user show", "USER", "", "print the profile of a user who has logged in", "kvio user show alice", user_show,
     nullptr},
    {"user method", "USER", "", "print the authentication method that a user passed", "kvio user method alice",
     user_method, nullptr},
    {"user release", "USER", "", "forget that a user has logged in", "kvio user release alice", user_release, nullptr},
    {"user groups", "GROUP [USER]", "", "list the members of a user group, or tell whether a user is one",
     "kvio user groups office alice", user_groups, nullptr},
    {"user types", "", "", "list the built-in user types", "kvio user types", user_types, nullptr},
};

const std::string options_of_all = "hqv";

namespace {

struct Heading {
    const char *first;  // the verb in front of which it stands
    const char *text;
};

constexpr Heading headings[] = {
    {"show", "Look at a configuration"}, {"set", "Change entities"}, {"create", "Change containers"},
    {"attr get", "Attributes"},          {"batch", "Many changes"},  {"copy", "Whole files"},
    {"diff", "Compare and check"},       {"lock status", "Locks"},   {"user show", "Users"},
};

struct Argument {
    std::string name;
    bool optional, repeated;
};

// The arguments of a usage: words in capitals, optional in brackets, repeated before dots.
std::vector<Argument> arguments_of(const Verb &verb) {
    std::vector<Argument> result;
    bool optional = false;
    std::size_t group = 0;  // the first argument of the latest word, or of the latest brackets
    for (const char *at = verb.usage; *at;) {
        std::size_t length = std::strcspn(at, "[]. ");
        if (length > 0) {
            if (!optional) group = result.size();
            result.push_back({std::string(at, length), optional, false});
            at += length;
            continue;
        }
        if (*at == '[') {
            optional = true;
            group = result.size();
        } else if (*at == ']') {
            optional = false;
        } else if (*at == '.') {
            for (std::size_t i = group; i < result.size(); ++i) result[i].repeated = true;
        }
        ++at;
    }
    return result;
}

const Verb *find_verb(const std::string &name) {
    for (const Verb &verb : verbs)
        if (verb.name == name) return &verb;
    return nullptr;
}

std::string synopsis(const Verb &verb) {
    std::string text = std::string("kvio ") + verb.name;
    for (char letter : std::string(verb.options)) {
        const Option &option = *find_option(letter);
        text += std::string(" [--") + option.name + (option.argument ? std::string(" ") + option.argument : "") + ']';
    }
    return text + (*verb.usage ? std::string(" ") + verb.usage : "");
}

void check_count(const Verb &verb, std::size_t given) {
    std::vector<Argument> known = arguments_of(verb);
    auto needed = static_cast<std::size_t>(
        std::count_if(known.begin(), known.end(), [](const Argument &one) { return !one.optional; }));
    bool endless = !known.empty() && known.back().repeated;
    if (given < needed || (given > known.size() && !endless)) throw Failure{misused, "usage: " + synopsis(verb)};
}

// Runs getopt_long(3) over the words behind the verb, all of them also after a mistake, for the sake of --quiet.
// Without a verb it stops at the first word.
Call parse_options(const Verb *verb, const Strings &words) {
    const std::string known = options_of_all + (verb ? verb->options : "");
    std::string letters = verb ? ":" : "+:";
    std::vector<option> longs;
    for (const Option &one : options) {
        if (known.find(one.letter) == std::string::npos) continue;
        letters += one.letter;
        if (one.argument) letters += ':';
        longs.push_back({one.name, one.argument ? required_argument : no_argument, nullptr, one.letter});
    }
    longs.push_back({});

    Strings copies = words;
    copies.insert(copies.begin(), "kvio");
    std::vector<char *> pointers;
    for (std::string &word : copies) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    int count = static_cast<int>(copies.size());

    Call call;
    call.verb = verb;
    std::string mistake;
    optind = 0;
    opterr = 0;
    for (int letter; (letter = getopt_long(count, pointers.data(), letters.c_str(), longs.data(), nullptr)) != -1;) {
        if (letter == 'q') Messages::quiet = true;
        if (letter != '?' && letter != ':') {
            call.options[static_cast<char>(letter)] = optarg ? optarg : "";
        } else if (mistake.empty()) {
            std::string what = pointers[static_cast<std::size_t>(optind - 1)];
            if (optopt) what = std::string("-") + static_cast<char>(optopt);
            mistake = (letter == ':' ? "no argument for " : "no option ") + what;
        }
    }
    if (!mistake.empty())
        throw Failure{misused, mistake + "; see kvio " + (verb ? std::string(verb->name) + " " : "") + "--help"};
    for (int i = optind; i < count; ++i) call.arguments.emplace_back(pointers[static_cast<std::size_t>(i)]);
    return call;
}

[[noreturn]] void refuse_verb(const std::string &first) {
    std::string names;
    for (const Verb &verb : verbs)
        if (std::string name = verb.name; name.compare(0, first.size() + 1, first + ' ') == 0)
            names += (names.empty() ? "" : ", ") + name;
    if (!names.empty()) throw Failure{misused, "the verb is one of " + names};
    throw Failure{misused, "no verb " + first + "; kvio --help lists them"};
}

// A text behind a label, in lines of at most 79 columns.
std::string entry(const std::string &label, const std::string &text, std::size_t indent) {
    constexpr std::size_t right = 79;
    std::string line = label, result;
    if (!label.empty()) line += std::string(line.size() < indent ? indent - line.size() : 1, ' ');
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = std::min(text.find(' ', at), text.size());
        if (line.size() + end - at > right) {
            result += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
            line = std::string(indent, ' ');
        }
        line += text.substr(at, end - at) + ' ';
        at = end + 1;
    }
    return result + line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
}

std::string option_line(char letter) {
    const Option &option = *find_option(letter);
    std::string label = std::string("  -") + option.letter + ", --" + option.name;
    return entry(label + (option.argument ? std::string(" ") + option.argument : ""), option.summary, 24);
}

std::string option_lines(const std::string &letters) {
    std::string text;
    for (char letter : letters) text += option_line(letter);
    return text;
}

}  // namespace

const Option *find_option(char letter) {
    auto found = std::find_if(options.begin(), options.end(), [&](const Option &one) { return one.letter == letter; });
    return found == options.end() ? nullptr : &*found;
}

const Verb *take_verb(Strings &words) {
    for (std::ptrdiff_t count : {2, 1}) {
        if (static_cast<std::ptrdiff_t>(words.size()) < count) continue;
        const Verb *verb = find_verb(count == 2 ? words[0] + ' ' + words[1] : words[0]);
        if (verb) words.erase(words.begin(), words.begin() + count);
        if (verb) return verb;
    }
    return nullptr;
}

std::string argument_at(const Verb &verb, std::size_t index) {
    std::vector<Argument> known = arguments_of(verb);
    if (index < known.size()) return known[index].name;
    auto repeated = static_cast<std::size_t>(
        std::count_if(known.begin(), known.end(), [](const Argument &one) { return one.repeated; }));
    return repeated ? known[known.size() - repeated + (index - known.size()) % repeated].name : "";
}

const std::string &Call::option(char letter) const {
    static const std::string none;
    auto found = options.find(letter);
    return found == options.end() ? none : found->second;
}

std::size_t Call::index(const char *what) const {
    std::vector<Argument> known = arguments_of(*verb);
    auto found = std::find_if(known.begin(), known.end(), [&](const Argument &one) { return one.name == what; });
    return static_cast<std::size_t>(found - known.begin());
}

const std::string &Call::operator[](const char *what) const {
    static const std::string none;
    return given(what) ? arguments[index(what)] : none;
}

Strings Call::from(const char *what) const {
    if (!given(what)) return {};
    return {arguments.begin() + static_cast<std::ptrdiff_t>(index(what)), arguments.end()};
}

Call parse(const Strings &words, const char *name_in_batch) {
    Call before = parse_options(nullptr, words);
    Strings rest = before.arguments;
    if (rest.empty()) {
        if (before.has('h')) return before;
        throw Failure{misused, "no verb; kvio --help lists them"};
    }
    const Strings all = rest;
    const Verb *found = take_verb(rest);
    if (!found && (all.back() == "--help" || all.back() == "-h")) {
        before.options['h'] = "";
        return before;
    }
    if (!found) refuse_verb(all[0]);
    const Verb &verb = *found;
    Call call = parse_options(&verb, rest);
    call.options.insert(before.options.begin(), before.options.end());
    if (name_in_batch) call.arguments.insert(call.arguments.begin(), name_in_batch);
    call.in_batch = name_in_batch != nullptr;
    if (!call.has('h')) check_count(verb, call.arguments.size());
    return call;
}

std::string help(const Verb *verb) {
    if (verb) {
        std::string sentence = verb->summary;
        sentence[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[0])));
        return entry("Usage:", synopsis(*verb), 7) + "\n" + entry("", sentence, 0) + '\n' +
               option_lines(verb->options + options_of_all) + "\nExample: " + verb->example + '\n';
    }
    std::string text =
        "Usage: kvio VERB [OPTION]... [ARGUMENT]...\n\n"
        "Reads and changes the configurations of the appliance. NAME is a file of\n"
        "/etc/kavex/conf, SCOPE a path of element names such as object/address, KIND\n"
        "table, list or group. -- ends the options.\n";
    for (const Verb &one : verbs) {
        for (const Heading &heading : headings)
            if (heading.first == std::string(one.name)) text += std::string("\n") + heading.text + ":\n";
        text += entry(std::string("  ") + one.name, one.summary, 18);
    }
    return text + "\nOptions of all verbs:\n" + option_lines(options_of_all) +
           "  -V, --version         print the version; only in the place of a verb\n"
           "\nExit status: 0 done, 1 not found or different, 2 wrong usage, 3 locked, 4 not\n"
           "well-formed or inconsistent, 5 input or output failed, 6 no permission.\n"
           "kvio VERB --help describes a verb; so does kvio(1).\n";
}

}  // namespace kvio
