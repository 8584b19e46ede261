let properties = group_op: Group: cannot specify properties for entry
let broken = list_op: System integrity error!
# What a failing call of the store, or a failing callback, leads to.
> <t name="a" refcount="3"><v>1</v></t><t name="b"><v>2</v></t>
> <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
every list_list l NULL = 0 begin print_name(1,a,3) print_name(2,b,-1) end | -1 - (0): <broken> by open_list | 0 (4) by
    begin end | -1 (2): list_op: List: cannot retrieve entries from list! by retrieve_all | -1 (2): list_op: can't get
    name for entry 0! by name2 | -1 (2): list_op: can't get reference count: a! by getattr_entity2 | -1 (3): list_op:
    can't print entry name: a! by print_name | -1 (3): list_op: can't get name for entry 1! by name2#2 | -1 (3):
    list_op: can't get reference count: b! by getattr_entity2#2 | -1 (4): list_op: can't print entry name: b! by
    print_name#2
every list_list l b = 0 begin get_entry(b,) print_entry(1,2) end | -1 - (0): <broken> by open_list | 0 (4) by begin end
    | -1 (2): list_op: can't alloc entry: b! by alloc_entry | -1 (2): list_op: can't retrieve entry: b! by
    retrieve_entity | -1 (3): list_op: can't get entry: b! by get_entry | -1 (4): list_op: can't print entry: b! by
    print_entry
every list_list2 l = 0 begin get_entry(a,) print_entry(1,1) get_entry(b,1) print_entry(2,2) end | -1 - (0): <broken> by
    open_list | 0 (6) by begin end | -1 (2): list_op: List: cannot retrieve entries from list! by retrieve_all | -1 (2):
    list_op: can't alloc entry: List! by alloc_entry | -1 (3): list_op: can't get entry: List! by get_entry | -1 (4):
    list_op: can't print entry: List! by print_entry | -1 (5): list_op: can't get entry: List! by get_entry#2 | -1 (6):
    list_op: can't print entry: List! by print_entry#2
every append_list l 9 c = 0 set_entry(c,9); +c ~l | -1 - (0): <broken> by open_list | -1 (0) by size | -1 (0): list_op:
    Can't define entry: c! by define | -1 (0): list_op: Can't append entry: c! by append | -1 (0): list_op: Can't
    retrieve entry: c! by retrieve_entity | -1 (1): list_op: Can't set entry: c! by set_entry
every change_list l 9 a = 0 set_entry(a,9); ~a | -1 - (0): <broken> by open_list | -1 (0): list_op: Can't retrieve
    entry: a! by retrieve_entity | -1 (1): list_op: Can't set entry: a! by set_entry
every delete_list l a = 0; -a ~l | -1 - (0): <broken> by open_list | -1 (0): list_op: Can't undefine a by undefine | -1
    (0); -a: list_op: Can't remove a by remove
every get_list l a x = 0 get_entry(a,x) | -1 - (0): <broken> by open_list | -1 (0): list_op: can't retrieve entry: a! by
    retrieve_entity | -1 (1): list_op: can't get entry: a! by get_entry

# Entry a is in g; b in g and in h, which is nested in g, which is in all. Group k is in none.
> <t name="a" reference="1"><v>1</v></t><t name="b" reference="2"><v>2</v></t>
> <p name="g_a"><v>7</v></p><p name="h_b"><v>9</v></p><p name="g_b"><v>8</v></p>
> <group name="a_property" type="p"><entity>g_a</entity></group>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
> <group name="h" type="t" reference="1"><entity>b</entity></group>
> <group name="all" type="t"><container>g</container></group><group name="k" type="t" reference="3"/>
> <group name="i" type="t"><container>h</container><entity>b</entity></group><group name="o" type="t"><container>i</container></group>
every list_group g = 0 begin get_entry(a,) print_entry(a,1) get_property(g_a,) print_property(7) print_group(h)
    get_entry(b,) print_entry(b,2) get_property(g_b,) print_property(8) end | 1 - (0) by open_group | 1 (1): group_op:
    Group: cannot get size of group by size | 0 (11) by begin end | 1 (5) by regain_index2 | 1 (2) by retrieve_entity
    alloc_entry | 1 (3) by get_entry | 1 (4) by print_entry alloc_property retrieve_entity#2 | 1 (8) by get_property
    regain_index2#2 get_entry#2 | 1 (9) by print_property print_group print_entry#2 alloc_property#2 retrieve_entity#4 |
    1 (7) by regain_index2#3 retrieve_entity#3 alloc_entry#2 | 1 (10) by get_property#2 | 1 (11) by print_property#2
every create_group all n = 0; ~all +n | 1 - (0) by open_group | 1 (0) by create_group | -18004 (0); +n by
    setattr_container | 1 (0); +n by join
every use_group h = 0; ~h | 1 - (0) by open_group | -18004 (0) by getattr_container2 setattr_container
every unuse_group h = 0; ~h | 1 - (0) by open_group | -18004 (0) by getattr_container2 setattr_container
every remove_entry g b = 0 get_entry(b,) entry_removed(b,2) get_property(g_b,) property_removed(8); -g_b ~b ~b_property
    ~g | 1 - (0) by open_group | 1 (0): group_op: Group: cannot find entry b by retrieve_entity | 1 (0) by alloc_entry |
    1 (3); done by get_entry get_property | 1 (4); done by entry_removed property_removed | 1 (2): group_op: Group:
    cannot remove entry b by remove | -18004 (2); ~g by getattr_entity2 setattr_entity | 1 (2); ~b ~g by
    retrieve_entity#2 alloc_property | 1 (4); ~b ~g by undefine | 1 (4); -g_b ~b ~g by open_group#2 | 1 (4); -g_b ~b ~g:
    group_op: Group: cannot remove entry b by remove#2 | 0 (4); done by size
every remove_entry g a = 0 get_entry(a,) entry_removed(a,1) get_property(g_a,) property_removed(7); -a -a_property -g_a
    ~g | 1 - (0) by open_group | 1 (0): group_op: Group: cannot find entry a by retrieve_entity | 1 (0) by alloc_entry |
    1 (3); done by get_entry get_property | 1 (4); done by entry_removed property_removed | 1 (2): group_op: Group:
    cannot remove entry a by remove | -18004 (2); ~g by getattr_entity2 | 1 (2); ~g by undefine | 1 (2); -a ~g by
    retrieve_entity#2 alloc_property | 1 (4); -a ~g by undefine#2 | 1 (4); -a -g_a ~g by open_group#2 | 1 (4); -a -g_a
    ~g: group_op: Group: cannot remove entry a by remove#2 | 0 (4); -a -g_a ~a_property ~g by size | 1 (4); -a -g_a
    ~a_property ~g by dispose_group
every remove_group g h = 0; ~g ~h | 1 - (0) by open_group | 1 (0) by open_group#2 | -18004 (0) by getattr_container2
    setattr_container | 1 (0); ~h by remove
every dispose_group o i-property_type = 0 get_entry(b,) entry_removed(b,2); -i ~b ~h ~o | 1 - (0) by open_group | 1 (0)
    by open_group#2 remove | -18004 (0) by getattr_container2 | 1 (0); ~o: group_op: Group: cannot get size of group by
    size | 1 (0); -i ~h ~o by regain_index2 regain_index2#2 | 0 (0); -i ~h ~o by open_group#3 open_group#4
    getattr_container2#2 setattr_container remove#2 open_group#5 alloc_entry | 0 (0); -i ~h ~o: group_op: Group: cannot
    find entry b by retrieve_entity | 0 (1); done by get_entry | 0 (2); done by entry_removed | 0 (2); -i ~h ~o:
    group_op: Group: cannot remove entry b by remove#3 | 0 (2); -i ~h ~o by getattr_entity2 setattr_entity | 1 (2); ~b
    ~h ~i ~o by dispose_group
every join_entry g c 9 6 = 0 set_entry(c,c,9,null) set_property(g_c,6,null); +c +c_property ~g +g_c | 1 - (0) by
    open_group | 0 (2); done by retrieve_entity open_group#2 retrieve_entity#2 | 1 22 (0): group_op: Group: cannot join
    entry by define2 | -18004 (0) by setattr_entity | 1 (1) by set_entry join | 1 22 (1); +c ~g: <properties> c by
    create_group | 1 (1); +c +c_property ~g by join#2 | 1 22 (1); +c +c_property ~g: <properties> c by define2#2 | 1
    (2); done: <properties> c by set_property | -18004 (2); done by setattr_entity#2
every join_entry h a 9 6 = 0 set_entry(a,a,9,null) set_property(h_a,6,null); ~a ~a_property ~h +h_a | 1 - (0) by
    open_group | 1 10 (0): group_op: Group: cannot join entry by retrieve_entity | -18004 (0) by getattr_entity2 | 1 (1)
    by set_entry | 1 (1); ~a: group_op: Group: cannot join entry a by join | 1 10 (1); ~a ~h: <properties> a by
    open_group#2 | 1 (1); ~a ~h by join#2 | 0 (2); done by retrieve_entity#2 | 1 22 (1); ~a ~a_property ~h: <properties>
    a by define2 | 1 (2); done: <properties> a by set_property | -18004 (2); done by setattr_entity
every join_group all k = 0; ~all ~k | 1 - (0) by open_group | 1 (0) by open_group#2 join | 0 (0); done by check_loop |
    -18004 (0); ~all by getattr_container2 setattr_container
every change_entry g a 9 6 = 0 get_entry(a,) set_entry(a,a,9,1) get_property(g_a,) set_property(g_a,6,7); ~a ~g_a | 1 -
    (0) by open_group | 1 (0) by retrieve_entity alloc_entry | 1 (1) by get_entry | 1 (2) by set_entry | 1 (2); ~a: %
    kvio_open_group Group: cannot specify properties for entry a / <properties> a by open_group#2 | 1 (2); ~a: %
    kvio_retrieve_entity Group: cannot specify properties for entry a / <properties> a by retrieve_entity#2 | 1 (2); ~a:
    % 3 Group: cannot specify properties for entry a / <properties> a by alloc_property | 1 (3); ~a: % 4 Group: cannot
    specify properties for entry a / <properties> a by get_property | 1 (4); ~a: % 5 Group: cannot specify properties
    for entry a / <properties> a by set_property
every export_group g = handle export_begin(2) get_entry(a,) export_entry(0,handle,a,1) get_property(g_a,)
    export_property(0,0,handle,7) get_entry(b,) export_entry(1,handle,b,2) get_property(h_b,)@h
    export_property(1,0,handle,9)@h get_property(g_b,) export_property(1,1,handle,8) at g | null - (0) by open_group |
    null (0) by retrieve_all | null (1) by export_begin | null (2) by alloc_entry | null (3) by get_entry name2 | null
    (4) by export_entry name2#2 open_group#2 retrieve_all#2 name2#3 alloc_property | null (5) by get_property | null (6)
    by export_property alloc_entry#2 | null (7) by get_entry#2 name2#4 | null (8) by export_entry#2 name2#5 open_group#3
    retrieve_all#3 name2#6 alloc_property#2 | handle (9) by open_group#4 regain_index2 regain_index2#2 | handle (9):
    group_op: Group: cannot get size of group by size | handle (11) by open_group#5 regain_index2#3 regain_index2#4 |
    handle (11): group_op: Group: cannot get size of group by size#2 | null (9) by get_property#2 | null (10) by
    export_property#2 name2#7 alloc_property#3 | null (11) by get_property#3 | null (12) by export_property#3
