// Lists, and the attributes that hold integers.
#include "tests/object_recorder.h"

namespace {

class Lists : public Objects {};
class Accessors : public Objects {};

char one[] = "1", nine[] = "9";

const std::string entities = "<t name=\"a\" refcount=\"3\"><v>1</v></t><t name=\"b\"><v>2</v></t>";
const std::string list_ab = "<list name=\"l\" type=\"t\"><entity>a</entity><entity>b</entity></list>";
const std::string list_empty = "<list name=\"l\" type=\"t\"/>";

TEST_F(Lists, NamesComeWithTheirReferenceCounts) {
    std::string name63(63, 'n'), name64 = name63 + "o";
    const std::string stored =
        "<t name=\"a\" refcount=\"3\"/><t name=\"b\"/><t name=\"c\" refcount=\"\"/><t name=\"d\" refcount=\"-4 x\"/>"
        "<t name=\"e\" refcount=\"0000000000000012345\"/><t name=\"" + name64 + "\" refcount=\"99999999999\"/>"
        "<list name=\"l\" type=\"t\"><entity>a</entity><container>m</container><entity>e</entity></list>"
        "<list name=\"m\" type=\"t\"><entity>b</entity><entity>c</entity><entity>a</entity><entity>d</entity><entity>" +
        name64 + "</entity></list>";
    load(stored);
    list_desc_t l = list();
    EXPECT_EQ(run([&] { return list_list(&l, nullptr); }),
              (Seen{0, "",
                    "begin print_name(1,a,3) print_name(2,b,-1) print_name(3,c,-1) print_name(4,d,-4) print_name(5," +
                        name63 + ",2147483647) print_name(6,e,1) end ",
                    stored}));
}

TEST_F(Lists, EntriesArePrintedInFull) {
    load(entities + list_ab + "<t name=\"stray\"><v>9</v></t>");
    list_desc_t l = list();
    const std::string before = scope();
    EXPECT_EQ(run([&] { return list_list2(&l); }),
              (Seen{0, "",
                    "begin alloc_entry get_entry(a) print_entry(1,1) get_entry(b) print_entry(2,2) free_entry end ",
                    before}));
    EXPECT_EQ(run([&] { return list_list(&l, "stray"); }),
              (Seen{0, "", "begin alloc_entry get_entry(stray) print_entry(1,9) free_entry end ", before}));
    l.begin = l.end = nullptr;
    EXPECT_EQ(run([&] { return list_list(&l, "b"); }),
              (Seen{0, "", "alloc_entry get_entry(b) print_entry(1,2) free_entry ", before}));
}

TEST_F(Lists, AnEmptyListPrintsNothing) {
    load(list_empty);
    list_desc_t l = list();
    EXPECT_EQ(run([&] { return list_list(&l, nullptr); }), (Seen{0, "", "begin end ", list_empty}));
    EXPECT_EQ(run([&] { return list_list2(&l); }), (Seen{0, "", "begin alloc_entry free_entry end ", list_empty}));
}

TEST_F(Lists, AppendStopsAtTheCapacity) {
    struct Row {
        int capacity;
        Seen seen;
    };
    const std::string full = list_op("List: list is full!");
    const std::string appended =
        "<t name=\"a\" refcount=\"3\"><v>1</v></t><t name=\"b\"><v>2</v></t><list name=\"l\" type=\"t\">"
        "<entity>a</entity><entity>b</entity><entity>R&amp;D \"x\"</entity></list>"
        "<t name=\"R&amp;D &quot;x&quot;\"><v>9</v></t>";
    for (const Row &row : {Row{3, {0, "", "set_entry(R&D \"x\"=9) ", appended}},
                           Row{2, {-1, full, "", entities + list_ab}}, Row{1, {-1, full, "", entities + list_ab}},
                           Row{0, {-1, full, "", entities + list_ab}}, Row{-1, {-1, full, "", entities + list_ab}}}) {
        SCOPED_TRACE(row.capacity);
        load(entities + list_ab);
        list_desc_t l = list();
        l.max_entries = row.capacity;
        EXPECT_EQ(run([&] { return append_list(&l, nine, "R&D \"x\""); }), row.seen);
    }
}

TEST_F(Lists, AppendRefusesWhatIsThere) {
    load(entities + list_ab);
    list_desc_t l = list();
    EXPECT_EQ(run([&] { return append_list(&l, nine, "a"); }),
              (Seen{-1, list_op("Can't define entry: a!"), "", entities + list_ab}));
    EXPECT_EQ(run([&] { return append_list(&l, nine, ""); }),
              (Seen{-1, list_op("Can't define entry: !"), "", entities + list_ab}));
    EXPECT_EQ(run([&] { return append_list(&l, nine, nullptr); }),
              (Seen{-1, list_op("Can't define entry: (null)!"), "", entities + list_ab}));
}

TEST_F(Lists, ChangeAndGetTakeAnyEntityOfTheType) {
    load(entities + list_empty);
    list_desc_t l = list();
    const std::string after = "<t name=\"a\" refcount=\"3\"><v>9</v></t><t name=\"b\"><v>2</v></t>" + list_empty;
    EXPECT_EQ(run([&] { return change_list(&l, nine, "a"); }), (Seen{0, "", "set_entry(a=9) ", after}));
    EXPECT_EQ(run([&] { return change_list(&l, nine, "z"); }),
              (Seen{-1, list_op("Can't retrieve entry: z!"), "", after}));
    EXPECT_EQ(run([&] { return get_list(&l, "z", nullptr); }),
              (Seen{-1, list_op("can't retrieve entry: z!"), "", after}));
    EXPECT_EQ(run([&] { return change_list(&l, nine, nullptr); }),
              (Seen{-1, list_op("Can't retrieve entry: (null)!"), "", after}));
    EXPECT_EQ(run([&] { return get_list(&l, nullptr, nullptr); }),
              (Seen{-1, list_op("can't retrieve entry: (null)!"), "", after}));
    EXPECT_EQ(run([&] { return delete_list(&l, nullptr); }),
              (Seen{-1, list_op("Can't undefine (null)"), "", after}));
    static std::string got;
    l.get_entry = [](kvio_node_t *entity, void *entry) {
        char text[8];
        kvio_get2(entity, "v", text, sizeof text);
        got = text;
        return entry == &got ? 0 : 1;
    };
    EXPECT_EQ(run([&] { return get_list(&l, "a", &got); }), (Seen{0, "", "", after}));
    EXPECT_EQ(got, "9");
    EXPECT_EQ(run([&] { return get_list(&l, "a", nullptr); }), (Seen{-1, list_op("can't get entry: a!"), "", after}));
}

TEST_F(Lists, DeleteTakesTheEntityFirst) {
    load(entities + list_ab);
    list_desc_t l = list();
    const std::string half = "<t name=\"a\" refcount=\"3\"><v>1</v></t><list name=\"l\" type=\"t\"><entity>a</entity>"
                             "</list>";
    EXPECT_EQ(run([&] { return delete_list(&l, "b"); }), (Seen{0, "", "", half}));
    EXPECT_EQ(run([&] { return delete_list(&l, "b"); }), (Seen{-1, list_op("Can't undefine b"), "", half}));

    const std::string stale = "<list name=\"l\" type=\"t\"><entity>b</entity></list>";
    load(stale);
    l = list();
    EXPECT_EQ(run([&] { return delete_list(&l, "b"); }), (Seen{-1, list_op("Can't undefine b"), "", stale}));

    load(entities + list_empty);
    l = list();
    EXPECT_EQ(run([&] { return delete_list(&l, "b"); }),
              (Seen{-1, list_op("Can't remove b"), "", "<t name=\"a\" refcount=\"3\"><v>1</v></t>" + list_empty}));
}

TEST_F(Lists, DeleteNeedsEveryBasicField) {
    load(entities + list_ab);
    const list_desc_t whole = list();
    list_desc_t rows[] = {whole, whole, whole, whole, whole};
    rows[0].label = rows[1].scope = rows[2].type = rows[3].name = nullptr;
    rows[4].config = nullptr;
    for (const list_desc_t &row : rows)
        EXPECT_EQ(run([&] { return delete_list(&row, "a"); }), (Seen{0, "", "", entities + list_ab})) << &row - rows;
    EXPECT_EQ(run([&] { return delete_list(nullptr, "a"); }), (Seen{0, "", "", entities + list_ab}));
}

TEST_F(Lists, AListOfAnotherNameOrTypeIsAnIntegrityError) {
    load(entities + list_ab);
    list_desc_t other_name = list("x"), other_type = list(), no_config = list();
    other_type.type = "u";
    no_config.config = nullptr;
    const Seen error = {-1, list_op("System integrity error!"), "", entities + list_ab};
    for (const list_desc_t &l : {other_name, other_type, no_config})
        EXPECT_EQ(run([&] { return list_list(&l, nullptr); }), error);
    EXPECT_EQ(run([&] { return list_list2(nullptr); }), error);
}

TEST_F(Lists, ACallbackThatIsNeededAndAbsentFailsSilently) {
    load(entities + list_ab);
    const std::string before = entities + list_ab;
    list_desc_t without[] = {list(), list(), list(), list()};
    without[0].alloc_entry = nullptr;
    without[1].get_entry = nullptr;
    without[2].print_entry = nullptr;
    without[3].free_entry = nullptr;
    for (const list_desc_t &l : without) {
        EXPECT_EQ(run([&] { return list_list(&l, "a"); }), (Seen{-1, "", "begin end ", before}));
        EXPECT_EQ(run([&] { return list_list2(&l); }), (Seen{-1, "", "begin end ", before}));
    }
    list_desc_t l = list();
    l.print_name = nullptr;
    l.set_entry = nullptr;
    l.get_entry = nullptr;
    EXPECT_EQ(run([&] { return list_list(&l, nullptr); }), (Seen{-1, "", "begin end ", before}));
    EXPECT_EQ(run([&] { return append_list(&l, one, "c"); }), (Seen{-1, "", "", before}));
    EXPECT_EQ(run([&] { return change_list(&l, one, "a"); }), (Seen{-1, "", "", before}));
    EXPECT_EQ(run([&] { return get_list(&l, "a", one); }), (Seen{-1, "", "", before}));
    l.max_entries = 2;
    EXPECT_EQ(run([&] { return append_list(&l, one, "c"); }), (Seen{-1, list_op("List: list is full!"), "", before}));
}

// ---------------------------------------------------------------------------------------------------------- accessors

TEST_F(Accessors, IntegersAreReadAsFarAsTheyGo) {
    struct Row {
        const char *text;
        int value;
    };
    const std::string zeros(62, '0');
    const std::string beyond = zeros + "123";  // the 64th byte is cut off
    for (const Row &row : {Row{"12abc", 12}, Row{"abc", 0}, Row{"", 0}, Row{"  -7", -7}, Row{"+8", 8}, Row{"0x10", 0},
                           Row{"2147483647", 2147483647}, Row{"2147483648", 2147483647},
                           Row{"-2147483649", -2147483647 - 1}, Row{"99999999999999999999", 2147483647},
                           Row{beyond.c_str(), 1}}) {
        SCOPED_TRACE(row.text);
        std::string attribute = std::string(" n=\"") + row.text + "\"/>";
        load("<t name=\"a\"" + attribute + "<group name=\"g\" type=\"t\"" + attribute);
        kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "a");
        kvio_iterator_t *group = kvio_open_group(config, "s", "t", "g");
        int of_entity = 55, of_group = 55;
        EXPECT_EQ(call([&] { return get_entity_int(entity, "n", &of_entity); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return get_iterator_int(group, "n", &of_group); }), (Outcome{1, 0}));
        EXPECT_EQ(of_entity, row.value);
        EXPECT_EQ(of_group, row.value);
        EXPECT_EQ(get_entity_int(entity, "absent", &of_entity), 1);
        EXPECT_EQ(of_entity, 0);
        kvio_close_group(group);
    }
}

TEST_F(Accessors, WriteAndRefuse) {
    load("<t name=\"a\"/><group name=\"g\" type=\"t\"/>");
    kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "a");
    kvio_iterator_t *group = kvio_open_group(config, "s", "t", "g");
    char text[16];
    EXPECT_EQ(call([&] { return set_entity_int(entity, "n", -2147483647 - 1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return set_iterator_int(group, "n", -1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return set_entity_char(entity, "c", "<&"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return get_entity_char(entity, "c", text); }), (Outcome{1, 0}));
    EXPECT_STREQ(text, "<&");
    EXPECT_EQ(call([&] { return get_entity_char(entity, "d", text); }), (Outcome{1, 0}));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(scope(), "<t name=\"a\" n=\"-2147483648\" c=\"&lt;&amp;\"/><group name=\"g\" type=\"t\" n=\"-1\"/>");
    kvio_close_group(group);

    int value = 55;
    EXPECT_EQ(call([&] { return get_iterator_int(nullptr, "n", &value); }),
              (Outcome{0, 13, "kvio_getattr_container2() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return get_entity_int(nullptr, "n", &value); }),
              (Outcome{0, 15, "kvio_getattr_entity2() error: NULL entity\n"}));
    EXPECT_EQ(value, 55);
    EXPECT_EQ(call([&] { return set_iterator_int(nullptr, "n", 1); }),
              (Outcome{0, 13, "kvio_setattr_container() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return set_entity_int(nullptr, "n", 1); }),
              (Outcome{0, 15, "kvio_setattr_entity() error: NULL entity\n"}));
}

}  // namespace
