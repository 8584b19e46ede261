// The table of verbs, from which parsing, help, completion and the manual page are made.
#include <getopt.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "kvio.h"

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
    {"attr get", "NAME SCOPE TYPE ENTITY ATTRIBUTE", "kd", "print an attribute of an entity or container",
     "kvio attr get appliance.xml interface interface_t lan reference", attr_get, nullptr},

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
    {"diff", "NAME [FILE]", "", "tell how a configuration differs from a file, or from the template",
     "kvio diff appliance.xml /tmp/appliance.xml", diff, nullptr},
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

namespace {

constexpr char everywhere[] = "hqv";

Strings words_of(const std::string &text) {
    std::istringstream stream(text);
    Strings result;
    for (std::string word; stream >> word;) result.push_back(word);
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
    std::size_t least = 0, most = 0;
    bool endless = false;
    for (const std::string &word : words_of(verb.usage)) {
        if (word.front() != '[' && word.back() != ']' && word.find("]...") == std::string::npos) ++least;
        ++most;
        endless = endless || word.find("...") != std::string::npos;
    }
    if (given < least || (given > most && !endless)) throw Failure{misused, "usage: " + synopsis(verb)};
}

// Runs getopt_long(3) over the words behind the verb. Without a verb it stops at the first word.
Call parse_options(const Verb *verb, const Strings &words, std::size_t &used) {
    std::string letters = verb ? ":" : "+:";
    std::vector<option> longs;
    for (const Option &one : options) {
        if (std::string(everywhere).find(one.letter) == std::string::npos &&
            (!verb || std::string(verb->options).find(one.letter) == std::string::npos))
            continue;
        letters += one.letter;
        if (one.argument) letters += ':';
        longs.push_back({one.name, one.argument ? required_argument : no_argument, nullptr, one.letter});
    }
    longs.push_back({nullptr, 0, nullptr, 0});

    Strings copies = {"kvio"};
    copies.insert(copies.end(), words.begin(), words.end());
    std::vector<char *> pointers;
    for (std::string &word : copies) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    int count = static_cast<int>(copies.size());

    Call call;
    call.verb = verb;
    optind = 0;
    opterr = 0;
    for (int letter; (letter = getopt_long(count, pointers.data(), letters.c_str(), longs.data(), nullptr)) != -1;) {
        if (letter == '?' || letter == ':') {
            std::string what =
                optopt ? std::string("-") + static_cast<char>(optopt) : pointers[static_cast<std::size_t>(optind - 1)];
            what.insert(0, letter == ':' ? "no argument for " : "no option ");
            what += verb ? std::string("; see kvio ") + verb->name + " --help" : "; see kvio --help";
            throw Failure{misused, what};
        }
        call.options[static_cast<char>(letter)] = optarg ? optarg : "";
    }
    used = static_cast<std::size_t>(optind - 1);
    for (int i = optind; i < count; ++i) call.arguments.emplace_back(pointers[static_cast<std::size_t>(i)]);
    return call;
}

// The verbs whose first word this is, of two.
std::string family(const std::string &first) {
    std::string names;
    for (const Verb &verb : verbs)
        if (std::string name = verb.name; name.compare(0, first.size() + 1, first + ' ') == 0)
            names += (names.empty() ? "" : ", ") + name;
    return names;
}

const Verb &take_verb(Strings &words) {
    std::string one = words[0], two = words.size() > 1 ? one + ' ' + words[1] : one;
    if (const Verb *verb = find_verb(two); verb && two != one)
        return words.erase(words.begin(), words.begin() + 2), *verb;
    if (const Verb *verb = find_verb(one)) return words.erase(words.begin()), *verb;
    if (std::string names = family(one); !names.empty()) throw Failure{misused, "the verb is one of " + names};
    throw Failure{misused, "no verb " + one + "; kvio --help lists them"};
}

std::string padded(const std::string &text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text + ' ';
}

std::string option_line(const Option &option) {
    std::string text = std::string("  -") + option.letter + ", --" + option.name;
    if (option.argument) text += std::string(" ") + option.argument;
    return padded(text, 24) + option.summary + '\n';
}

std::string sentence(const Verb &verb) {
    std::string text = verb.summary;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text + '.';
}

// A text as an argument of a macro of mdoc(7).
std::string mdoc(const std::string &text) {
    std::string result;
    for (char c : text) {
        if (c == '-')
            result += "\\-";
        else if (c == '"')
            result += "\\(dq";
        else if (c == '\'')
            result += "\\(aq";
        else
            result += c;
    }
    return result;
}

}  // namespace

const Option *find_option(char letter) {
    auto found = std::find_if(options.begin(), options.end(), [&](const Option &one) { return one.letter == letter; });
    return found == options.end() ? nullptr : &*found;
}

Call parse(const Strings &words, const char *name_in_batch) {
    std::size_t used = 0;
    Call before = parse_options(nullptr, words, used);
    Strings rest = before.arguments;
    if (rest.empty()) {
        if (before.has('h')) return before;
        throw Failure{misused, "no verb; kvio --help lists them"};
    }
    if (!family(rest[0]).empty() && rest.size() > 1 && (rest[1] == "--help" || rest[1] == "-h")) {
        before.options['h'];
        return before;
    }
    const Verb &verb = take_verb(rest);
    Call call = parse_options(&verb, rest, used);
    call.options.insert(before.options.begin(), before.options.end());
    if (name_in_batch) call.arguments.insert(call.arguments.begin(), name_in_batch);
    call.in_batch = name_in_batch != nullptr;
    if (!call.has('h')) check_count(verb, call.count());
    return call;
}

std::string help(const Verb *verb) {
    std::string text;
    if (verb) {
        text = "Usage: " + synopsis(*verb) + "\n\n" + sentence(*verb) + "\n\n";
        for (char letter : std::string(verb->options) + everywhere) text += option_line(*find_option(letter));
        return text + "\nExample: " + verb->example + '\n';
    }
    text =
        "Usage: kvio VERB [OPTION]... [ARGUMENT]...\n\n"
        "Looks at and changes the configurations of the appliance. NAME is a file of /etc/kavex/conf, SCOPE a path of\n"
        "element names such as object/address, KIND table, list or group; -- ends the options.\n\n";
    for (const Verb &one : verbs) text += padded(std::string("  ") + one.name, 18) + one.summary + '\n';
    text += "\n";
    for (char letter : std::string(everywhere)) text += option_line(*find_option(letter));
    return text + padded("      --version", 24) + "print the version alone\n" +
           "\nExit status: 0 done, 1 not found or different, 2 wrong usage, 3 locked, 4 not well-formed or\n"
           "inconsistent, 5 input or output failed, 6 no permission. kvio VERB --help says more; so does kvio(1).\n";
}

std::string manual() {
    std::string text;
    for (const Verb &verb : verbs) {
        text += std::string(".It Cm ") + mdoc(verb.name);
        for (char letter : std::string(verb.options)) {
            const Option &option = *find_option(letter);
            text += std::string(" Oo Fl \\-") + option.name +
                    (option.argument ? std::string(" Ar ") + option.argument : "") + " Oc";
        }
        if (*verb.usage) text += std::string(" Ar ") + mdoc(verb.usage);
        std::string line = sentence(verb);
        if (line.size() > 72) line[line.rfind(' ', 72)] = '\n';
        text += '\n' + mdoc(line) + "\n.Dl " + mdoc(verb.example) + '\n';
    }
    return text;
}

}  // namespace kvio
