// The form of sessions as text: words, quotes and long runs of a character.
#ifndef KAVEX_TESTS_PLAY_FORM_H
#define KAVEX_TESTS_PLAY_FORM_H

#include <cstring>
#include <regex>
#include <string>
#include <vector>

namespace form {

using Words = std::vector<std::string>;

// What stands between separators that are in no quotes; a quote begins where a word or an alternative does.
inline Words split(const std::string &text, char separator = ' ') {
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

// A text with {n*63} as 63 n.
inline std::string expanded(const std::string &text) {
    static const std::regex run(R"(\{(.)\*(\d+)\})");
    std::string longer;
    auto at = text.begin();
    for (std::sregex_iterator match(text.begin(), text.end(), run), end; match != end; at = (*match++)[0].second)
        longer.append(at, (*match)[0].first).append(std::stoul((*match)[2]), *(*match)[1].first);
    return longer.append(at, text.end());
}

}  // namespace form

#endif
