// `diff`: what a configuration has become, compared with a file, by entity and field. The order of scopes, entities,
// containers and fields and that of a group's members has no meaning; that of the members of lists and tables has.
#include <algorithm>
#include <map>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

// What is compared: texts by where they stand. The columns of a place are scope, type or kind, name, and field.
using Place = std::vector<std::string>;
using Contents = std::map<Place, std::string>;

void add(Contents &contents, Place place, const std::string &text) {
    if (contents.emplace(place, text).second) return;
    place.push_back("again");  // a duplicate, which only editing by hand makes
    add(contents, place, text);
}

// No name has a zero byte: a mark that keeps apart what would look the same.
std::string member_text(Element member) {
    return member.text() + (member.tag() == "entity" ? "" : std::string(1, '\0') + " (" + member.tag() + ')');
}

std::string displayed(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    return one_line(text);
}

void add_container(Contents &contents, Element container, const Place &place) {
    if (container.tag() == "group") {
        for (Element member : container.children()) {
            Place one = place;
            one.push_back("member " + member_text(member));
            add(contents, one, "");
        }
        return;
    }
    std::string order;
    const std::string separator = std::string(1, '\0') + ", ";
    for (Element member : container.children()) order += (order.empty() ? "" : separator) + member_text(member);
    Place members = place;
    members.push_back("members");
    add(contents, members, order);
}

void add_scope(Contents &contents, Element scope) {
    std::string path = scope.scope();
    add(contents, {path}, "");
    for (const auto &[name, value] : scope.attributes()) add(contents, {path, '@' + name}, value);
    if (scope.children().empty() && !scope.text().empty()) add(contents, {path, "text"}, scope.text());
    for (Element child : scope.children()) {
        if (child.role() == Role::scope) {
            add_scope(contents, child);
            continue;
        }
        bool container = child.role() == Role::container;
        Place place = {path, container ? child.tag() + " of " + child.type() : child.tag(), child.name()};
        add(contents, place, "");
        for (const auto &[name, value] : child.attributes()) {
            if (name == "name" || (container && name == "type")) continue;
            Place attribute = place;
            attribute.push_back('@' + name);
            add(contents, attribute, value);
        }
        if (container) add_container(contents, child, place);
        for (Element field : container ? std::vector<Element>() : child.children()) {
            Place value = place;
            value.push_back(field.tag());
            add(contents, value, field.value());
        }
    }
}

Contents contents_of(Document &document) {
    Contents contents;
    for (Element scope : document.tree().root().children()) add_scope(contents, scope);
    return contents;
}

std::string shown(const Place &place) {
    std::string text;
    for (const std::string &part : place) text += (text.empty() ? "" : " ") + displayed(part);
    return text;
}

// What is missing as a whole is said once: whatever stands within it needs no line of its own.
bool said(const Place &place, const Place &whole) {
    return !whole.empty() && place.size() > whole.size() && std::equal(whole.begin(), whole.end(), place.begin());
}

bool within_scope(const Place &place, const Place &whole) {
    return whole.size() == 1 && place[0].compare(0, whole[0].size() + 1, whole[0] + '/') == 0;
}

void print(char sign, const Contents::value_type &one) {
    std::string line = std::string(1, sign) + ' ' + shown(one.first);
    if (!one.second.empty()) line += ": " + displayed(one.second);
    put(coloured(sign == '+' ? "32" : "31", line) + '\n');
}

}  // namespace

int diff(Call &call) {
    Document current = Document::look(call[0]), base = Document::file(call.count() > 1 ? call[1] : system_default);
    Contents before = contents_of(base), after = contents_of(current);
    bool different = false;
    Place gone, came;
    auto old = before.begin(), now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && old->first < now->first)) {
            if (!said(old->first, gone) && !within_scope(old->first, gone)) print('-', *old), gone = old->first;
            different = true, ++old;
        } else if (old == before.end() || now->first < old->first) {
            if (!said(now->first, came) && !within_scope(now->first, came)) print('+', *now), came = now->first;
            different = true, ++now;
        } else {
            if (old->second != now->second) {
                put(coloured("33", "~ " + shown(old->first) + ": " + displayed(old->second) + " -> " +
                                       displayed(now->second)) +
                    '\n');
                different = true;
            }
            ++old, ++now;
        }
    }
    return different ? not_found : success;
}

}  // namespace kvio
