#include "tests/support/transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <utility>

namespace {

std::string expanded(const std::string &line) {
    static const std::regex run(R"(\{(.)\*(\d+)\})");
    std::string text;
    auto at = line.begin();
    for (std::sregex_iterator match(line.begin(), line.end(), run), end; match != end; at = (*match++)[0].second)
        text.append(at, (*match)[0].first).append(std::stoul((*match)[2]), *(*match)[1].first);
    return text.append(at, line.end());
}

// Long runs of a character as they are written, and no spaces at the ends of lines.
std::string abbreviated(const std::string &text) {
    std::string shorter;
    for (size_t at = 0, end; at < text.size(); at = end) {
        end = std::min(text.find_first_not_of(text[at], at), text.size());
        if (text[at] == '\n') shorter.erase(shorter.find_last_not_of(' ') + 1);
        if (end - at < 40)
            shorter.append(text, at, end - at);
        else
            shorter += std::string("{") + text[at] + "*" + std::to_string(end - at) + "}";
    }
    return shorter;
}

// What stands between separators that are in no quotes; a quote begins where a word or an alternative does.
transcript::Words split(const std::string &text, char separator) {
    transcript::Words parts(1);
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

// Each node is shown as its text.
std::vector<std::string> nodes(const std::string &list) {
    auto after = [&](const char *end, size_t at) { return list.find(end, at) + std::string(end).size(); };
    std::vector<std::string> found;
    int depth = 0;
    for (size_t at = 0, begin = 0; at < list.size();) {
        const size_t tag = at;
        if (list[at] != '<')
            at = std::min(list.find('<', at), list.size());
        else if (list.compare(at, 4, "<!--") == 0)
            at = after("-->", at);
        else if (list.compare(at, 2, "<!") == 0)
            at = after("]]>", at);
        else
            at = after(">", at);
        if (list[tag] == '<' && std::isalpha(static_cast<unsigned char>(list[tag + 1])) && list[at - 2] != '/') ++depth;
        if (list.compare(tag, 2, "</") == 0) --depth;
        if (depth == 0) found.push_back(list.substr(begin, at - begin)), begin = at;
    }
    return found;
}

// An element without its content, and its content.
std::pair<std::string, std::string> taken_apart(const std::string &element) {
    const size_t open = element.find('>'), close = element.rfind("</");
    if (close == element.npos) return {element.substr(0, element.size() - 2), ""};
    return {element.substr(0, open), element.substr(open + 1, close - open - 1)};
}

}  // namespace

void transcript::play(const std::string &path, const std::function<void(const std::string &)> &load,
                      const std::function<std::string(const Words &)> &perform) {
    std::ifstream file(path);
    ASSERT_TRUE(file) << path;
    std::string expected, seen, loaded;
    auto finish_loading = [&] {
        if (!loaded.empty()) load(std::exchange(loaded, ""));
    };
    for (std::string line; std::getline(file, line);) {
        expected += line + "\n";
        if (!line.empty() && std::string(" -0123456789").find(line[0]) != std::string::npos) continue;
        seen += line + "\n";
        if (line[0] == '>')
            loaded += expanded(line).substr(2);
        else
            finish_loading();
        const bool is_word = std::isalpha(static_cast<unsigned char>(line[0]));
        if (is_word || line[0] == '$') seen += abbreviated(perform(split(expanded(line), ' ')));
    }
    finish_loading();
    const auto parted = std::mismatch(seen.begin(), seen.end(), expected.begin(), expected.end()).first;
    EXPECT_TRUE(seen == expected) << "from line " << std::count(seen.begin(), parted, '\n') + 1 << " on, instead of "
                                  << path << ":\n"
                                  << seen << "<<<";
}

transcript::Words transcript::alternatives(const std::string &word) {
    return word[0] == '{' ? split(word.substr(1, word.size() - 2), ',') : Words{word};
}

const char *transcript::argument(const std::string &word) {
    static std::set<std::string> kept;
    if (word == "NULL") return nullptr;
    if (word[0] != '"') return kept.insert(word).first->c_str();
    std::string text;
    for (size_t at = 1; at + 1 < word.size(); ++at) {
        if (word[at] != '\\')
            text += word[at];
        else if (word[++at] == 'n')
            text += '\n';
        else
            text += word[at];
    }
    return kept.insert(text).first->c_str();
}

std::string transcript::on_one_line(const std::string &bytes) {
    std::string text;
    for (char byte : bytes) {
        if (byte == '\n')
            text += "\\n";
        else if (byte == '\0')
            text += "\\0";
        else
            text += byte;
    }
    return text;
}

std::string transcript::difference(const std::string &before, const std::string &after) {
    const std::vector<std::string> a = nodes(before), b = nodes(after);
    std::vector<std::vector<size_t>> common(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = a.size(); i-- > 0;)
        for (size_t j = b.size(); j-- > 0;)
            common[i][j] = a[i] == b[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
    std::string text;
    for (size_t i = 0, j = 0; i < a.size() || j < b.size();) {
        const bool is_common = i < a.size() && j < b.size() && a[i] == b[j];
        const bool went = !is_common && (j == b.size() || (i < a.size() && common[i + 1][j] >= common[i][j + 1]));
        if (went) text += "    - " + std::to_string(i + 1) + " " + on_one_line(a[i]) + "\n";
        if (!is_common && !went) text += "    + " + std::to_string(j + 1) + " " + on_one_line(b[j]) + "\n";
        i += is_common || went ? 1 : 0;
        j += went ? 0 : 1;
    }
    return text;
}

std::string transcript::difference_within(std::string before, std::string after) {
    for (;;) {
        const auto a = taken_apart(before), b = taken_apart(after);
        const bool has_nodes = (a.second + b.second).find('<') != std::string::npos;
        const bool is_within = has_nodes && a.first == b.first && a.second != b.second;
        if (is_within) before = a.second, after = b.second;
        if (!is_within || nodes(before).size() > 1 || nodes(after).size() > 1) return difference(before, after);
    }
}
