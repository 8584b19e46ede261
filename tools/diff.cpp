// `diff`: two configurations compared by entity and field. The order of scopes, entities, containers and fields and that
// of a group's members has no meaning; that of the members of lists and tables has.

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "base/paths.h"
#include "document.h"
#include "output.h"

namespace kvio {
namespace {

// Texts by their place: scope, type or kind, name, and field, separated by bytes of zero. XML holds neither these bytes
// nor the marks of value 1, which keep places apart that look the same when they are printed.
constexpr char separator = '\0', mark = '\1';

class Contents {
public:
    explicit Contents(const Document &document) {
        for (Element scope : document.root()) add_scope(scope);
    }
    const std::map<std::string, std::string> &texts() const { return texts_; }

private:
    // Adds a text and returns its place, which gets a number where an equal one comes again.
    std::string add(const std::string &place, const std::string &text) {
        int times = ++times_[place];
        std::string unique = times == 1 ? place : place + mark + " (" + std::to_string(times) + ')';
        texts_[unique] = text;
        return unique;
    }

    void add_attributes(Element element, const std::string &place) {
        bool container = element.role() == Role::container, scope = element.role() == Role::scope;
        const std::string prefix = place + separator + '@';
        for (const auto &[name, value] : element.attributes())
            if (scope || (name != "name" && !(container && name == "type"))) add(prefix + name, value);
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

    std::map<std::string, std::string> texts_;
    std::map<std::string, int> times_;
};

std::string without_marks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), mark), text.end());
    return text;
}

class Report {
public:
    explicit Report(const Call &call) : json_(format_of(call) == "json") {}
    std::string text() const { return json_ ? json_lines(objects_) : text_; }

    using Text = std::pair<const std::string, std::string>;
    void removed(const Text &one) {
        if (is_new(one.first, removed_)) print("removed", "- ", "31", one.first, &one.second, nullptr);
    }
    void added(const Text &one) {
        if (is_new(one.first, added_)) print("added", "+ ", "32", one.first, nullptr, &one.second);
    }
    void changed(const Text &before, const Text &after) {
        print("changed", "~ ", "33", before.first, &before.second, &after.second);
    }

private:
    // Whether a place is outside of the latest one that is missing as a whole; it becomes the latest one then.
    static bool is_new(const std::string &place, std::string &whole) {
        bool within = !whole.empty() && place.compare(0, whole.size(), whole) == 0 && place.size() > whole.size();
        char next = within ? place[whole.size()] : ' ';
        bool is_scope = whole.find(separator) == std::string::npos;
        if (within && (next == separator || (is_scope && next == '/'))) return false;
        whole = place;
        return true;
    }

    void print(const char *change, const char *sign, const char *colour, const std::string &place,
               const std::string *before, const std::string *after) {
        if (json_) return print_json(change, place, before, after);
        std::string line = sign;
        for (char c : place) line += c == separator ? ' ' : c;
        const std::string texts[] = {before ? one_line(without_marks(*before)) : "",
                                     after ? one_line(without_marks(*after)) : ""};
        line = one_line(without_marks(line));
        if (before && after)
            line += ": " + texts[0] + " -> " + texts[1];
        else if (!texts[0].empty() || !texts[1].empty())
            line += ": " + texts[0] + texts[1];
        text_ += coloured(colour, line) + '\n';
    }

    void print_json(const char *change, const std::string &place, const std::string *before, const std::string *after) {
        Strings parts;
        for (std::size_t begin = 0, end; begin <= place.size(); begin = end + 1) {
            end = std::min(place.find(separator, begin), place.size());
            parts.push_back(json(without_marks(place.substr(begin, end - begin))));
        }
        std::vector<std::pair<const char *, std::string>> members = {{"change", json(change)},
                                                                     {"place", json_array(parts)}};
        if (before) members.emplace_back("old", json(without_marks(*before)));
        if (after) members.emplace_back("new", json(without_marks(*after)));
        objects_.push_back(json_object(members));
    }

    bool json_;
    std::string text_, removed_, added_;
    Strings objects_;
};

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
    const Contents old_contents(before), new_contents(after);
    Report report(call);
    bool different = false;
    auto old = old_contents.texts().begin(), old_end = old_contents.texts().end();
    auto now = new_contents.texts().begin(), now_end = new_contents.texts().end();
    while (old != old_end || now != now_end) {
        bool only_old = now == now_end || (old != old_end && old->first < now->first);
        bool only_new = !only_old && (old == old_end || now->first < old->first);
        if (only_old) report.removed(*old);
        if (only_new) report.added(*now);
        bool changed = !only_old && !only_new && old->second != now->second;
        if (changed) report.changed(*old, *now);
        different = different || only_old || only_new || changed;
        if (!only_new) ++old;
        if (!only_old) ++now;
    }
    text = report.text();
    return different;
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
