#include "tests/play/form.h"

#include <algorithm>
#include <cstring>
#include <regex>
#include <set>

constexpr size_t columns = 120;

form::Words form::split(const std::string &text, char separator) {
    Words parts(1);
    bool quoted = false;
    for (size_t at = 0; at < text.size(); ++at) {
        const char before = at ? text[at - 1] : ' ';
        if (text[at] == '"' && (quoted ? before != '\\' : std::strchr(" {,", before) != nullptr)) quoted = !quoted;
        if (text[at] == separator && !quoted)
            parts.emplace_back();
        else
            parts.back() += text[at];
    }
    return parts;
}

std::string form::joined(const Words &words, size_t begin) {
    std::string text;
    for (size_t at = begin; at < words.size(); ++at) text += (at > begin ? " " : "") + words[at];
    return text;
}

form::Words form::alternatives(const std::string &word) {
    const bool is_run = word.size() > 2 && word[2] == '*';
    return word[0] == '{' && !is_run ? split(word.substr(1, word.size() - 2), ',') : Words{word};
}

std::string form::expanded(const std::string &text) {
    static const std::regex run(R"(\{(.)\*(\d+)\})");
    std::string longer;
    auto at = text.begin();
    for (std::sregex_iterator match(text.begin(), text.end(), run), end; match != end; at = (*match++)[0].second)
        longer.append(at, (*match)[0].first).append(std::stoul((*match)[2]), *(*match)[1].first);
    return longer.append(at, text.end());
}

const char *form::argument(const std::string &word) {
    static std::set<std::string> kept;
    if (word == "NULL") return nullptr;
    std::string text = expanded(word);
    if (text[0] == '"') text = std::regex_replace(text.substr(1, text.size() - 2), std::regex(R"(\\n)"), "\n");
    if (word[0] == '"') text = std::regex_replace(text, std::regex(R"(\\(.))"), "$1");
    return kept.insert(text).first->c_str();
}

std::string form::on_one_line(const std::string &bytes) {
    std::string text;
    for (size_t at = 0, end; at < bytes.size(); at = end) {
        end = std::min(bytes.find_first_not_of(bytes[at], at), bytes.size());
        const std::string one = bytes[at] == '\n' ? "\\n" : bytes[at] == '\0' ? "\\0" : std::string(1, bytes[at]);
        if (end - at >= 40)
            text += "{" + one + "*" + std::to_string(end - at) + "}";
        else
            for (size_t i = at; i < end; ++i) text += one;
    }
    return text;
}

std::string form::wrapped(const std::string &line) {
    std::string text, rest = line;
    for (size_t indent = 0; rest.size() + indent > columns; indent = 4) {
        size_t space = rest.rfind(' ', columns - indent);
        if (space == rest.npos || space == 0) space = rest.find(' ', columns - indent);
        if (space == rest.npos) break;
        text += std::string(indent, ' ') + rest.substr(0, space) + "\n";
        rest.erase(0, space + 1);
    }
    rest.erase(rest.find_last_not_of(' ') + 1);
    return text + (text.empty() ? "" : "    ") + rest + "\n";
}

std::string form::wrapped_document(const std::string &begin, const std::string &text) {
    std::string lines, rest = text;
    while (begin.size() + rest.size() > columns) {
        size_t tag = rest.rfind("><", columns - begin.size() - 1);
        if (tag == rest.npos) tag = rest.find("><", columns - begin.size());
        if (tag == rest.npos) break;
        lines += begin + rest.substr(0, tag + 1) + "\n";
        rest.erase(0, tag + 1);
    }
    return lines + (begin + rest).substr(0, (begin + rest).find_last_not_of(' ') + 1) + "\n";
}
