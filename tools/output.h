// Text for people and programs: lines, columns, colours and JSON strings.
#ifndef KAVEX_TOOLS_OUTPUT_H
#define KAVEX_TOOLS_OUTPUT_H

#include <cstdio>
#include <initializer_list>
#include <string>

namespace kvio {

// Where messages go: the standard error stream as it was when the program started. Descriptor 2 itself leads nowhere
// unless the store's own diagnostics are wanted.
class Messages {
public:
    explicit Messages(bool diagnostics);
    ~Messages();                               // gives descriptor 2 back
    static void say(const std::string &text);  // one line, unless --quiet
    static void ask(const std::string &text);  // nothing added, also with --quiet
    static bool quiet;

private:
    bool redirected_ = false;
};

// A value in one line: backslash, tab, line feed and carriage return as \\, \t, \n and \r, other control characters as
// \u001b.
std::string one_line(const std::string &text);

std::string json(const std::string &text);  // with its quotes

void put(const std::string &text);  // to standard output
int flushed();                      // 0, or errno of the first time that something did not get there
void put_columns(std::initializer_list<std::string> columns);  // separated by tabs, each in one line

bool decorated();                                                // standard output is a terminal that wants colours
std::string coloured(const char *sgr, const std::string &text);  // as it is where decorated() is false

}  // namespace kvio

#endif
