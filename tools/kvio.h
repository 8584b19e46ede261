// What the sources of the command share: exit statuses, failures, the table of verbs, one parsed call, output.
#ifndef KAVEX_TOOLS_KVIO_H
#define KAVEX_TOOLS_KVIO_H

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kvio {

enum Status { success = 0, not_found = 1, misused = 2, locked = 3, inconsistent = 4, io_error = 5, denied = 6 };

// Ends a verb early: main() prints the text and exits with the status.
struct Failure {
    Status status;
    std::string text;
};

using Strings = std::vector<std::string>;
using Pairs = std::vector<std::pair<const char *, std::string>>;  // texts by names that are literals or in a document

class Document;
struct Call;

// By its letter.
struct Option {
    const char *name;
    const char *argument;  // null: takes none
    const char *summary;
};

using Run = int(Call &);
using Change = void(Call &, Document &);
Run run_change;  // opens NAME, makes the change of its verb, saves and closes

// What a verb does. A batch makes the changes of its lines itself.
struct Action {
    Action(Run *verb) : run(verb) {}
    Action(Change *verb) : run(run_change), change(verb) {}
    Run *run;
    Change *change = nullptr;
};

struct Verb {
    const char *name;     // one word, or two for the families attr, lock and user
    const char *usage;    // its arguments; Call finds them by these words
    const char *options;  // letters
    const char *summary;
    const char *example;  // arguments
    Action action;
    const char *heading = nullptr;  // of the group of verbs that begins here
};

// One call of a verb. The arguments begin with NAME also where a batch line leaves it out.
struct Call {
    const Verb *verb = nullptr;
    Strings arguments;
    std::map<char, std::string> options;
    bool in_batch = false;

    bool has(char letter) const { return options.count(letter) != 0; }
    const std::string &option(char letter) const;  // its argument, "" if it is not given

    // The argument that the usage calls so, "" if it is not given.
    const std::string &operator[](const char *what) const;
    std::size_t index(const char *what) const;  // its position, given or not; the largest if the verb has none such
    Strings from(const char *what) const;       // that argument and all behind it
    bool given(const char *what) const { return index(what) < arguments.size(); }

    const std::string &name() const { return (*this)["NAME"]; }
    const std::string &scope() const { return (*this)["SCOPE"]; }
    const std::string &kind() const { return (*this)["KIND"]; }
    const std::string &type() const { return (*this)["TYPE"]; }
    const std::string &entity() const { return (*this)["ENTITY"]; }
    const std::string &container() const { return (*this)["CONTAINER"]; }
};

// Reads a command line word by word: options are accepted anywhere up to "--".
struct Line {
    Call call;
    char open = 0;  // the option whose argument comes next
    bool more_options = true;
    std::string mistake;

    void take(const std::string &word);
    const Option *take_option(const std::string &name, const char *argument);
};

// ---- verbs.cpp
extern const std::vector<Verb> verbs;
extern const std::map<char, Option> options;
extern const std::string options_of_all;  // letters
const Verb *take_verb(Strings &words);    // removes the one or two words of a verb; null if there is none
// The word for the argument at a position, "" behind the last one.
std::string argument_at(const Verb &verb, std::size_t index);
// Throws a Failure for wrong usage. In a batch the name is put in front of the arguments.
Call parse(const Strings &words, const char *name_in_batch = nullptr);
std::string help(const Verb *verb);  // null: all verbs
// "; did you mean X?" for the most similar of the known words, "" if none is.
std::string suggestion(const std::string &word, const Strings &known);

// ---- output.cpp
std::string environment(const char *name, const std::string &preset);  // a variable that is set and not empty

// Messages go to the standard error stream as it was when the program started, one line each, unless --quiet.
namespace messages {
extern bool quiet;
void say(const std::string &text);
bool on_terminal();
void silence_library();  // from now on descriptor 2, where the library writes diagnostics, leads nowhere
}  // namespace messages

// Asks on the terminal. Throws where there is none, or with --quiet: --yes answers in advance.
bool confirmed(const std::string &question);

// Appends what is left of a file or pipe; false with errno.
bool read_to_end(int file, std::string &text);
std::string standard_input();               // up to its end
Strings lines_of(const std::string &text);  // which end with a line feed, or carriage return and line feed

// A text in one line: backslash, tab, line feed and carriage return as \\, \t, \n and \r, other control characters as
// \u001b.
std::string one_line(const std::string &text);

std::string joined(const Strings &texts, const char *separator);

// JSON: a string with its quotes, an object of names and finished values or texts, an array of finished values.
std::string json(const std::string &text);
std::string json_object(const Pairs &members);
std::string json_texts(const Pairs &members);
std::string json_array(const Strings &values);
std::string json_lines(const Strings &objects);  // an array with a line for each

void put(const std::string &text);  // to standard output
int flushed();                      // 0, or errno of the first write that failed

// Sends standard output through $PAGER, or less(1), when that is wanted and it is a terminal. Waits for its end.
class Pager {
public:
    explicit Pager(bool wanted);
    ~Pager();
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;

private:
    std::FILE *stream_ = nullptr;
};

bool on_terminal();                                              // standard output is a terminal, or a pager on one
bool decorated();                                                // standard output is a terminal that wants colours
std::string coloured(const char *sgr, const std::string &text);  // unchanged where decorated() is false

// What --format asks for: text, json, or xml where that is allowed.
std::string format_of(const Call &call, bool xml_allowed = false);

// Rows of named columns: separated by tabs, aligned on a terminal, or an array of JSON objects.
class Rows {
public:
    // With --quiet, rows that only explain the exit status are not printed.
    explicit Rows(const Call &call, bool explains_status = false)
        : json_(format_of(call) == "json"), silent_(explains_status && messages::quiet) {}
    void add(const Pairs &row);
    Status finish(Status if_empty = success);  // prints them; the status of the verb
    bool as_json() const { return json_; }

private:
    bool json_, silent_;
    std::vector<Strings> rows_;  // of columns, or of one object
    std::vector<std::size_t> widths_;
};

// ---- completion.cpp: proposals for the last word, a line each; one empty line where bash is to propose files.
std::string complete(Strings words);

// ---- one function for each verb, in the source of its subject
Run show, get, ls, members, find, count, refs, attr_get, batch, edit;
Run copy, rename, remove, save_as, backup, restore, diff, check, lock_status, lock_clear;
Run user_show, user_method, user_release, user_groups, user_types;
Change set, unset, define, remove_unnamed, rename_all, create_scope, create;
Change join, append, insert, leave, rename_member, attr_set, attr_unset, attr_count;

}  // namespace kvio

#endif
