// The form of sessions as text: words, quotes, long runs of a character, lines that are continued.
#ifndef KAVEX_TESTS_PLAY_FORM_H
#define KAVEX_TESTS_PLAY_FORM_H

#include <string>
#include <vector>

namespace form {

// What stands between separators that are in no quotes; a quote begins where a word or an alternative does.
using Words = std::vector<std::string>;
Words split(const std::string &text, char separator = ' ');
std::string joined(const Words &words, size_t begin = 0);

// The words that a word such as {a,"b c",NULL} stands for, any other for itself.
Words alternatives(const std::string &word);

// An argument without its quotes, with {n*63} as 63 n; null for NULL. It lives as long as the program.
const char *argument(const std::string &word);
std::string expanded(const std::string &text);

// Bytes as a text of one line: with \n and \0, and long runs of a character as {n*63}.
std::string on_one_line(const std::string &bytes);

// A line of at most 120 columns, and what is beyond them on further lines that begin with four spaces.
std::string wrapped(const std::string &line);

// The elements of a document on lines that begin with this.
std::string wrapped_document(const std::string &begin, const std::string &text);

}  // namespace form

#endif
