# An entry is made once and counted in each group; its properties are made per membership.
> <group name="g" type="t"/><group name="h" type="t"/>
$ join_entry g a 9 7
0 set_entry(a=9) set_property(g_a=7)
    - 1 <group name="g" type="t"/>
    + 1 <group name="g" type="t"><entity>a</entity></group>
    + 3 <t name="a" reference="1"><v>9</v></t>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
    + 5 <p name="g_a"><v>7</v></p>
$ join_entry h a NULL NULL
0
    - 2 <group name="h" type="t"/>
    - 3 <t name="a" reference="1"><v>9</v></t>
    + 2 <group name="h" type="t"><entity>a</entity></group>
    + 3 <t name="a" reference="2"><v>9</v></t>
$ join_entry h a NULL NULL
1
    log Group: cannot join entry a
$ join_entry h a NULL 7
1
    log Group: cannot join entry a
> <group name="g" type="t"/><group name="h" type="t"/>
$ join_entry g a 9 7
0 set_entry(a=9) set_property(g_a=7)
    - 1 <group name="g" type="t"/>
    + 1 <group name="g" type="t"><entity>a</entity></group>
    + 3 <t name="a" reference="1"><v>9</v></t>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
    + 5 <p name="g_a"><v>7</v></p>
$ join_entry h a NULL 8
0 set_property(h_a=8)
    - 2 <group name="h" type="t"/>
    - 3 <t name="a" reference="1"><v>9</v></t>
    - 4 <group name="a_property" type="p"><entity>g_a</entity></group>
    + 2 <group name="h" type="t"><entity>a</entity></group>
    + 3 <t name="a" reference="2"><v>9</v></t>
    + 4 <group name="a_property" type="p"><entity>g_a</entity><entity>h_a</entity></group>
    + 6 <p name="h_a"><v>8</v></p>
$ join_entry missing a 9 7
1

# A join is refused where a group has the name already: a new entity goes again, also one that nobody counts.
> <group name="g" type="t"><container>a</container></group>
$ join_entry g a 9 7
1 set_entry(a=9)
> <group name="g" type="t"><entity>a</entity></group><t name="a" reference="0"/>
$ join_entry g a 9 7
1 set_entry(a=9)
    - 2 <t name="a" reference="0"/>
> <group name="g" type="t"><entity>a</entity></group><t name="a" reference="-1"/>
$ join_entry g a 9 7
1 set_entry(a=9)
    log Group: cannot join entry a
    - 2 <t name="a" reference="-1"/>
    + 2 <t name="a" reference="-1"><v>9</v></t>
# A count at the largest int is not raised, and nothing is done.
> <group name="g" type="t"/><t name="a" reference="2147483647"/>
$ join_entry g a 9 7
-18004
# The steps of the properties leave the entry joined, not counted, and what they made.
> <group name="g" type="t"/><t name="a" reference="1"/><group name="a_property" type="p"><entity>g_a</entity></group>
$ join_entry g a 9 7
1 set_entry(a=9)
    - 1 <group name="g" type="t"/>
    - 2 <t name="a" reference="1"/>
    + 1 <group name="g" type="t"><entity>a</entity></group>
    + 2 <t name="a" reference="1"><v>9</v></t>
> <group name="g" type="t"/><p name="g_a"/>
$ join_entry g a 9 7
1 set_entry(a=9)
    log Group: cannot specify properties for entry a
    - 1 <group name="g" type="t"/>
    + 1 <group name="g" type="t"><entity>a</entity></group>
    + 3 <t name="a" reference="0"><v>9</v></t>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
> <group name="g" type="t"/><p name="g_a"/><p name="g_a"/>
$ join_entry g a 9 7
1 set_entry(a=9)
    log Group: cannot specify properties for entry a
    - 1 <group name="g" type="t"/>
    + 1 <group name="g" type="t"><entity>a</entity></group>
    + 4 <t name="a" reference="0"><v>9</v></t>
    + 5 <group name="a_property" type="p"><entity>g_a</entity></group>
# Names of 63 bytes make a property of 127.
> <group name="{n*63}" type="t"/>
$ join_entry {n*63} {m*63} 9 7
0 set_entry({m*63}=9) set_property({n*63}_{m*63}=7)
    - 1 <group name="{n*63}" type="t"/>
    + 1 <group name="{n*63}" type="t"><entity>{m*63}</entity></group>
    + 2 <t name="{m*63}" reference="1"><v>9</v></t>
    + 3 <group name="{m*63}_property" type="p"><entity>{n*63}_{m*63}</entity></group>
    + 4 <p name="{n*63}_{m*63}"><v>7</v></p>
$ remove_entry {n*63} {m*63}
0 alloc_entry get_entry({m*63}) entry_removed({m*63},9) free_entry alloc_property get_property({n*63}_{m*63}) property_removed(7) free_property
    - 1 <group name="{n*63}" type="t"><entity>{m*63}</entity></group>
    - 2 <t name="{m*63}" reference="1"><v>9</v></t>
    - 3 <group name="{m*63}_property" type="p"><entity>{n*63}_{m*63}</entity></group>
    - 4 <p name="{n*63}_{m*63}"><v>7</v></p>
    + 1 <group name="{n*63}" type="t"/>

> <group name="g" type="t"/><group name="h" type="t"/>
$ join_group g h
0
    - 1 <group name="g" type="t"/>
    - 2 <group name="h" type="t"/>
    + 1 <group name="g" type="t"><container>h</container></group>
    + 2 <group name="h" type="t" reference="1"/>
$ join_group g h
1
$ join_group g missing
1
$ join_group missing h
1

# A loop is refused and undone: a holds b, b holds c; x holds b as well.
> <group name="a" type="t"><container>b</container></group>
> <group name="b" type="t"><container>c</container><entity>e</entity></group>
> <group name="c" type="t"/><group name="x" type="t"><container>b</container></group>
$ join_group b a
1
    log Group: cannot join group Group, loop detected
$ join_group c a
1
    log Group: cannot join group Group, loop detected
$ join_group a a
1
    log Group: cannot join group Group, loop detected
$ join_group a c
1
    log Group: cannot join group Group, loop detected
$ join_group a x
1
    log Group: cannot join group Group, loop detected

# A check that fails, at a member that does not exist, counts as no loop.
> <group name="g" type="t"><container>gone</container></group><group name="h" type="t"/>
$ join_group g h
0
    - 1 <group name="g" type="t"><container>gone</container></group>
    - 2 <group name="h" type="t"/>
    + 1 <group name="g" type="t"><container>gone</container><container>h</container></group>
    + 2 <group name="h" type="t" reference="1"/>
> <group name="g" type="t"/><group name="h" type="t" reference="2147483647"/>
$ join_group g h
-18004

# A change sees what was there, makes no properties and needs no member.
> <t name="a" reference="1"><v>1</v></t><group name="g" type="t"><entity>a</entity></group><p name="g_a"><v>2</v></p>
> <group name="a_property" type="p"><entity>g_a</entity></group>
$ change_entry g a NULL NULL
0
$ change_entry g a 9 7
0 alloc_entry get_entry(a) set_entry(a:1=9) free_entry alloc_property get_property(g_a) set_property(g_a:2=7) free_property
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 3 <p name="g_a"><v>2</v></p>
    + 3 <p name="g_a"><v>7</v></p>
> <t name="a" reference="1"><v>1</v></t><group name="g" type="t"/>
$ change_entry g b NULL NULL
1
$ change_entry g a 9 7
1 alloc_entry get_entry(a) set_entry(a:1=9) free_entry
    log Group: cannot specify properties for entry a
    err % kvio_open_group Group: cannot specify properties for entry a
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
with g -callbacks
$ change_entry g a NULL NULL
0
$ join_entry g a NULL NULL
0
    - 1 <t name="a" reference="1"><v>9</v></t>
    - 2 <group name="g" type="t"/>
    + 1 <t name="a" reference="2"><v>9</v></t>
    + 2 <group name="g" type="t"><entity>a</entity></group>
