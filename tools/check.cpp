// `check`: what the store's own operations never make, but editing by hand and half-done programs do.
#include "check.h"

#include <algorithm>
#include <functional>
#include <map>

#include "output.h"

namespace kvio {
namespace {

struct Problem {
    std::string text;
    std::string fault;   // the text without what other changes move; empty: none of a change's making
    std::string remedy;  // what a repair does; empty: nothing that is safe
    std::function<void(Document &)> repair;
};

// Containers are known within a scope by kind, type and name.
using Identity = std::vector<std::string>;

Identity identity(Element container) { return {container.tag(), container.type(), container.name()}; }

bool is_number(const std::string &text) {
    std::size_t digits = !text.empty() && text[0] == '-' ? 1 : 0;
    return text.size() > digits && text.find_first_not_of("0123456789", digits) == std::string::npos;
}

// That of an entity member that was added without one.
bool is_default_name(const std::string &name) {
    return name.size() > 1 && name[0] == '#' && name.find_first_not_of("0123456789", 1) == std::string::npos;
}

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
        for (const auto &[key, same] : entities_) check_unique(label(same[0]), same.size());
        for (const auto &[key, same] : containers_) {
            check_unique(label(same[0]) + " of " + key[1], same.size());
            for (Element container : same) check_container(container, same.size() == 1);
        }
        for (const auto &[key, same] : containers_) look_for_loops(key);
        check_counts();
    }

private:
    void found(const std::string &text, const std::string &fault, const std::string &remedy = "",
               std::function<void(Document &)> repair = nullptr) {
        bool repairable = unique_ && repair;
        problems_.push_back({scope_ + ": " + text, fault.empty() ? "" : scope_ + ": " + fault, repairable ? remedy : "",
                             repairable ? std::move(repair) : nullptr});
    }
    void found(const std::string &text) { found(text, text); }

    void check_unique(const std::string &what, std::size_t many) {
        if (many > 1) found(what + " occurs " + std::to_string(many) + " times", what + " occurs several times");
    }

    void check_container(Element container, bool unique) {
        bool typed = !container.type().empty(), named = !container.name().empty();
        if (!typed) found(label(container) + " has no type");
        if (!named) found(container.tag() + " of " + container.type() + " has no name");
        bool addressable = unique && typed && named;
        std::map<std::string, std::string> names;  // and what they are of
        int position = 0;
        for (Element member : container.children()) {
            ++position;
            std::string what = label(container) + ": member " + std::to_string(position), name = member.text();
            std::string fault = member_fault(container, member, typed);
            bool known = member.tag() == "entity" || member.tag() == "container", removable = known;
            if (fault.empty() && container.tag() == "group") {
                auto [first, is_new] = names.emplace(name, member.tag());
                if (!is_new) fault = "is there already: " + name;
                if (first->second != member.tag()) removable = false;  // an entity and a group: which one is meant?
            }
            if (fault.empty()) continue;
            if (removable) count_member(container, member, -1);
            std::string whole = label(container) + ": a member " + fault;
            what += ' ' + fault;
            if (!addressable || !removable)
                found(what, whole);
            else
                found(what, whole, "remove the member", remove_member(identity(container), position));
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
        if (!holds_entities(container.type()) || is_default_name(name)) return "";
        return entities_.count({container.type(), name}) ? "" : "names no " + container.type() + ": " + name;
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

    // Without the attribute programs read 0. What one group names may well be counted by nobody; with a second one that
    // is too low. Nor do programs count the parent in which they create a group.
    template <class Write>
    void check_count(const std::vector<Element> &same, const Identity &key, Write write) {
        std::optional<std::string> text = same[0].attribute("reference");
        int named = references_[key];
        bool is_group = key.size() > 2, addressable = !is_group || (!key[1].empty() && !key[2].empty());
        if (same.size() != 1 || !addressable || (!text && named < 2)) return;
        std::string right = std::to_string(named), what = label(same[0]) + ": reference is " + text.value_or("missing");
        bool number = !text || is_number(*text);
        long counted = text ? std::strtol(text->c_str(), nullptr, 10) : 0;
        if (text && number && (counted == named || (is_group && counted == named - 1))) return;
        what += (number ? "" : ", no number") + (", groups that name it: " + right);
        if (number && counted > named) return found(what, "");
        std::string fault = label(same[0]) + ": reference is too low, or no number";
        found(what, fault, "set it to " + right,
              [write, right](Document &document) { write(document, right.c_str()); });
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
    auto found = [&](const std::string &text) { problems.push_back({text, text, "", nullptr}); };
    if (tree.root().tag() != "kavex") found("the root element is " + tree.root().tag() + ", not kavex");
    std::map<std::string, int> scopes;
    std::set<std::string> others;  // paths of what stands in scopes
    tree.each_scope([&](Element scope) {
        ++scopes[scope.scope()];
        for (Element child : scope.children())
            if (child.role() != Role::scope) others.insert(scope.scope() + '/' + child.tag());
    });
    for (const auto &[path, many] : scopes) {
        if (many > 1) found(path + ": the scope occurs " + std::to_string(many) + " times");
        if (others.count(path)) found(path + ": the scope has the name of a type beside it");
    }
    tree.each_scope([&](Element scope) {
        bool unique = scopes[scope.scope()] == 1 && !others.count(scope.scope());
        checks.emplace_back(scope, unique, problems);
    });
    for (ScopeCheck &check : checks) check.run();
    return problems;
}

}  // namespace

std::multiset<std::string> faults_of(const Tree &tree) {
    std::vector<ScopeCheck> checks;
    std::multiset<std::string> faults;
    for (const Problem &problem : problems_of(tree, checks))
        if (!problem.fault.empty()) faults.insert(problem.fault);
    return faults;
}

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
