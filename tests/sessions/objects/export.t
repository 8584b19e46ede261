# Entry a is in g, in h which is nested in g, and in x; b in h and, through it, once; c in x. The record names the group
# of the properties.
> <t name="a"><v>a</v></t><t name="b"><v>b</v></t><t name="c"><v>c</v></t><p name="x_a"><v>x</v></p>
> <p name="h_a"><v>h</v></p><p name="g_a"><v>g</v></p><p name="h_b"><v>h</v></p><p name="x_c"><v>x</v></p>
> <group name="a_property" type="p"><entity>x_a</entity><entity>h_a</entity><entity>g_a</entity></group>
> <group name="b_property" type="p"><entity>h_b</entity></group>
> <group name="c_property" type="p"><entity>x_c</entity></group>
> <group name="g" type="t"><container>h</container><entity>a</entity></group>
> <group name="h" type="t"><entity>b</entity><entity>a</entity></group>
> <group name="x" type="t"><entity>a</entity><entity>c</entity></group>
export_group {g,h-export_property,h-export_property-export_entry} = handle export_begin(2) get_entry(b,)
    export_entry(0,handle,b,b) get_property(h_b,)@h export_property(0,0,handle,h)@h get_entry(a,)
    export_entry(1,handle,a,a) get_property(h_a,)@h export_property(1,1,handle,h)@h get_property(g_a,)
    export_property(1,2,handle,g) at g | handle export_begin(2) get_entry(b,) export_entry(0,handle,b,b) get_entry(a,)
    export_entry(1,handle,a,a) at h | handle export_begin(2) at h

# An empty group gives its handle. What the store cannot retrieve is not exported: loops, a group on two paths, a group
# that is not there.
> <group name="g" type="t"/><group name="h" type="t"><container>g</container><entity>gone</entity></group>
> <group name="i" type="t"><container>i</container></group><group name="k" type="t"><container>gone</container></group>
> <group name="w" type="t"><container>g</container><container>h</container></group>
export_group {g,h,missing,i,k,w} = handle export_begin(0) at g | handle export_begin(0) at h | null 22 at missing | null
    19 at i | null 19 at k | null 19 at w

# An entry without a group for its properties ends it, one with an empty group or properties of other groups does not.
> <t name="a"><v>a</v></t><t name="b"><v>b</v></t><t name="c"><v>c</v></t><t name="d"><v>d</v></t><t name="{m*64}"/>
> <group name="a_property" type="p"/><p name="g_c"><v>c</v></p><t name="{n*63}"><v>n</v></t><p name="k_{n*63}"/>
> <group name="c_property" type="p"><entity>{p*136}</entity><entity>g_c</entity></group>
> <group name="d_property" type="p"><container>d_property</container></group>
> <group name="{n*63}_property" type="p"><entity>k_{n*63}</entity></group>
> <group name="g" type="t"><entity>a</entity><entity>c</entity></group>
> <group name="h" type="t"><entity>a</entity><entity>b</entity></group><group name="i" type="t"><entity>d</entity></group>
> <group name="k" type="t"><entity>{n*63}</entity></group><group name="l" type="t"><entity>{m*64}</entity></group>
export_group {g,h,i,k,l} = handle export_begin(2) get_entry(a,) export_entry(0,handle,a,a) get_entry(c,)
    export_entry(1,handle,c,c) get_property(g_c,) export_property(1,0,handle,c) at g | null export_begin(2)
    get_entry(a,) export_entry(0,handle,a,a) get_entry(b,) export_entry(1,handle,b,b) export_discard(handle) at h | null
    export_begin(1) get_entry(d,) export_entry(0,handle,d,d) export_discard(handle) at i | handle export_begin(1)
    get_entry({n*63},) export_entry(0,handle,{n*63},n) get_property(k_{n*63},) export_property(0,0,handle,) at k | null
    export_begin(1) get_entry({m*64},) export_discard(handle) at l

# Whose property is it? Depth first: top holds one, which holds deep, and two.
> <group name="top" type="t"><container>one</container><entity>a</entity><container>two</container></group>
> <group name="one" type="t"><entity>a</entity><container>deep</container></group>
> <group name="deep" type="t"><entity>a</entity></group><group name="two" type="t"/><group name="a_b" type="t"/>
> <group name="holds" type="t"><container>a_b</container></group>
valid_property {top_a,one_a,deep_a,two_a,none_a,a,_a,"",two-a,two_aa,two_b} top a = 1 - at top | 1 at one | 1 at deep |
    1 at two | 0 at two
valid_property top_a one a = 0 at deep
valid_property {top_x,missing_x} missing x = 0 22 at missing | 1 - at missing
valid_property a_b_c holds {c,b_c} = 1 at a_b | 0 at a_b
valid_property a_b_c a b_c = 1 - at a

# A member that cannot be read ends its group.
> <group name="top" type="t"><container>one</container><container>two</container></group>
> <group name="one" type="t"><container>{n*63}</container><container>{m*64}</container><container>after</container></group>
> <group name="after" type="t"/><group name="{m*64}" type="t"/><group name="{n*63}" type="t"><container>gone</container></group>
> <group name="two" type="t"><container></container><container>after</container></group>
valid_property {after_a,{m*64}_a,gone_a} top a = 0 20 at two | ^ | 1 at gone
valid_property {n*63}_{n*63} top {n*63} = 1 at {n*63}
valid_property top_{m*64} top {m*64} = 0 - at top
valid_property none_a one a = 0 22 at gone

# Loops end, and the second path to a chain ends where the first did.
> <group name="top" type="t"><container>one</container><container>last</container></group>
> <group name="one" type="t"><container>two</container><container>one</container></group>
> <group name="two" type="t"><container>top</container><container>one</container></group><group name="last" type="t"/>
> <group name="u" type="t"><container>a</container><container>z</container></group><group name="z" type="t"><container>a</container></group>
> <group name="a" type="t"><container>b</container></group><group name="b" type="t"><container>d</container></group><group name="d" type="t"/>
valid_property {last_a,none_a} top a = 1 at last | 0 at last
valid_property none_a {one,u} a = 0 at one | 0 at d

# A search goes down 1,000 levels.
>* 1001 <group name="g#" type="t"><container>g+</container></group>
> <group name="g1001" type="t"/>
valid_property {g1000_a,g1001_a} g0 a = 1 at g1000 | 0 at g1000

# It opens 10,000 groups at most, where each level has two paths to the next one.
>* 30 <group name="l#" type="t"><container>l+</container><container>l+</container></group>
> <group name="l30" type="t"/>
valid_property {none_a,l30_a} l0 a = 0 at l1 | 1 at l30
