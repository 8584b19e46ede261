// What the sources of the command share: exit statuses, failures, the table of verbs, one parsed call.
#ifndef KAVEX_TOOLS_KVIO_H
#define KAVEX_TOOLS_KVIO_H

#include <kavex/store.h>

#include <map>
#include <string>
#include <vector>

namespace kvio {

enum Status { success = 0, not_found = 1, misused = 2, locked = 3, inconsistent = 4, io_error = 5, denied = 6 };

// What ends a verb early: main() prints the text and exits with the status.
struct Failure {
    Status status;
    std::string text;
};

using Strings = std::vector<std::string>;

class Document;
struct Call;

struct Option {
    char letter;
    const char *name;
    const char *argument;  // null: takes none
    const char *summary;
};

// One verb. The words of its usage tell how many arguments it takes, and completion what each of them is.
struct Verb {
    const char *name;  // one word, or two for the families attr, lock and user
    const char *usage;
    const char *options;  // letters
    const char *summary;
    const char *example;
    // A change has both: run_change() opens NAME, changes, saves and closes; batch calls the change itself.
    int (*run)(Call &call);
    void (*change)(Call &call, Document &document);
};

// One call of a verb. The arguments begin with NAME also where a batch line leaves it out.
struct Call {
    const Verb *verb = nullptr;
    Strings arguments;
    std::map<char, std::string> options;
    bool in_batch = false;

    bool has(char letter) const { return options.count(letter) != 0; }
    const std::string &operator[](std::size_t index) const { return arguments[index]; }
    std::size_t count() const { return arguments.size(); }
};

// ---- verbs.cpp
extern const std::vector<Verb> verbs;
extern const std::vector<Option> options;
const Option *find_option(char letter);
Call parse(const Strings &words, const char *name_in_batch = nullptr);  // throws a Failure
std::string help(const Verb *verb);                                     // null: all verbs
std::string manual();                                                   // the generated part of kvio(1)

// ---- completion.cpp: what may stand at the cursor, a line each, or an empty line for the name of a file. The words
// are the line up to there, COMP_WORDBREAKS and COMP_TYPE of bash(1).
std::string complete(const Strings &words);

// ---- one function for each verb, in the source of its subject
int run_change(Call &call);
int show(Call &), get(Call &), ls(Call &), members(Call &), find(Call &), count(Call &), refs(Call &), attr_get(Call &);
void set(Call &, Document &), unset(Call &, Document &), define(Call &, Document &), undefine(Call &, Document &);
void create(Call &, Document &), dispose(Call &, Document &);
void join(Call &, Document &), append(Call &, Document &), insert(Call &, Document &), leave(Call &, Document &);
void rename_member(Call &, Document &);
void attr_set(Call &, Document &), attr_unset(Call &, Document &), attr_increase(Call &, Document &),
    attr_decrease(Call &, Document &);
int batch(Call &);
int copy(Call &), rename(Call &), remove(Call &), save_as(Call &), dump(Call &), backup(Call &), restore(Call &);
int diff(Call &), check(Call &);
int lock_status(Call &), lock_clear(Call &);
int user_show(Call &), user_method(Call &), user_release(Call &), user_groups(Call &), user_types(Call &);

}  // namespace kvio

#endif
