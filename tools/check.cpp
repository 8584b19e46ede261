// `check`: what the store's own operations never make, but editing by hand and unfinished programs do.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "document.h"

namespace kvio {
namespace {

struct Problem {
    std::string text;
    std::string fault;           // the text without positions and counts; empty: not caused by a change
    std::string remedy = "";     // what a repair does; empty: nothing is safe
    Element target = Element();  // of the repair
    std::string count = "";      // the count that it sets; empty: it removes the target
};

// Whether digits alone follow a position, one at least.
bool has_number(const std::string &text, std::size_t at) {
    return text.size() > at && text.find_first_not_of("0123456789", at) == std::string::npos;
}

std::string short_label(Element element) { return element.tag() + (' ' + element.name()); }

// Everything below an element in one text: equal for elements that differ at most in the order of attributes.
std::string contents_of(Element element) {
    std::multiset<std::string> sorted;
    for (const auto &[name, value] : element.attributes()) sorted.insert(joined({"", name, value}, "\1"));
    std::string text = std::string("<") + element.tag();
    for (const std::string &attribute : sorted) text += attribute;
    if (element.is_empty()) return text + '>' + element.text();
    for (Element child : element) text += contents_of(child);
    return text + "</>";
}

class ScopeCheck {
public:
    ScopeCheck(Element scope, std::vector<Problem> &problems)
        : element_(scope), scope_(scope.scope()), problems_(problems) {
        for (Element child : scope)
            if (child.role() != Role::scope) elements_[child.identity()].push_back(child);
    }

    void run() {
        for (auto &[identity, same] : elements_) {
            check_unique(same, identity.label());
            if (identity.kind.empty()) continue;
            for (Element container : same) check_container(container);
        }
        look_for_loops();
        for (const auto &[identity, same] : elements_)
            if (identity.kind.empty() || identity.kind == "group") check_count(same, identity);
    }

private:
    Problem &found(const std::string &text, const std::string &fault) {
        problems_.push_back({scope_ + ": " + text, fault.empty() ? "" : scope_ + ": " + fault});
        return problems_.back();
    }

    Problem &found(const std::string &text) { return found(text, text); }

    // Reports duplicates, and forgets those that are equal to the first: a repair removes them.
    void check_unique(std::vector<Element> &same, const std::string &what) {
        if (same.size() == 1) return;
        const std::string fault = what + " occurs several times", first = contents_of(same[0]);
        std::vector<Element> kept = {same[0]};
        for (std::size_t i = 1; i < same.size(); ++i) {
            if (contents_of(same[i]) != first) {
                kept.push_back(same[i]);
                continue;
            }
            Problem &problem = found(what + " has an identical duplicate", fault);
            problem.remedy = "remove it";
            problem.target = same[i];
        }
        if (kept.size() > 1) found(what + " occurs " + std::to_string(kept.size()) + " times", fault);
        same = kept;
    }

    void check_container(Element container) {
        if (container.type().empty()) found(short_label(container) + " has no type");
        if (container.name().empty()) found(container.identity().full_type() + " has no name");
        std::map<std::string, std::string> seen;  // names of a group's members, and what they are of
        int position = 0;
        for (Element member : container) check_member(container, member, ++position, seen);
    }

    void check_member(Element container, Element member, int position, std::map<std::string, std::string> &seen) {
        const std::string name = member.text();
        bool group = container.is("group"), known = member.is("entity") || member.is("container");
        std::string fault = member_fault(container, member, name);
        bool removable = known;
        if (fault.empty() && group) {
            auto [first, is_new] = seen.emplace(name, member.tag());
            if (!is_new) fault = "is there already: " + name;
            if (!member.is(first->second)) removable = false;  // an entity and a group: it is not clear which is meant
        }
        if (group && known && (fault.empty() || !removable)) ++references_[named_by(container, member)];
        if (fault.empty()) return;
        const std::string what = short_label(container);
        Problem &problem =
            found(what + ": member " + std::to_string(position) + ' ' + fault, what + ": a member " + fault);
        if (!removable) return;
        problem.remedy = "remove the member";
        problem.target = member;
    }

    std::string member_fault(Element container, Element member, const std::string &name) const {
        const std::string type = container.type(), tag = member.tag();
        if (tag != "entity" && tag != "container") return "is neither entity nor container: " + tag;
        if (name.empty()) return "has no name";
        if (type.empty() || elements_.count(named_by(container, member))) return "";
        bool is_default = name[0] == '#' && has_number(name, 1);  // of a member that was added without a name
        if (tag == "entity" && (!holds_entities(type) || is_default)) return "";
        return "names no " + (tag == "entity" ? type : container.tag()) + ": " + name;
    }

    enum class State { unseen, on_path, left };

    // In the order of the document: the text of a loop does not change when a container in it is renamed or added.
    void look_for_loops() {
        for (Element child : element_)
            if (child.role() == Role::container && states_[child.identity()] == State::unseen)
                walk(elements_[child.identity()][0]);
    }

    using Path = std::vector<std::pair<Element, Element>>;  // containers, each with its member that is looked at next

    // Walks from a container through those that it names. One on the path that is met again is a loop; one that was left
    // is not walked again.
    void walk(Element start) {
        Path path = {{start, start.begin()}};
        while (!path.empty()) {
            const auto [container, member] = path.back();
            states_[container.identity()] = member ? State::on_path : State::left;
            if (!member) {
                path.pop_back();
                continue;
            }
            ++path.back().second;
            auto named = member.is("container") ? elements_.find(named_by(container, member)) : elements_.end();
            if (named == elements_.end()) continue;
            const Element next = named->second[0];
            const State state = states_[named->first];
            if (state == State::unseen) path.emplace_back(next, next.begin());
            if (state == State::on_path) report_loop(path, next);
        }
    }

    void report_loop(const Path &path, Element container) {
        std::string text = short_label(container) + " contains itself: ";
        std::size_t first = path.size() - 1;
        while (path[first].first != container) --first;
        for (; first < path.size(); ++first) text += path[first].first.name() + " > ";
        found(text + container.name());
    }

    // Programs read 0 where the attribute is missing. One group may name an element that no program counts; with a
    // second one the count is too low. Nor do programs count the parent in which they create a group.
    // A count that is too low lets a program delete what is in use, so a repair raises it.
    void check_count(const std::vector<Element> &same, const Identity &identity) {
        const Element element = same[0];
        std::optional<std::string> text = element.attribute("reference");
        const bool is_group = !identity.kind.empty();
        const int named = references_[identity];
        if (same.size() != 1 || (!text && named < 2)) return;
        if (is_group && (identity.type.empty() || identity.name.empty())) return;
        bool number = !text || has_number(*text, (*text)[0] == '-' ? 1 : 0);
        long counted = text ? std::strtol(text->c_str(), nullptr, 10) : 0;
        if (text && number && (counted == named || (is_group && counted == named - 1))) return;
        const std::string label = short_label(element);
        bool too_high = number && counted > named;
        Problem &problem = found(label + ": reference is " + text.value_or("missing") + (number ? "" : ", no number") +
                                     ", groups that name it: " + std::to_string(named),
                                 too_high ? "" : label + ": reference is too low, or no number");
        if (too_high) return;
        problem.count = std::to_string(named);
        problem.remedy = "set it to " + problem.count;
        problem.target = element;
    }

    Element element_;
    std::string scope_;
    std::vector<Problem> &problems_;
    std::map<Identity, std::vector<Element>> elements_;  // entities and containers
    std::map<Identity, int> references_;
    std::map<Identity, State> states_;
};

std::vector<Problem> problems_of(const Document &document) {
    std::vector<Problem> problems;
    auto found = [&](const std::string &text) { problems.push_back({text, text}); };
    Element root = document.any_root();
    if (!root.is("kavex")) found(std::string("the root element is ") + root.tag() + ", not kavex");
    std::map<std::string, int> scopes;
    std::set<std::string> others;  // paths of entity types and kinds
    each_below(root, [&](Element one) {
        if (one.role() == Role::scope)
            ++scopes[one.scope()];
        else
            others.insert(one.scope() + '/' + one.tag());
    });
    for (const auto &[path, many] : scopes) {
        if (many > 1) found(path + ": the scope occurs " + std::to_string(many) + " times");
        if (others.count(path)) found(path + ": the scope has the name of a type beside it");
    }
    each_scope(root, [&](Element scope) {
        const std::string path = scope.scope();
        std::size_t first = problems.size();
        ScopeCheck(scope, problems).run();
        // Of two scopes with one path, either may hold what the other lacks: no repair is safe.
        if (scopes[path] > 1 || others.count(path))
            for (; first < problems.size(); ++first) problems[first].remedy = "";
    });
    return problems;
}

void repair_all(const std::vector<Problem> &problems) {
    for (const Problem &problem : problems) {
        if (problem.remedy.empty()) continue;
        if (problem.count.empty())
            problem.target.remove();
        else
            problem.target.set_attribute("reference", problem.count);
    }
}

std::size_t repairable(const std::vector<Problem> &problems) {
    auto has_remedy = [](const Problem &problem) { return !problem.remedy.empty(); };
    return static_cast<std::size_t>(std::count_if(problems.begin(), problems.end(), has_remedy));
}

// Each problem and, with --repair, what a repair does about it, or has done.
void print(const Call &call, const std::vector<Problem> &problems, const char *remedy) {
    Rows rows(call, true);
    for (const Problem &problem : problems) {
        Pairs row = {{"problem", problem.text}};
        bool repaired = call.has('R') && !problem.remedy.empty();
        if (repaired && rows.as_json()) row.emplace_back(remedy, problem.remedy);
        if (repaired && !rows.as_json()) row[0].second += std::string(" (") + remedy + ": " + problem.remedy + ')';
        rows.add(row);
    }
    rows.finish();
}

}  // namespace

std::multiset<std::string> faults_of(const Document &document) {
    std::multiset<std::string> faults;
    for (const Problem &problem : problems_of(document))
        if (!problem.fault.empty()) faults.insert(problem.fault);
    return faults;
}

int check(Call &call) {
    if (call.has('y') && !call.has('R')) throw Failure{misused, "--yes goes with --repair"};
    const Document seen = Document::look(call.name());
    std::vector<Problem> problems = problems_of(seen);
    bool repair = call.has('R') && call.has('y');
    if (!repair) print(call, problems, "repair");
    if (call.has('R') && !repair && repairable(problems) > 0) {
        repair = !messages::quiet && isatty(0) &&
                 confirmed("Repair what can be repaired (" + std::to_string(repairable(problems)) + ")?");
        if (!repair) messages::say("nothing is repaired; --yes repairs it without a question");
    }
    if (!repair) return problems.empty() ? success : inconsistent;
    Document document = Document::change(call);  // it may have changed since it was looked at
    problems = problems_of(document);
    const std::size_t repaired = repairable(problems), left = problems.size() - repaired;
    repair_all(problems);
    if (repaired > 0) document.save();
    if (call.has('y')) print(call, problems, "repaired");
    messages::say(std::to_string(repaired) + " repaired, " + std::to_string(left) + " left");
    return left > 0 ? inconsistent : success;
}

}  // namespace kvio
