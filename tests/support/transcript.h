// Transcripts: sessions with the library as they are read, each operation followed by all that can be seen of it.
//
//     # a remark
//     > <t name="a"/>         what is loaded; consecutive lines are one text
//     $ append_list l a 9     an operation; single spaces part its words, which may be in quotes; {n*63} is 63 n
//     with ...                whatever else a session has to say
//
// What was shown begins with a space, a digit or a minus sign.
#ifndef KAVEX_TESTS_SUPPORT_TRANSCRIPT_H
#define KAVEX_TESTS_SUPPORT_TRANSCRIPT_H

#include <functional>
#include <string>
#include <vector>

namespace transcript {

// Plays a file and compares it with itself: `load` gets what is loaded, `perform` the words of any other line of input
// and says what it shows.
using Words = std::vector<std::string>;
void play(const std::string &path, const std::function<void(const std::string &text)> &load,
          const std::function<std::string(const Words &words)> &perform);

// The words that a word such as {a,"b c",NULL} stands for, any other for itself.
Words alternatives(const std::string &word);

// An argument without its quotes; null for NULL. It lives as long as the session does.
const char *argument(const std::string &word);

// Bytes as a text of one line, with \n and \0.
std::string on_one_line(const std::string &bytes);

// Of two lists of XML nodes: those that went, with their places before, and those that came, with their places after.
std::string difference(const std::string &before, const std::string &after);

// The same of two elements, from where in them the difference begins.
std::string difference_within(std::string before, std::string after);

}  // namespace transcript

#endif
