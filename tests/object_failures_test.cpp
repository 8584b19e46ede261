// Every operation with each of its callbacks, and each of its calls of the store, failing in turn.
#include <algorithm>
#include <iterator>
#include <vector>

#include "tests/object_recorder.h"

namespace {

char nine[] = "9", six[] = "6";

const std::string list_start =
    "<t name=\"a\" refcount=\"3\"><v>1</v></t><t name=\"b\"><v>2</v></t>"
    "<list name=\"l\" type=\"t\"><entity>a</entity><entity>b</entity></list>";

// Entry a is in g; b in g and in h, which is nested in g, which is in the parent.
// Entry a is in g; b in g and in h, which is nested in g, which is in the parent. Group k is in none.
const std::string A = "<t name=\"a\" reference=\"1\"><v>1</v></t>";
const std::string A9 = "<t name=\"a\" reference=\"1\"><v>9</v></t>";
const std::string B = "<t name=\"b\" reference=\"2\"><v>2</v></t>";
const std::string B1 = "<t name=\"b\" reference=\"1\"><v>2</v></t>";
const std::string GA = "<p name=\"g_a\"><v>7</v></p>", GB = "<p name=\"g_b\"><v>8</v></p>";
const std::string PA = "<group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>";
const std::string PA_empty = "<group name=\"a_property\" type=\"p\"/>";
const std::string G = "<group name=\"g\" type=\"t\" reference=\"0\"><entity>a</entity><container>h</container>"
                      "<entity>b</entity></group>";
const std::string H = "<group name=\"h\" type=\"t\" reference=\"1\">";
const std::string H0 = "<group name=\"h\" type=\"t\" reference=\"0\">";
const std::string all = "<group name=\"all\" type=\"t\"><container>g</container></group>";
const std::string all_empty = "<group name=\"all\" type=\"t\"/>";
const std::string K = "<group name=\"k\" type=\"t\" reference=\"3\"/>";
const std::string K4 = "<group name=\"k\" type=\"t\" reference=\"4\"/>";
const std::string group_start =
    A + B + GA + "<p name=\"h_b\"><v>9</v></p>" + GB + PA +
    "<group name=\"b_property\" type=\"p\"><entity>h_b</entity><entity>g_b</entity></group>" + G + H +
    "<entity>b</entity></group>" + all + K;

// Changes of the text of a scope: each takes one text's place, an empty one stands for the end.
using Edits = std::vector<std::pair<std::string, std::string>>;
Edits operator+(Edits a, const Edits &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
std::string edited(std::string text, const Edits &edits) {
    for (const auto &[from, to] : edits) {
        size_t at = from.empty() ? text.size() : text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        if (at != std::string::npos) text.replace(at, from.size(), to);
    }
    return text;
}

struct Records {
    list_desc_t list;
    group_desc_t g, h, all, k, other;
};

struct Operation {
    const char *name;
    const std::string &start;
    long (*run)(Records *);
};

const Operation operations[] = {
    {"list_list names", list_start, [](Records *r) -> long { return list_list(&r->list, nullptr); }},
    {"list_list", list_start, [](Records *r) -> long { return list_list(&r->list, "b"); }},
    {"list_list2", list_start, [](Records *r) -> long { return list_list2(&r->list); }},
    {"append_list", list_start, [](Records *r) -> long { return append_list(&r->list, nine, "c"); }},
    {"change_list", list_start, [](Records *r) -> long { return change_list(&r->list, nine, "a"); }},
    {"delete_list", list_start, [](Records *r) -> long { return delete_list(&r->list, "a"); }},
    {"get_list", list_start, [](Records *r) -> long { return get_list(&r->list, "a", Objects::own_entry()); }},
    {"list_group", group_start, [](Records *r) -> long { return list_group(&r->g); }},
    {"create_group", group_start, [](Records *r) -> long { return create_group(&r->all, &r->other); }},
    {"use_group", group_start, [](Records *r) -> long { return use_group(&r->h); }},
    {"unuse_group", group_start, [](Records *r) -> long { return unuse_group(&r->h); }},
    {"remove_entry", group_start, [](Records *r) -> long { return remove_entry(&r->g, "b"); }},
    {"remove_entry last", group_start, [](Records *r) -> long { return remove_entry(&r->g, "a"); }},
    {"remove_group", group_start, [](Records *r) -> long { return remove_group(&r->g, "h"); }},
    {"dispose_group", group_start, [](Records *r) -> long { return dispose_group(&r->all, &r->g); }},
    {"join_entry new", group_start, [](Records *r) -> long { return join_entry(&r->g, "c", nine, six); }},
    {"join_entry", group_start, [](Records *r) -> long { return join_entry(&r->h, "a", nine, six); }},
    {"join_group", group_start, [](Records *r) -> long { return join_group(&r->all, &r->k); }},
    {"change_entry", group_start, [](Records *r) -> long { return change_entry(&r->g, "a", nine, six); }},
    {"export_group", group_start, [](Records *r) -> long { return export_group(&r->g) ? 1 : 0; }},
};

// What becomes of an operation when the nth use of a function fails: its result, its message, and its callbacks, which
// are those of a successful run up to one of them and then a tail. `upto` null: up to the one that fails, or all if the
// function is not a callback.
struct Row {
    const char *operation, *function;
    int nth;
    long result;
    const char *message, *upto, *tail;
    Edits edits = {};
    const char *step = nullptr;  // of the line on the standard error stream
};

// remove_entry() of b (which stays in h) and of a (which goes), step by step.
const Edits b_left = {{"<entity>b</entity></group><group name=\"h\"", "</group><group name=\"h\""}};
const Edits b_less = b_left + Edits{{B, B1}};
const Edits b_undefined = b_less + Edits{{GB, ""}};
const Edits b_done = b_undefined + Edits{{"<entity>g_b</entity>", ""}};
const Edits a_left = {{"<entity>a</entity><container>h", "<container>h"}};
const Edits a_gone = a_left + Edits{{A, ""}};
const Edits a_undefined = a_gone + Edits{{GA, ""}};
const Edits a_emptied = a_undefined + Edits{{PA, PA_empty}};
const Edits a_done = a_undefined + Edits{{PA, ""}};

// dispose_group() without its members; what became of these.
const Edits disposed = {{G, ""}, {H, H0}, {all, all_empty}};
const Edits of_a = {{A, ""}, {GA, ""}, {PA, ""}};
const Edits of_b = {{B, B1}, {GB, ""}, {"<entity>g_b</entity>", ""}};

// join_entry() of c, which is new, into g, and of a into h, step by step.
const std::string c0 = "<t name=\"c\" reference=\"0\"><v>9</v></t>";
const std::string c_empty = "<group name=\"c_property\" type=\"p\"/>";
const std::string c_member = "<group name=\"c_property\" type=\"p\"><entity>g_c</entity></group>";
const std::string c_data = "<p name=\"g_c\"><v>6</v></p>";
const Edits c_joined = {{"<entity>b</entity></group><group name=\"h\"",
                         "<entity>b</entity><entity>c</entity></group><group name=\"h\""}, {"", c0}};
const Edits c_done = c_joined + Edits{{"", c_member + c_data}, {"\"c\" reference=\"0\"", "\"c\" reference=\"1\""}};
const Edits a_set = {{A, A9}};
const Edits a_joined = a_set + Edits{{H + "<entity>b</entity>", H + "<entity>b</entity><entity>a</entity>"}};
const Edits a_member = a_joined + Edits{{"<entity>g_a</entity>", "<entity>g_a</entity><entity>h_a</entity>"}};
const Edits a_data = a_member + Edits{{"", "<p name=\"h_a\"><v>6</v></p>"}};
const Edits a_counted = a_data + Edits{{A9, "<t name=\"a\" reference=\"2\"><v>9</v></t>"}};

const Edits k_joined = {{"<container>g</container>", "<container>g</container><container>k</container>"}};
const Edits a_and_property_set = a_set + Edits{{GA, "<p name=\"g_a\"><v>6</v></p>"}};

const char *const integrity = "System integrity error!";
const char *const no_members = "List: cannot retrieve entries from list!";
const char *const not_found_a = "Group: cannot find entry a", *const not_found_b = "Group: cannot find entry b";
const char *const not_removed_a = "Group: cannot remove entry a", *const not_removed_b = "Group: cannot remove entry b";
const char *const not_specified_a = "Group: cannot specify properties for entry a";
const char *const not_specified_c = "Group: cannot specify properties for entry c";

const char *const b_printed = "alloc_entry get_entry(b) print_entry(b,2) free_entry end ";
const char *const discard = "export_discard(handle) ";
const char *const free_discard = "free_entry export_discard(handle) ";
const char *const free_discard2 = "free_property export_discard(handle) ";
const char *const exported_without_h_b =
    "free_entry alloc_property get_property(g_b) export_property(1,1,handle,8) free_property ";
#define A_ENTRY "alloc_entry get_entry(a) entry_removed(a,1) free_entry "
#define A_PROPERTY "alloc_property get_property(g_a) property_removed(7) free_property "
#define B_ENTRY "alloc_entry get_entry(b) entry_removed(b,2) free_entry "
#define B_PROPERTY "alloc_property get_property(g_b) property_removed(8) free_property "

const Row rows[] = {
    {"list_list names", "print_name", 1, -1, "can't print entry name: a!", nullptr, "end "},
    {"list_list names", "print_name", 2, -1, "can't print entry name: b!", nullptr, "end "},
    {"list_list names", "kvio_open_list", 1, -1, integrity, "", ""},
    {"list_list names", "kvio_retrieve_all", 1, -1, no_members, "begin", "end "},
    {"list_list names", "kvio_name2", 1, -1, "can't get name for entry 0!", "begin", "end "},
    {"list_list names", "kvio_name2", 2, -1, "can't get name for entry 1!", "print_name(1,a,3)", "end "},
    {"list_list names", "kvio_getattr_entity2", 1, -1, "can't get reference count: a!", "begin", "end "},
    {"list_list names", "kvio_getattr_entity2", 2, -1, "can't get reference count: b!", "print_name(1,a,3)", "end "},

    {"list_list", "alloc_entry", 1, -1, "can't alloc entry: b!", nullptr, "end "},
    {"list_list", "get_entry", 1, -1, "can't get entry: b!", nullptr, "free_entry end "},
    {"list_list", "print_entry", 1, -1, "can't print entry: b!", nullptr, "free_entry end "},
    {"list_list", "kvio_open_list", 1, -1, integrity, "", ""},
    {"list_list", "kvio_retrieve_entity", 1, -1, "can't retrieve entry: b!", "alloc_entry", "free_entry end "},

    {"list_list2", "alloc_entry", 1, -1, "can't alloc entry: List!", nullptr, "end "},
    {"list_list2", "get_entry", 1, -1, "can't get entry: List!", nullptr, "free_entry end "},
    {"list_list2", "get_entry", 2, -1, "can't get entry: List!", nullptr, "free_entry end "},
    {"list_list2", "print_entry", 1, -1, "can't print entry: List!", nullptr, "free_entry end "},
    {"list_list2", "print_entry", 2, -1, "can't print entry: List!", nullptr, "free_entry end "},
    {"list_list2", "kvio_open_list", 1, -1, integrity, "", ""},
    {"list_list2", "kvio_retrieve_all", 1, -1, no_members, "begin", "end "},

    {"append_list", "set_entry", 1, -1, "Can't set entry: c!", nullptr, ""},
    {"append_list", "kvio_open_list", 1, -1, integrity, "", ""},
    {"append_list", "kvio_size", 1, -1, nullptr, "", ""},
    {"append_list", "kvio_define", 1, -1, "Can't define entry: c!", "", ""},
    {"append_list", "kvio_append", 1, -1, "Can't append entry: c!", "", ""},
    {"append_list", "kvio_retrieve_entity", 1, -1, "Can't retrieve entry: c!", "", ""},

    {"change_list", "set_entry", 1, -1, "Can't set entry: a!", nullptr, ""},
    {"change_list", "kvio_open_list", 1, -1, integrity, "", ""},
    {"change_list", "kvio_retrieve_entity", 1, -1, "Can't retrieve entry: a!", "", ""},

    {"delete_list", "kvio_open_list", 1, -1, integrity, "", ""},
    {"delete_list", "kvio_undefine", 1, -1, "Can't undefine a", "", ""},
    {"delete_list", "kvio_remove", 1, -1, "Can't remove a", "", "",
     {{"<t name=\"a\" refcount=\"3\"><v>1</v></t>", ""}}},

    {"get_list", "get_entry", 1, -1, "can't get entry: a!", nullptr, ""},
    {"get_list", "kvio_open_list", 1, -1, integrity, "", ""},
    {"get_list", "kvio_retrieve_entity", 1, -1, "can't retrieve entry: a!", "", ""},

    {"list_group", "alloc_entry", 1, 1, nullptr, nullptr, "end "},
    {"list_group", "alloc_entry", 2, 1, nullptr, nullptr, "end "},
    {"list_group", "get_entry", 1, 1, nullptr, nullptr, "free_entry end "},
    {"list_group", "get_entry", 2, 1, nullptr, nullptr, "free_entry end "},
    {"list_group", "print_entry", 1, 1, nullptr, nullptr, "free_entry end "},
    {"list_group", "print_entry", 2, 1, nullptr, nullptr, "free_entry end "},
    {"list_group", "alloc_property", 1, 1, nullptr, nullptr, "end "},
    {"list_group", "alloc_property", 2, 1, nullptr, nullptr, "end "},
    {"list_group", "get_property", 1, 1, nullptr, "get_property(g_a)",
     "free_property print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry end "},
    {"list_group", "get_property", 2, 1, nullptr, nullptr, "free_property end "},
    {"list_group", "print_property", 1, 1, nullptr, nullptr,
     "free_property print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry end "},
    {"list_group", "print_property", 2, 1, nullptr, nullptr, "free_property end "},
    {"list_group", "print_group", 1, 1, nullptr, nullptr, b_printed},
    {"list_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"list_group", "kvio_size", 1, 1, "Group: cannot get size of group", "", "end "},
    {"list_group", "kvio_regain_index2", 1, 1, nullptr, "begin",
     "print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry end "},
    {"list_group", "kvio_regain_index2", 2, 1, nullptr, "print_property(7)",
     "free_property alloc_entry get_entry(b) print_entry(b,2) free_entry end "},
    {"list_group", "kvio_regain_index2", 3, 1, nullptr, "print_group(h)", "end "},
    {"list_group", "kvio_retrieve_entity", 1, 1, nullptr, "begin", "end "},
    {"list_group", "kvio_retrieve_entity", 2, 1, nullptr, "print_entry(a,1)",
     "free_entry alloc_property free_property end "},
    {"list_group", "kvio_retrieve_entity", 3, 1, nullptr, "print_group(h)", "end "},
    {"list_group", "kvio_retrieve_entity", 4, 1, nullptr, "print_entry(b,2)",
     "free_entry alloc_property free_property end "},

    {"create_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"create_group", "kvio_create_group", 1, 1, nullptr, "", ""},
    {"create_group", "kvio_setattr_container", 1, -18004, nullptr, "", "", {{"", "<group name=\"n\" type=\"t\"/>"}}},
    {"create_group", "kvio_join", 1, 1, nullptr, "", "", {{"", "<group name=\"n\" type=\"t\" reference=\"0\"/>"}}},
    {"use_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"use_group", "kvio_getattr_container2", 1, -18004, nullptr, "", ""},
    {"use_group", "kvio_setattr_container", 1, -18004, nullptr, "", ""},
    {"unuse_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"unuse_group", "kvio_getattr_container2", 1, -18004, nullptr, "", ""},
    {"unuse_group", "kvio_setattr_container", 1, -18004, nullptr, "", ""},

    {"remove_entry", "alloc_entry", 1, 1, nullptr, nullptr, ""},
    {"remove_entry", "get_entry", 1, 1, nullptr, nullptr, "free_entry " B_PROPERTY, b_done},
    {"remove_entry", "entry_removed", 1, 1, nullptr, nullptr, "free_entry " B_PROPERTY, b_done},
    {"remove_entry", "alloc_property", 1, 1, nullptr, nullptr, "", b_less},
    {"remove_entry", "get_property", 1, 1, nullptr, nullptr, "free_property ", b_done},
    {"remove_entry", "property_removed", 1, 1, nullptr, nullptr, "free_property ", b_done},
    {"remove_entry", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"remove_entry", "kvio_open_group", 2, 1, nullptr, nullptr, "", b_undefined},
    {"remove_entry", "kvio_retrieve_entity", 1, 1, not_found_b, "", ""},
    {"remove_entry", "kvio_retrieve_entity", 2, 1, nullptr, "entry_removed(b,2)", "free_entry ", b_less},
    {"remove_entry", "kvio_remove", 1, 1, not_removed_b, "entry_removed(b,2)", "free_entry "},
    {"remove_entry", "kvio_remove", 2, 1, not_removed_b, nullptr, "", b_undefined},
    {"remove_entry", "kvio_getattr_entity2", 1, -18004, nullptr, "entry_removed(b,2)", "free_entry ", b_left},
    {"remove_entry", "kvio_setattr_entity", 1, -18004, nullptr, "entry_removed(b,2)", "free_entry ", b_left},
    {"remove_entry", "kvio_undefine", 1, 1, nullptr, nullptr, "", b_less},
    {"remove_entry", "kvio_size", 1, 0, nullptr, nullptr, "", b_done},

    {"remove_entry last", "alloc_entry", 1, 1, nullptr, nullptr, ""},
    {"remove_entry last", "get_entry", 1, 1, nullptr, nullptr, "free_entry " A_PROPERTY, a_done},
    {"remove_entry last", "entry_removed", 1, 1, nullptr, nullptr, "free_entry " A_PROPERTY, a_done},
    {"remove_entry last", "alloc_property", 1, 1, nullptr, nullptr, "", a_gone},
    {"remove_entry last", "get_property", 1, 1, nullptr, nullptr, "free_property ", a_done},
    {"remove_entry last", "property_removed", 1, 1, nullptr, nullptr, "free_property ", a_done},
    {"remove_entry last", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"remove_entry last", "kvio_open_group", 2, 1, nullptr, nullptr, "", a_undefined},
    {"remove_entry last", "kvio_retrieve_entity", 1, 1, not_found_a, "", ""},
    {"remove_entry last", "kvio_retrieve_entity", 2, 1, nullptr, "entry_removed(a,1)", "free_entry ", a_gone},
    {"remove_entry last", "kvio_remove", 1, 1, not_removed_a, "entry_removed(a,1)", "free_entry "},
    {"remove_entry last", "kvio_remove", 2, 1, not_removed_a, nullptr, "", a_undefined},
    {"remove_entry last", "kvio_getattr_entity2", 1, -18004, nullptr, "entry_removed(a,1)", "free_entry ", a_left},
    {"remove_entry last", "kvio_undefine", 1, 1, nullptr, "entry_removed(a,1)", "free_entry ", a_left},
    {"remove_entry last", "kvio_undefine", 2, 1, nullptr, nullptr, "", a_gone},
    {"remove_entry last", "kvio_size", 1, 0, nullptr, nullptr, "", a_emptied},
    {"remove_entry last", "kvio_dispose_group", 1, 1, nullptr, nullptr, "", a_emptied},

    {"remove_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"remove_group", "kvio_open_group", 2, 1, nullptr, "", ""},
    {"remove_group", "kvio_getattr_container2", 1, -18004, nullptr, "", ""},
    {"remove_group", "kvio_setattr_container", 1, -18004, nullptr, "", ""},
    {"remove_group", "kvio_remove", 1, 1, nullptr, "", "", {{H, H0}}},

    // A removal that fails is tried again on the same member, in place of one behind it.
    {"dispose_group", "alloc_entry", 1, 0, nullptr, nullptr, A_ENTRY A_PROPERTY, of_a + disposed},
    {"dispose_group", "alloc_entry", 2, 0, nullptr, nullptr, "", of_a + disposed},
    {"dispose_group", "get_entry", 1, 0, nullptr, nullptr, "free_entry " A_PROPERTY B_ENTRY B_PROPERTY,
     of_a + of_b + disposed},
    {"dispose_group", "get_entry", 2, 0, nullptr, nullptr, "free_entry " B_PROPERTY, of_a + of_b + disposed},
    {"dispose_group", "entry_removed", 1, 0, nullptr, nullptr, "free_entry " A_PROPERTY B_ENTRY B_PROPERTY,
     of_a + of_b + disposed},
    {"dispose_group", "entry_removed", 2, 0, nullptr, nullptr, "free_entry " B_PROPERTY, of_a + of_b + disposed},
    {"dispose_group", "alloc_property", 1, 0, nullptr, nullptr, B_ENTRY B_PROPERTY, Edits{{A, ""}} + of_b + disposed},
    {"dispose_group", "alloc_property", 2, 0, nullptr, nullptr, "", of_a + Edits{{B, B1}} + disposed},
    {"dispose_group", "get_property", 1, 0, nullptr, nullptr, "free_property " B_ENTRY B_PROPERTY,
     of_a + of_b + disposed},
    {"dispose_group", "get_property", 2, 0, nullptr, nullptr, "free_property ", of_a + of_b + disposed},
    {"dispose_group", "property_removed", 1, 0, nullptr, nullptr, "free_property " B_ENTRY B_PROPERTY,
     of_a + of_b + disposed},
    {"dispose_group", "property_removed", 2, 0, nullptr, nullptr, "free_property ", of_a + of_b + disposed},
    {"dispose_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"dispose_group", "kvio_open_group", 2, 1, nullptr, "", ""},
    {"dispose_group", "kvio_getattr_container2", 1, -18004, nullptr, "", ""},
    {"dispose_group", "kvio_remove", 1, 1, nullptr, "", ""},
    {"dispose_group", "kvio_size", 1, 1, "Group: cannot get size of group", "", "", {{all, all_empty}}},
    {"dispose_group", "kvio_regain_index2", 1, 1, nullptr, "", A_ENTRY A_PROPERTY, of_a + disposed},
    {"dispose_group", "kvio_dispose_group", 2, 1, nullptr, nullptr, "",
     of_a + of_b + Edits{{G, "<group name=\"g\" type=\"t\" reference=\"0\"/>"}, {H, H0}, {all, all_empty}}},

    {"join_entry new", "set_entry", 1, 1, nullptr, nullptr, ""},
    {"join_entry new", "set_property", 1, 1, not_specified_c, nullptr, "",
     c_joined + Edits{{"", c_member + "<p name=\"g_c\"/>"}}},
    {"join_entry new", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"join_entry new", "kvio_open_group", 2, 0, nullptr, nullptr, "", c_done},
    {"join_entry new", "kvio_retrieve_entity", 1, 0, nullptr, nullptr, "", c_done},
    {"join_entry new", "kvio_retrieve_entity", 2, 0, nullptr, nullptr, "", c_done},
    {"join_entry new", "kvio_define2", 1, 1, "Group: cannot join entry", "", ""},
    {"join_entry new", "kvio_define2", 2, 1, not_specified_c, "set_entry(c=9)", "", c_joined + Edits{{"", c_member}}},
    {"join_entry new", "kvio_setattr_entity", 1, -18004, nullptr, "", ""},
    {"join_entry new", "kvio_setattr_entity", 2, -18004, nullptr, nullptr, "",
     c_joined + Edits{{"", c_member + c_data}}},
    {"join_entry new", "kvio_join", 1, 1, nullptr, "set_entry(c=9)", ""},
    {"join_entry new", "kvio_join", 2, 1, nullptr, "set_entry(c=9)", "", c_joined + Edits{{"", c_empty}}},
    {"join_entry new", "kvio_create_group", 1, 1, not_specified_c, "set_entry(c=9)", "", c_joined},
    {"join_entry new", "kvio_close_group", 1, 1, not_specified_c, nullptr, "",
     c_joined + Edits{{"", c_member + c_data}}},

    {"join_entry", "set_entry", 1, 1, nullptr, nullptr, ""},
    {"join_entry", "set_property", 1, 1, not_specified_a, nullptr, "", a_member + Edits{{"", "<p name=\"h_a\"/>"}}},
    {"join_entry", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"join_entry", "kvio_open_group", 2, 1, not_specified_a, "set_entry(a=9)", "", a_joined},
    {"join_entry", "kvio_retrieve_entity", 1, 1, "Group: cannot join entry", "", ""},
    {"join_entry", "kvio_retrieve_entity", 2, 0, nullptr, nullptr, "", a_counted},
    {"join_entry", "kvio_getattr_entity2", 1, -18004, nullptr, "", ""},
    {"join_entry", "kvio_join", 1, 1, "Group: cannot join entry a", "set_entry(a=9)", "", a_set},
    {"join_entry", "kvio_join", 2, 1, nullptr, "set_entry(a=9)", "", a_joined},
    {"join_entry", "kvio_define2", 1, 1, not_specified_a, "set_entry(a=9)", "", a_member},
    {"join_entry", "kvio_setattr_entity", 1, -18004, nullptr, nullptr, "", a_data},
    {"join_entry", "kvio_close_group", 1, 1, not_specified_a, nullptr, "", a_data},

    {"join_group", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"join_group", "kvio_open_group", 2, 1, nullptr, "", ""},
    {"join_group", "kvio_join", 1, 1, nullptr, "", ""},
    {"join_group", "kvio_check_loop", 1, 0, nullptr, "", "", k_joined + Edits{{K, K4}}},
    {"join_group", "kvio_getattr_container2", 1, -18004, nullptr, "", "", k_joined},
    {"join_group", "kvio_setattr_container", 1, -18004, nullptr, "", "", k_joined},

    {"change_entry", "alloc_entry", 1, 1, nullptr, nullptr, ""},
    {"change_entry", "get_entry", 1, 1, nullptr, nullptr, "free_entry "},
    {"change_entry", "set_entry", 1, 1, nullptr, nullptr, "free_entry "},
    {"change_entry", "alloc_property", 1, 1, not_specified_a, nullptr, "", a_set, "3 "},
    {"change_entry", "get_property", 1, 1, not_specified_a, nullptr, "free_property ", a_set, "4 "},
    {"change_entry", "set_property", 1, 1, not_specified_a, nullptr, "free_property ", a_set, "5 "},
    {"change_entry", "kvio_open_group", 1, 1, nullptr, "", ""},
    {"change_entry", "kvio_open_group", 2, 1, not_specified_a, "set_entry(a:1=9)", "free_entry ", a_set,
     "kvio_open_group "},
    {"change_entry", "kvio_retrieve_entity", 1, 1, nullptr, "", ""},
    {"change_entry", "kvio_retrieve_entity", 2, 1, not_specified_a, "set_entry(a:1=9)", "free_entry ", a_set,
     "kvio_retrieve_entity "},
    {"change_entry", "kvio_close_group", 1, 1, not_specified_a, nullptr, "", a_and_property_set, ""},

    {"export_group", "export_begin", 1, 0, nullptr, nullptr, ""},
    {"export_group", "alloc_entry", 1, 0, nullptr, nullptr, discard},
    {"export_group", "alloc_entry", 2, 0, nullptr, nullptr, discard},
    {"export_group", "get_entry", 1, 0, nullptr, nullptr, free_discard},
    {"export_group", "get_entry", 2, 0, nullptr, nullptr, free_discard},
    {"export_group", "export_entry", 1, 0, nullptr, nullptr, free_discard},
    {"export_group", "export_entry", 2, 0, nullptr, nullptr, free_discard},
    {"export_group", "alloc_property", 1, 0, nullptr, nullptr, discard},
    {"export_group", "alloc_property", 2, 0, nullptr, nullptr, discard},
    {"export_group", "alloc_property", 3, 0, nullptr, nullptr, discard},
    {"export_group", "get_property", 1, 0, nullptr, nullptr, free_discard2},
    {"export_group", "get_property", 2, 0, nullptr, nullptr, free_discard2},
    {"export_group", "get_property", 3, 0, nullptr, nullptr, free_discard2},
    {"export_group", "export_property", 1, 0, nullptr, nullptr, free_discard2},
    {"export_group", "export_property", 2, 0, nullptr, nullptr, free_discard2},
    {"export_group", "export_property", 3, 0, nullptr, nullptr, free_discard2},
    {"export_group", "kvio_open_group", 1, 0, nullptr, "", ""},
    {"export_group", "kvio_open_group", 2, 0, nullptr, "export_entry(0,handle,a,1)", free_discard},
    {"export_group", "kvio_open_group", 3, 0, nullptr, "export_entry(1,handle,b,2)", free_discard},
    {"export_group", "kvio_retrieve_all", 1, 0, nullptr, "", ""},
    {"export_group", "kvio_retrieve_all", 2, 0, nullptr, "export_entry(0,handle,a,1)", free_discard},
    {"export_group", "kvio_retrieve_all", 3, 0, nullptr, "export_entry(1,handle,b,2)", free_discard},
    {"export_group", "kvio_name2", 1, 0, nullptr, "get_entry(a)", free_discard},
    {"export_group", "kvio_name2", 2, 0, nullptr, "export_entry(0,handle,a,1)", free_discard},
    {"export_group", "kvio_name2", 3, 0, nullptr, "export_entry(0,handle,a,1)", free_discard},
    {"export_group", "kvio_name2", 4, 0, nullptr, "get_entry(b)", free_discard},
    {"export_group", "kvio_name2", 5, 0, nullptr, "export_entry(1,handle,b,2)", free_discard},
    {"export_group", "kvio_name2", 6, 0, nullptr, "export_entry(1,handle,b,2)", free_discard},
    {"export_group", "kvio_name2", 7, 0, nullptr, "export_property(1,0,handle,9)", free_discard2},
    // The search for the group of h_b ends without a match: it is skipped.
    {"export_group", "kvio_open_group", 4, 1, nullptr, "export_entry(1,handle,b,2)", exported_without_h_b},
    {"export_group", "kvio_size", 1, 1, "Group: cannot get size of group", "export_entry(1,handle,b,2)",
     exported_without_h_b},
    {"export_group", "kvio_regain_index2", 1, 1, nullptr, "export_entry(1,handle,b,2)", exported_without_h_b},
    {"export_group", "kvio_regain_index2", 2, 1, nullptr, "export_entry(1,handle,b,2)", exported_without_h_b},
    {"export_group", "kvio_close_group", 1, 0, "cannot close property group", "export_property(0,0,handle,7)",
     free_discard2},
    {"export_group", "kvio_close_group", 3, 1, "cannot close group", nullptr, ""},
};

// The callbacks of a successful run, as far as the row says.
std::string calls_of(const Row &row, const std::string &whole) {
    size_t end = 0;
    if (row.upto) {
        end = *row.upto ? whole.find(std::string(row.upto) + " ") : 0;
        EXPECT_NE(end, std::string::npos) << row.upto;
        if (*row.upto) end = whole.find(' ', end) + 1;
    } else if (std::string(row.function).compare(0, 5, "kvio_") == 0) {
        end = whole.size();
    } else {
        // Callbacks begin a word.
        std::string name = row.function, text = " " + whole;
        size_t at = 0;
        for (int i = 0; i < row.nth; ++i) {
            do at = text.find(" " + name, at) + 1;
            while (text[at + name.size()] != '(' && text[at + name.size()] != ' ');
        }
        end = text.find(' ', at);
    }
    return whole.substr(0, end) + row.tail;
}

class Failures : public Objects, public testing::WithParamInterface<size_t> {
protected:
    void start(const Operation &operation) {
        load(operation.start);
        records = {list(), group("g"), group("h"), group("all"), group("k"), group("n")};
    }
    Seen perform(const Operation &operation) {
        return run([&] { return operation.run(&records); });
    }
    Records records;
};

TEST_P(Failures, LeaveWhatIsSaid) {
    const Operation &operation = operations[GetParam()];
    start(operation);
    const std::string whole = perform(operation).calls;
    std::map<std::string, int> left = uses();
    for (const Row &row : rows) {
        if (std::string(row.operation) != operation.name) continue;
        SCOPED_TRACE(std::string(row.operation) + ": " + row.function + " " + std::to_string(row.nth));
        start(operation);
        fail(row.function, row.nth);
        std::string log;
        if (row.message) log = operation.start == list_start ? list_op(row.message) : group_op(row.message);
        EXPECT_EQ(perform(operation),
                  (Seen{row.result, log, calls_of(row, whole), edited(operation.start, row.edits)}));
        EXPECT_GE(uses()[row.function], row.nth) << "the row never struck";
        if (row.step) {
            EXPECT_EQ(err, "% " + std::string(row.step) + row.message + "\n");
        }
        --left[row.function];
    }
    // No failure may be forgotten: of those that can be noticed at all, and of a disposal no more than it does itself.
    for (const char *silent : {"begin", "end", "free_entry", "free_property", "kvio_close_group"}) left.erase(silent);
    for (const auto &[function, count] : left)
        if (operation.name != std::string("dispose_group") || function.compare(0, 5, "kvio_") != 0) {
            EXPECT_EQ(count, 0) << function << " of " << operation.name;
        }
}

INSTANTIATE_TEST_SUITE_P(Of, Failures, testing::Range(size_t{0}, std::size(operations)), [](const auto &of) {
    std::string name = operations[of.param].name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

}  // namespace
