// `diff`: two configurations compared by entity and field. The order of scopes, entities, containers and fields and that
// of a group's members has no meaning; that of the members of lists and tables has.

#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "base/paths.h"
#include "document.h"

namespace kvio {
namespace {

// Texts by their place: scope, type or kind, name, and field, separated by bytes of zero. XML holds neither these bytes
// nor the marks of value 1, which keep places apart that look the same when they are printed.
constexpr char separator = '\0', mark = '\1';

enum Side { old_side, new_side };
using Text = std::optional<std::string>;
using Texts = std::map<std::string, std::array<Text, 2>>;

// Adds the texts of one document.
class Contents {
public:
    Contents(const Document &document, Side side, Texts &texts) : side_(side), texts_(texts) {
        for (Element scope : document.root()) add_scope(scope);
    }

private:
    // Adds a text and returns its place, which gets a number where an equal one comes again.
    std::string add(const std::string &place, const std::string &text) {
        int times = ++times_[place];
        std::string unique = times == 1 ? place : place + mark + " (" + std::to_string(times) + ')';
        texts_[unique][side_] = text;
        return unique;
    }

    void add_attributes(Element element, const std::string &place) {
        const std::string prefix = place + separator + '@';
        for (const auto &[name, value] : element.other_attributes()) add(prefix + name, value);
    }

    void add_scope(Element scope) {
        const std::string place = add(scope.scope(), "");
        add_attributes(scope, place);
        if (scope.is_empty() && !scope.text().empty()) add(place + separator + "text", scope.text());
        for (Element child : scope) {
            if (child.role() == Role::scope)
                add_scope(child);
            else
                add_part(child, place);
        }
    }

    void add_part(Element element, const std::string &scope) {
        const Identity identity = element.identity();
        const std::string place = add(scope + separator + identity.full_type() + separator + identity.name, "");
        add_attributes(element, place);
        if (!identity.kind.empty())
            add_members(element, place);
        else
            for (Element field : element) add(place + separator + field.tag(), field.value());
    }

    void add_members(Element container, const std::string &place) {
        const std::string prefix = place + separator + "member ";
        std::string order;
        for (Element member : container) {
            std::string text = member.text();
            if (!member.is("entity")) text += mark + (" (" + std::string(member.tag()) + ')');
            if (container.is("group")) add(prefix + text, "");
            order += (order.empty() ? "" : mark + std::string(", ")) + text;
        }
        if (!container.is("group")) add(place + separator + "members", order);
    }

    Side side_;
    Texts &texts_;
    std::map<std::string, int> times_;
};

std::string without_marks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), mark), text.end());
    return text;
}

std::string shown(const std::string &text) { return one_line(without_marks(text)); }

// Whether a place is outside of the latest one that is missing as a whole; it becomes the latest one then.
bool is_new(const std::string &place, std::string &whole) {
    bool within = !whole.empty() && place.compare(0, whole.size(), whole) == 0 && place.size() > whole.size();
    char next = within ? place[whole.size()] : ' ';
    bool is_scope = whole.find(separator) == std::string::npos;
    if (within && (next == separator || (is_scope && next == '/'))) return false;
    whole = place;
    return true;
}

std::string line(std::string place, const Text &before, const Text &after) {
    std::replace(place.begin(), place.end(), separator, ' ');
    std::string text = shown(before.value_or("")) + (before && after ? " -> " : "") + shown(after.value_or(""));
    if (!text.empty()) text.insert(0, ": ");
    text.insert(0, (!after ? "- " : !before ? "+ " : "~ ") + shown(place));
    return coloured(!after ? "31" : !before ? "32" : "33", text) + '\n';
}

std::string object(const std::string &place, const Text &before, const Text &after) {
    Strings parts;
    for (std::size_t begin = 0, end; begin <= place.size(); begin = end + 1) {
        end = std::min(place.find(separator, begin), place.size());
        parts.push_back(json(without_marks(place.substr(begin, end - begin))));
    }
    const char *change = !after ? "removed" : !before ? "added" : "changed";
    Pairs members = {{"change", json(change)}, {"place", json_array(parts)}};
    if (before) members.emplace_back("old", json(without_marks(*before)));
    if (after) members.emplace_back("new", json(without_marks(*after)));
    return json_object(members);
}

// A configuration of this name, or else a file.
Document configuration_or_file(const std::string &name) {
    struct stat file;
    bool is_path = name.find('/') != std::string::npos || name == "-";
    if (!is_path &&
        (name == paths::system_default || stat(path_of(name).c_str(), &file) == 0 || stat(name.c_str(), &file) != 0))
        return Document::look(name);
    return Document::file(name);
}

}  // namespace

bool differences(const Call &call, const Document &before, const Document &after, std::string &text) {
    Texts texts;
    Contents old_contents(before, old_side, texts), new_contents(after, new_side, texts);
    const bool as_json = format_of(call) == "json";
    std::string missing[2];  // the latest place that each side lacks
    Strings reported;
    for (const auto &[place, sides] : texts) {
        const Text &old_text = sides[old_side], &new_text = sides[new_side];
        if (old_text == new_text) continue;
        if (!(old_text && new_text) && !is_new(place, missing[old_text ? new_side : old_side])) continue;
        reported.push_back(as_json ? object(place, old_text, new_text) : line(place, old_text, new_text));
    }
    text = as_json ? json_lines(reported) : joined(reported, "");
    return !reported.empty();
}

// As diff(1): the old one first, and status 2 for whatever keeps them from being compared.
int diff(Call &call) {
    try {
        Document before = configuration_or_file(call["OLD"]), after = configuration_or_file(call["NEW"]);
        std::string text;
        bool different = differences(call, before, after, text);
        if (!messages::quiet) put(text);
        return different ? not_found : success;
    } catch (const Failure &failure) { throw Failure{misused, failure.text}; }
}

}  // namespace kvio
