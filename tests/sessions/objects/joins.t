let properties = group_op: Group: cannot specify properties for entry
let join = group_op: Group: cannot join
# An entry is made once and counted in each group; its properties are made per membership.
> <group name="g" type="t"/><group name="h" type="t"/>
join_entry g a 9 7 = 0 set_entry(a,a,9,null) set_property(g_a,7,null)
join_entry {h,h} a NULL NULL = 0 | 1 10: <join> entry a
join_entry h {a,b,b} NULL 7 = 1 10: <join> entry a | 0 set_property(h_b,7,null) | 1 10: <join> entry b
join_entry missing a 9 7 = 1 22
< <group name="g" type="t"><entity>a</entity></group><group name="h" type="t"><entity>a</entity><entity>b</entity>
< </group><t name="a" reference="2"><v>9</v></t><group name="a_property" type="p"><entity>g_a</entity></group>
< <p name="g_a"><v>7</v></p><t name="b" reference="1"/><group name="b_property" type="p"><entity>h_b</entity></group>
< <p name="h_b"><v>7</v></p>

# A join is refused where a group has the name already, or for an ampersand: a new entity goes again, also one that
# nobody counts. A count at the largest int is not raised, and nothing is done.
> <group name="g" type="t"><container>a</container><entity>b</entity><entity>c</entity></group>
> <t name="b" reference="0"/><t name="c" reference="-1"/><t name="d" reference="2147483647"/>
join_entry g {a,b,c,d,x&} 9 7 = 1 10 set_entry(a,a,9,null) | 1 10 set_entry(b,b,9,null) | 1 10 set_entry(c,c,9,null):
    <join> entry c | -18004 | 1 8 set_entry(x&,x&,9,null)
< <group name="g" type="t"><container>a</container><entity>b</entity><entity>c</entity></group>
< <t name="c" reference="-1"><v>9</v></t><t name="d" reference="2147483647"/>

# The steps of the properties leave the entry joined, not counted, and what they made.
> <group name="g" type="t"/><t name="a" reference="1"/><group name="a_property" type="p"><entity>g_a</entity></group>
> <p name="g_b"/><p name="g_c"/><p name="g_c"/>
join_entry g {a,b,c} 9 7 = 1 10 set_entry(a,a,9,null) | 1 set_entry(b,b,9,null): <properties> b | 1 10
    set_entry(c,c,9,null): <properties> c
< <group name="g" type="t"><entity>a</entity><entity>b</entity><entity>c</entity></group><t name="a" reference="1">
< <v>9</v></t><group name="a_property" type="p"><entity>g_a</entity></group><p name="g_b"/><p name="g_c"/>
< <p name="g_c"/><t name="b" reference="0"><v>9</v></t><group name="b_property" type="p"><entity>g_b</entity></group>
< <t name="c" reference="0"><v>9</v></t><group name="c_property" type="p"><entity>g_c</entity></group>

# Names of 63 bytes make a property of 127, longer and empty ones are refused, and what is needed must be there.
> <group name="{n*63}" type="t"/><group name="g" type="t"/><t name="a" reference="1"/><group name="{n*64}" type="t"/>
join_entry {n*63} {m*63} 9 7 = 0 set_entry({m*63},{m*63},9,null) set_property({n*63}_{m*63},7,null)
remove_entry {n*63} {m*63} = 0 get_entry({m*63},) entry_removed({m*63},9) get_property({n*63}_{m*63},)
    property_removed(7)
join_entry g {{m*64},"",NULL} 9 7 = 1 -
join_entry {g-set_entry,g-set_property,g-property_type} a 9 7 = 0 -
join_entry g-set_entry-set_property-property_type-alloc_entry-get_entry a NULL NULL = 0
{join_entry,change_entry} {{n*64},""} a NULL NULL = 1 -
{join_group,create_group,dispose_group} g {{n*64},""} = 1 -
{join_group,create_group,dispose_group} {{n*64},""} g = 1 -
{use_group,unuse_group,list_group,export_group} {{n*64},""} = 1 - | ^ | ^ | ^ | ^ | ^ | null - at {n*64} | null - at
{remove_entry,remove_group} g {{m*64},""} = 1 -
< <group name="{n*63}" type="t"/><group name="g" type="t"><entity>a</entity></group><t name="a" reference="2"/>
< <group name="{n*64}" type="t"/>

# A record that lacks a field does nothing.
> <t name="a" reference="1"><v>1</v></t><p name="g_a"/><group name="a_property" type="p"><entity>g_a</entity></group>
> <group name="g" type="t"><entity>a</entity><container>h</container></group><group name="h" type="t"/>
> <group name="good" type="t"><container>g</container></group>
{list_group,use_group,unuse_group,export_group} {g-config,g-scope,g-type,g-name,g-label,NULL} = 0 - | ^ | ^ | ^ | ^ | ^
    | ^ | ^ | ^ | ^ | ^ | ^ | ^ | ^ | ^ | ^ | ^ | ^ | null - at g | ^ | ^ | null - | null - at g | null -
{create_group,dispose_group,join_group} {g-config,g-scope,g-type,g-name,g-label,NULL} good = 0 -
{create_group,dispose_group,join_group} good {g-config,g-scope,g-type,g-name,g-label,NULL} = 0 -
{remove_entry,remove_group} {g-config,g-scope,g-type,g-name,g-label,NULL} {a,h} = 0 -
{join_entry,change_entry} {g-config,g-scope,g-type,g-name,g-label,NULL} a 9 7 = 0 -
{list_group,export_group} {g-property_type,g-alloc_property,g-get_property,g-free_property} = 0 - | ^ | ^ | ^ | null -
    at g
{list_group,export_group} {g-alloc_entry,g-get_entry,g-free_entry,g-print_entry-print_property-export_entry} = 0 - | ^ |
    ^ | 0 begin print_group(h) end | null - at g | ^ | ^ | handle export_begin(1) get_property(g_a,)
    export_property(0,0,handle,) at g
export_group {g-export_begin,g-export_discard} = null - at g
remove_entry {g-alloc_entry,g-get_entry,g-free_entry,g-alloc_property,g-get_property,g-free_property} a = 0 -
change_entry {g-set_entry,g-alloc_entry,g-get_entry,g-free_entry} a 9 NULL = 0 -
change_entry {g-set_property,g-property_type,g-alloc_property,g-get_property,g-free_property} a NULL 7 = 0 -

# Groups nest without loops and without two ways to one: a holds b, b holds c; x holds b as well. A check that fails, at a
# member that does not exist, counts as no loop.
> <group name="a" type="t"><container>b</container></group>
> <group name="b" type="t"><container>c</container><entity>e</entity></group>
> <group name="c" type="t"/><group name="x" type="t"><container>b</container></group>
> <group name="g" type="t"><container>gone</container></group><group name="most" type="t" reference="2147483647"/>
join_group {b,c,a} a = 1 19: <join> group Group, loop detected
join_group a {c,x,b} = 1 19: <join> group Group, loop detected | ^ | 1 10
join_group g {c,c,missing,most} = 0 | 1 10 | 1 22 | -18004
join_group missing c = 1 22
< <group name="a" type="t"><container>b</container></group><group name="b" type="t"><container>c</container>
< <entity>e</entity></group><group name="c" type="t" reference="1"/><group name="x" type="t"><container>b</container>
< </group><group name="g" type="t"><container>gone</container><container>c</container><container>most</container>
< </group><group name="most" type="t" reference="2147483647"/>

# A change sees what was there, makes no properties and needs no member.
> <t name="a" reference="1"><v>1</v></t><group name="g" type="t"><entity>a</entity></group><p name="g_a"><v>2</v></p>
> <group name="a_property" type="p"><entity>g_a</entity></group><t name="b" reference="1"><v>1</v></t><group name="h" type="t"/>
change_entry g a {NULL,9} {NULL,7} = 0 | 0 get_property(g_a,) set_property(g_a,7,2) | 0 get_entry(a,) set_entry(a,a,9,1)
    | 0 get_entry(a,) set_entry(a,a,9,9) get_property(g_a,) set_property(g_a,7,7)
change_entry h b 9 7 = 1 22 get_entry(b,) set_entry(b,b,9,1): % kvio_open_group Group: cannot specify properties for
    entry b / <properties> b
change_entry h {none,{m*64},""} NULL NULL = 1 22 | 1 -
< <t name="a" reference="1"><v>9</v></t><group name="g" type="t"><entity>a</entity></group><p name="g_a"><v>7</v></p>
< <group name="a_property" type="p"><entity>g_a</entity></group><t name="b" reference="1"><v>9</v></t>
< <group name="h" type="t"/>
