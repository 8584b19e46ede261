# Entry a is in g, in h which is nested in g, and in x; b in h and, through it, once; c in x.
> <t name="a"><v>a</v></t><t name="b"><v>b</v></t><t name="c"><v>c</v></t><p name="x_a"><v>x</v></p>
> <p name="h_a"><v>h</v></p><p name="g_a"><v>g</v></p><p name="h_b"><v>h</v></p><p name="x_c"><v>x</v></p>
> <group name="a_property" type="p"><entity>x_a</entity><entity>h_a</entity><entity>g_a</entity></group>
> <group name="b_property" type="p"><entity>h_b</entity></group>
> <group name="c_property" type="p"><entity>x_c</entity></group>
> <group name="g" type="t"><container>h</container><entity>a</entity></group>
> <group name="h" type="t"><entity>b</entity><entity>a</entity></group>
> <group name="x" type="t"><entity>a</entity><entity>c</entity></group>
$ export_group g
1 export_begin(2) alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry alloc_property get_property(h_b) export_property(0,0,handle,h) free_property alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry alloc_property get_property(h_a) export_property(1,1,handle,h) free_property alloc_property get_property(g_a) export_property(1,2,handle,g) free_property
$ export_group h
1 export_begin(2) alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry alloc_property get_property(h_b) export_property(0,0,handle,h) free_property alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry alloc_property get_property(h_a) export_property(1,1,handle,h) free_property
with h -properties
$ export_group h
1 export_begin(2) alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry
with h -export_entry
$ export_group h
1 export_begin(2)

# An empty group gives its handle.
> <group name="g" type="t"/><group name="h" type="t"><container>g</container><entity>gone</entity></group>
$ export_group g
1 export_begin(0)
$ export_group h
1 export_begin(0)
$ export_group missing
0

# What the store cannot retrieve is not exported: loops, a group on two paths, a group that is not there.
> <group name="g" type="t"><container>g</container></group><group name="h" type="t"><container>gone</container></group>
> <group name="w" type="t"><container>x</container><container>y</container></group>
> <group name="x" type="t"><container>z</container></group><group name="y" type="t"><container>z</container></group>
> <group name="z" type="t"/>
$ export_group g
0
$ export_group h
0
$ export_group w
0

# An entry without a group for its properties ends it, one with an empty group or properties of other groups does not.
> <t name="a"><v>a</v></t><t name="b"><v>b</v></t><t name="c"><v>c</v></t><t name="d"><v>d</v></t>
> <group name="a_property" type="p"/><p name="g_c"><v>c</v></p>
> <group name="c_property" type="p"><entity>{p*136}</entity><entity>g_c</entity></group>
> <group name="d_property" type="p"><container>d_property</container></group>
> <group name="g" type="t"><entity>a</entity><entity>c</entity></group>
> <group name="h" type="t"><entity>a</entity><entity>b</entity></group>
> <group name="i" type="t"><entity>d</entity></group>
$ export_group g
1 export_begin(2) alloc_entry get_entry(a) export_entry(0,handle,a,a) free_entry alloc_entry get_entry(c) export_entry(1,handle,c,c) free_entry alloc_property get_property(g_c) export_property(1,0,handle,c) free_property
$ export_group h
0 export_begin(2) alloc_entry get_entry(a) export_entry(0,handle,a,a) free_entry alloc_entry get_entry(b) export_entry(1,handle,b,b) free_entry export_discard(handle)
$ export_group i
0 export_begin(1) alloc_entry get_entry(d) export_entry(0,handle,d,d) free_entry export_discard(handle)

# Names at their limit, and beyond it.
> <t name="{n*63}"><v>n</v></t><t name="{m*64}"><v>m</v></t><p name="g_{n*63}"><v>g</v></p>
> <group name="{n*63}_property" type="p"><entity>g_{n*63}</entity></group>
> <group name="g" type="t"><entity>{n*63}</entity></group><group name="h" type="t"><entity>{m*64}</entity></group>
$ export_group g
1 export_begin(1) alloc_entry get_entry({n*63}) export_entry(0,handle,{n*63},n) free_entry alloc_property get_property(g_{n*63}) export_property(0,0,handle,g) free_property
$ export_group h
0 export_begin(1) alloc_entry get_entry({m*64}) free_entry export_discard(handle)

# Whose property is it? Depth first: top holds one, which holds deep, and two.
> <group name="top" type="t"><container>one</container><entity>a</entity><container>two</container></group>
> <group name="one" type="t"><entity>a</entity><container>deep</container></group>
> <group name="deep" type="t"><entity>a</entity></group><group name="two" type="t"/><group name="a_b" type="t"/>
> <group name="holds" type="t"><container>a_b</container></group>
$ valid_property top a top_a
1 at top
$ valid_property top a one_a
1 at one
$ valid_property top a deep_a
1 at deep
$ valid_property top a two_a
1 at two
$ valid_property one a top_a
0 at deep
$ valid_property top a none_a
0 at two
$ valid_property top a a
0 at two
$ valid_property top a _a
0 at two
$ valid_property top a ""
0 at two
$ valid_property top a two-a
0 at two
$ valid_property top a two_aa
0 at two
$ valid_property top a two_b
0 at two
$ valid_property missing x top_x
0 at missing
$ valid_property missing x missing_x
1 at missing
$ valid_property holds c a_b_c
1 at a_b
$ valid_property holds b_c a_b_c
0 at a_b
$ valid_property a b_c a_b_c
1 at a

# A member that cannot be read ends its group.
> <group name="top" type="t"><container>one</container><container>two</container></group>
> <group name="one" type="t"><container>{n*63}</container><container>{m*64}</container><container>after</container></group>
> <group name="after" type="t"/><group name="{m*64}" type="t"/><group name="{n*63}" type="t"><container>gone</container></group>
> <group name="two" type="t"><container></container><container>after</container></group>
$ valid_property top a after_a
0 at two
$ valid_property top {n*63} {n*63}_{n*63}
1 at {n*63}
$ valid_property top a {m*64}_a
0 at two
$ valid_property top a gone_a
1 at gone
$ valid_property one a none_a
0 at gone
$ valid_property top {m*64} top_{m*64}
0 at top

# Loops end, and the second path to a chain ends where the first did.
> <group name="top" type="t"><container>one</container><container>last</container></group>
> <group name="one" type="t"><container>two</container><container>one</container></group>
> <group name="two" type="t"><container>top</container><container>one</container></group><group name="last" type="t"/>
> <group name="u" type="t"><container>a</container><container>z</container></group><group name="z" type="t"><container>a</container></group>
> <group name="a" type="t"><container>b</container></group><group name="b" type="t"><container>d</container></group><group name="d" type="t"/>
$ valid_property top a last_a
1 at last
$ valid_property top a none_a
0 at last
$ valid_property one a none_a
0 at one
$ valid_property u a none_a
0 at d
