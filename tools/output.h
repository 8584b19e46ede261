// Text for people and programs: messages, lines, tables, colours and JSON.
#ifndef KAVEX_TOOLS_OUTPUT_H
#define KAVEX_TOOLS_OUTPUT_H

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "kvio.h"
#include "tree.h"

namespace kvio {

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

// JSON: a string with its quotes, an object of names and finished values or texts, an array of finished values.
std::string json(const std::string &text);
std::string json_object(const Pairs &members);
std::string json_texts(Pairs members);
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
    Status finish(Status if_empty = success);  // prints what add() has not printed yet; the status of the verb
    bool as_json() const { return json_; }

private:
    bool json_, silent_, empty_ = true;
    Strings objects_;
    std::vector<Strings> lines_;
};

}  // namespace kvio

#endif
