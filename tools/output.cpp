// Messages, tables and JSON on standard output and standard error.
#include "kvio.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/owned.h"

namespace kvio {
namespace {

int original = 2;
int lost = 0;  // errno of the first write to standard output that failed

std::string code_of(unsigned character) {
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", character);
    return code;
}

// Control characters as \t, \n, \r and \u001b: they would break lines and columns, and control a terminal. A backslash
// goes in front of what else is to be escaped.
std::string without_control(const std::string &text, const char *escaped) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]), next = static_cast<unsigned char>(text.c_str()[i + 1]);
        if (c == '\t' || c == '\n' || c == '\r') {
            result += c == '\t' ? "\\t" : (c == '\n' ? "\\n" : "\\r");
        } else if (c == 0xc2 && next >= 0x80 && next < 0xa0) {  // U+0080 to U+009F in UTF-8
            result += code_of(next);
            ++i;
        } else if (c < ' ' || c == 0x7f) {
            result += code_of(c);
        } else {
            if (c && std::strchr(escaped, c)) result += '\\';
            result += text[i];
        }
    }
    return result;
}

// The columns that a text takes on a terminal, where a character of UTF-8 takes one.
std::size_t width(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

}  // namespace

std::string environment(const char *name, const std::string &preset) {
    const char *value = std::getenv(name);
    return value && *value ? value : preset;
}

bool messages::quiet = false;

void messages::silence_library() {
    Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (original == 2) original = fcntl(2, F_DUPFD_CLOEXEC, 3);
    if (nowhere && original > 2) dup2(nowhere.get(), 2);
}

void messages::say(const std::string &text) {
    if (!quiet) dprintf(original, "kvio: %s\n", without_control(text, "").c_str());
}

bool messages::on_terminal() { return isatty(original); }

bool confirmed(const std::string &question) {
    if (messages::quiet || !isatty(0)) throw Failure{misused, "no terminal to ask on; --yes answers in advance"};
    std::fflush(stdout);
    dprintf(original, "%s [y/N] ", one_line(question).c_str());
    char answer[16] = "";
    return std::fgets(answer, sizeof answer, stdin) && (answer[0] == 'y' || answer[0] == 'Y');
}

bool read_to_end(int file, std::string &text) {
    char piece[65536];
    ssize_t got;
    while ((got = read(file, piece, sizeof piece)) > 0) text.append(piece, static_cast<std::size_t>(got));
    return got == 0;
}

std::string standard_input() {
    std::string text;
    if (!read_to_end(0, text)) throw Failure{io_error, std::string("standard input: ") + std::strerror(errno)};
    if (text.find('\0') != std::string::npos) throw Failure{misused, "standard input has a zero byte"};
    return text;
}

Strings lines_of(const std::string &text) {
    Strings lines;
    for (std::size_t begin = 0, end; begin < text.size(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.size());
        bool carriage_return = end > begin && text[end - 1] == '\r';
        lines.push_back(text.substr(begin, end - begin - carriage_return));
    }
    return lines;
}

std::string one_line(const std::string &text) { return without_control(text, "\\"); }

std::string json(const std::string &text) { return '"' + without_control(text, "\"\\") + '"'; }

std::string joined(const Strings &texts, const char *separator) {
    std::string all;
    for (const std::string &text : texts) all.append(&text == &texts[0] ? "" : separator).append(text);
    return all;
}

std::string json_object(const Pairs &members) {
    Strings parts;
    for (const auto &[name, value] : members) parts.push_back(json(name) + ": " + value);
    return '{' + joined(parts, ", ") + '}';
}

std::string json_texts(const Pairs &members) {
    Pairs values;
    for (const auto &[name, text] : members) values.emplace_back(name, json(text));
    return json_object(values);
}

std::string json_array(const Strings &values) { return '[' + joined(values, ", ") + ']'; }

std::string json_lines(const Strings &objects) {
    return (objects.empty() ? "[" : "[\n  ") + joined(objects, ",\n  ") + "\n]\n";
}

void put(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && !lost) lost = errno;
}

int flushed() {
    if (std::fflush(stdout) != 0 && !lost) lost = errno;
    return lost;
}

bool on_terminal() {
    static const bool result = isatty(1);
    return result;
}

Pager::Pager(bool wanted) {
    decorated();  // as long as standard output is the terminal
    if (!wanted || !on_terminal()) return;
    setenv("LESS", "FRX", 0);
    stream_ = popen(environment("PAGER", "less").c_str(), "we");  // NOLINT(cert-env33-c): the user's own command
    if (!stream_) return;
    std::signal(SIGPIPE, SIG_IGN);  // the user may quit the pager before the end
    dup2(fileno(stream_), 1);
}

Pager::~Pager() {
    if (!stream_) return;
    std::fflush(stdout);
    lost = 0;
    close(1);
    pclose(stream_);
}

bool decorated() {
    static const bool result =
        on_terminal() && environment("NO_COLOR", "").empty() && environment("TERM", "dumb") != "dumb";
    return result;
}

std::string coloured(const char *sgr, const std::string &text) {
    return decorated() ? std::string("\033[") + sgr + 'm' + text + "\033[0m" : text;
}

std::string format_of(const Call &call, bool xml_allowed) {
    std::string format = call.has('F') ? call.option('F') : "text";
    if (format == "text" || format == "json" || (format == "xml" && xml_allowed)) return format;
    throw Failure{misused,
                  std::string("FORMAT is text") + (xml_allowed ? ", json or xml" : " or json") + ", not " + format};
}

void Rows::add(const Pairs &row) {
    rows_.emplace_back();
    if (json_) return rows_.back().push_back(json_texts(row));
    for (const auto &[name, value] : row) rows_.back().push_back(one_line(value));
    widths_.resize(std::max(widths_.size(), row.size()));
    // The last column of a row does not widen the one of longer rows.
    for (std::size_t i = 0; i + 1 < row.size(); ++i) widths_[i] = std::max(widths_[i], width(rows_.back()[i]));
}

Status Rows::finish(Status if_empty) {
    Strings lines;
    for (Strings &row : rows_) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            row[i] += on_terminal() ? std::string(widths_[i] + 2 - width(row[i]), ' ') : "\t";
        lines.push_back(joined(row, ""));
    }
    if (!silent_) put(json_ ? json_lines(lines) : joined(lines, "\n") + (lines.empty() ? "" : "\n"));
    return rows_.empty() ? if_empty : success;
}

}  // namespace kvio
