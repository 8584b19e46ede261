// `check`: what the store's own operations never make, but editing by hand and half-done programs do.
#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

struct Problem {
    std::string text;
    std::string remedy;                      // what a repair does; empty: nothing that is safe
    std::function<void(Document &)> repair;
};

// Containers are known within a scope by kind, type and name.
using Identity = std::vector<std::string>;

Identity identity(Element container) { return {container.tag(), container.type(), container.name()}; }

std::string label(Element element) { return element.tag() + ' ' + element.name(); }

class ScopeCheck {
public:
    ScopeCheck(Element scope, bool unique, std::vector<Problem> &problems)
        : scope_(scope.scope()), unique_(unique), problems_(problems) {
        for (Element child : scope.children()) {
            if (child.role() == Role::entity) entities_[{child.tag(), child.name()}].push_back(child);
            if (child.role() == Role::container) containers_[identity(child)].push_back(child);
        }
    }

    void run() {
        for (const auto &[key, same] : entities_)
            if (same.size() > 1) found(label(same[0]) + " occurs " + std::to_string(same.size()) + " times");
        for (const auto &[key, same] : containers_) {
            if (same.size() > 1)
                found(label(same[0]) + " of " + key[1] + " occurs " + std::to_string(same.size()) + " times");
            for (Element container : same) check_container(container, same.size() == 1);
        }
        for (const auto &[key, same] : containers_) look_for_loops(key);
        check_counts();
    }

private:
    void found(const std::string &text, const std::string &remedy = "",
               std::function<void(Document &)> repair = nullptr) {
        bool repairable = unique_ && repair;
        problems_.push_back({scope_ + ": " + text, repairable ? remedy : "", repairable ? std::move(repair) : nullptr});
    }

    void check_container(Element container, bool unique) {
        bool typed = container.attribute("type").has_value(), named = container.attribute("name").has_value();
        if (!typed) found(label(container) + " has no type");
        if (!named) found(container.tag() + " of " + container.type() + " has no name");
        bool addressable = unique && typed && named;
        std::set<std::string> names;
        int position = 0;
        for (Element member : container.children()) {
            ++position;
            std::string what = label(container) + ": member " + std::to_string(position), name = member.text();
            std::string fault = member_fault(container, member, typed);
            if (fault.empty() && container.tag() == "group" && !names.insert(name).second)
                fault = "is there already: " + name;
            if (fault.empty()) continue;
            bool known = member.tag() == "entity" || member.tag() == "container";
            if (known) count_member(container, member, -1);
            what += ' ' + fault;
            if (!addressable || !known) found(what);
            else found(what, "remove the member", remove_member(identity(container), position));
        }
        for (Element member : container.children()) count_member(container, member, 1);
    }

    std::string member_fault(Element container, Element member, bool typed) {
        std::string name = member.text();
        if (member.tag() != "entity" && member.tag() != "container")
            return "is neither entity nor container: " + member.tag();
        if (name.empty()) return "has no name";
        if (!typed) return "";
        if (member.tag() == "container")
            return containers_.count({container.tag(), container.type(), name})
                       ? ""
                       : "names no " + container.tag() + ": " + name;
        if (!holds_entities(container.type()) || entities_.count({container.type(), name})) return "";
        return "names no " + container.type() + ": " + name;
    }

    // How often groups name an entity or a group; duplicates, which are faults, were taken off before.
    void count_member(Element container, Element member, int step) {
        if (container.tag() != "group") return;
        if (member.tag() == "entity") references_[{container.type(), member.text()}] += step;
        if (member.tag() == "container") references_[{"group", container.type(), member.text()}] += step;
    }

    std::function<void(Document &)> remove_member(const Identity &key, int position) const {
        return [scope = scope_, key, position](Document &document) {
            Container container(document, scope, key[0], key[1], key[2]);
            if (!kvio_delete(container.get(), position)) store_failure(container.label());
        };
    }

    // 1. A container that is being walked is on the path; meeting it again is a loop.
    // 2. One that was walked to its end is never walked again.
    void look_for_loops(const Identity &key) {
        if (walked_.count(key)) return;
        auto on_path = std::find(path_.begin(), path_.end(), key);
        if (on_path != path_.end()) {
            std::string text;
            for (auto one = on_path; one != path_.end(); ++one) text += (*one)[2] + " > ";
            return found(key[0] + " " + key[2] + " contains itself: " + text + key[2]);
        }
        auto same = containers_.find(key);
        if (same == containers_.end()) return;
        path_.push_back(key);
        for (Element member : same->second[0].children())
            if (member.tag() == "container") look_for_loops({key[0], key[1], member.text()});
        path_.pop_back();
        walked_.insert(key);
    }

    // A count that is too low lets somebody delete what is in use, so it is raised. One that is too high may count
    // references that stand elsewhere.
    void check_counts() {
        for (const auto &[key, same] : entities_)
            check_count(same, key, [this, key = key](Document &document, const char *count) {
                kvio_node_t *entity = document.entity(scope_, key[0], key[1]);
                if (!kvio_setattr_entity(entity, "reference", count)) store_failure(key[0] + ' ' + key[1]);
            });
        for (const auto &[key, same] : containers_) {
            if (key[0] != "group") continue;
            check_count(same, key, [this, key = key](Document &document, const char *count) {
                Container container(document, scope_, key[0], key[1], key[2]);
                if (!kvio_setattr_container(container.get(), "reference", count)) store_failure(container.label());
            });
        }
    }

    template <class Write>
    void check_count(const std::vector<Element> &same, const Identity &key, Write write) {
        std::optional<std::string> text = same[0].attribute("reference");
        if (same.size() != 1 || !text) return;
        int named = references_[key];
        long counted = std::strtol(text->c_str(), nullptr, 10);
        if (counted == named) return;
        std::string what =
            label(same[0]) + ": reference is " + *text + ", groups that name it: " + std::to_string(named);
        if (counted > named) return found(what);
        std::string right = std::to_string(named);
        found(what, "set it to " + right, [write, right](Document &document) { write(document, right.c_str()); });
    }

    std::string scope_;
    bool unique_;
    std::vector<Problem> &problems_;
    std::map<Identity, std::vector<Element>> entities_, containers_;
    std::map<Identity, int> references_;
    std::vector<Identity> path_;
    std::set<Identity> walked_;
};

std::vector<Problem> problems_of(const Tree &tree, std::vector<ScopeCheck> &checks) {
    std::vector<Problem> problems;
    if (tree.root().tag() != "kavex")
        problems.push_back({"the root element is " + tree.root().tag() + ", not kavex", "", nullptr});
    std::map<std::string, int> scopes;
    tree.each_scope([&](Element scope) { ++scopes[scope.scope()]; });
    for (const auto &[path, many] : scopes)
        if (many > 1) problems.push_back({path + ": the scope occurs " + std::to_string(many) + " times", "", nullptr});
    tree.each_scope([&](Element scope) { checks.emplace_back(scope, scopes[scope.scope()] == 1, problems); });
    for (ScopeCheck &check : checks) check.run();
    return problems;
}

}  // namespace

int check(Call &call) {
    bool plan = call.has('R'), repair = plan && call.has('y');
    if (call.has('y') && !plan) throw Failure{misused, "--yes goes with --repair"};
    Document document = repair ? Document::change(call[0]) : Document::look(call[0]);
    std::vector<ScopeCheck> checks;  // the repairs refer to them
    std::vector<Problem> problems = problems_of(document.tree(), checks);
    // From the last one on, since each removal moves the positions behind it.
    for (auto problem = problems.rbegin(); repair && problem != problems.rend(); ++problem)
        if (problem->repair) problem->repair(document);
    bool remains = false, changed = false;
    std::string report;
    for (const Problem &problem : problems) {
        std::string remedy =
            problem.remedy.empty() ? "" : (repair ? " (repaired: " : " (repair: ") + problem.remedy + ')';
        report += one_line(problem.text) + (plan ? remedy : "") + '\n';
        (repair && problem.repair ? changed : remains) = true;
    }
    if (changed) document.save();
    put(report);
    return remains ? inconsistent : success;
}

}  // namespace kvio
