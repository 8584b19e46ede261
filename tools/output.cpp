#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace kvio {
namespace {

int original = 2;
int lost = 0;  // errno of the first write to standard output that failed

// Control characters as \t, \n, \r and \u001b: they would break lines and columns, and give orders to a terminal.
std::string without_control(const std::string &text, bool escape_backslash) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]), next = static_cast<unsigned char>(text.c_str()[i + 1]);
        bool long_one = c == 0xc2 && next >= 0x80 && next < 0xa0;  // U+0080 to U+009F in UTF-8
        char code[8];
        if (c == '\\' && escape_backslash)
            result += "\\\\";
        else if (c == '\t')
            result += "\\t";
        else if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else if (c >= ' ' && c != 0x7f && !long_one)
            result += text[i];
        else
            std::snprintf(code, sizeof code, "\\u%04x", long_one ? next : c), result += code, i += long_one;
    }
    return result;
}

}  // namespace

bool Messages::quiet = false;

Messages::Messages(bool diagnostics) {
    if (diagnostics || original != 2) return;
    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    int kept = fcntl(2, F_DUPFD_CLOEXEC, 3);
    if (kept >= 0) {
        dup2(nowhere, 2);
        original = kept;
        redirected_ = true;
    }
    close(nowhere);
}

Messages::~Messages() {
    if (!redirected_) return;
    dup2(original, 2);
    close(original);
    original = 2;
}

void Messages::say(const std::string &text) {
    if (!quiet) dprintf(original, "kvio: %s\n", without_control(text, false).c_str());
}

void Messages::ask(const std::string &text) { dprintf(original, "%s", text.c_str()); }

std::string one_line(const std::string &text) { return without_control(text, true); }

std::string json(const std::string &text) {
    std::string result = "\"";
    for (char c : text) {
        char code[8];
        if (c == '"' || c == '\\')
            result += '\\', result += c;
        else if (static_cast<unsigned char>(c) >= ' ')
            result += c;
        else
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c)), result += code;
    }
    return result + '"';
}

void put(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && !lost) lost = errno;
}

int flushed() {
    if (std::fflush(stdout) != 0 && !lost) lost = errno;
    return lost;
}

void put_columns(std::initializer_list<std::string> columns) {
    const char *separator = "";
    for (const std::string &column : columns) put(separator + one_line(column)), separator = "\t";
    put("\n");
}

bool decorated() {
    static const bool result = [] {
        const char *no_colour = std::getenv("NO_COLOR"), *terminal = std::getenv("TERM");
        return isatty(1) && !(no_colour && *no_colour) && terminal && std::string(terminal) != "dumb";
    }();
    return result;
}

std::string coloured(const char *sgr, const std::string &text) {
    return decorated() ? std::string("\033[") + sgr + 'm' + text + "\033[0m" : text;
}

}  // namespace kvio
