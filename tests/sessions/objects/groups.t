# Members are printed in order, and only as far as there are callbacks for it.
> <t name="a" reference="1"><v>1</v></t><t name="b" reference="2"><v>2</v></t>
> <p name="g_a"><v>7</v></p><group name="a_property" type="p"><entity>g_a</entity></group>
> <p name="g_b"><v>8</v></p><p name="h_b"><v>9</v></p>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t"><entity>b</entity><container>h</container><entity>a</entity></group>
> <group name="h" type="t"><entity>b</entity></group>
list_group {g,g-begin-end-print_group-print_entry} = 0 begin get_entry(b,) print_entry(b,2) get_property(g_b,)
    print_property(8) print_group(h) get_entry(a,) print_entry(a,1) get_property(g_a,) print_property(7) end | 0
    get_property(g_b,) print_property(8) get_property(g_a,) print_property(7)
list_group {h-print_property,h-print_entry,h-print_entry-print_property} = 0 begin get_entry(b,) print_entry(b,2) end |
    0 begin get_property(h_b,) print_property(9) end | 0 begin end

# A result of 1 from before ends the listing after the next entry.
> <t name="a"><v>1</v></t><t name="{n*63}"/><t name="{m*64}"/><group name="none" type="t"/>
> <group name="limit" type="t"><entity>{n*63}</entity><container>{n*63}</container></group>
> <group name="beyond" type="t"><entity>{m*64}</entity><container>h</container><container>{m*64}</container><entity>a</entity><entity>a</entity></group>
> <group name="empty" type="t"><container></container><entity>a</entity><container>h</container></group>
> <group name="stale" type="t"><entity>gone</entity><entity>a</entity></group>
list_group {none,limit-print_property,beyond-print_property,empty-print_property,stale,missing} = 0 begin end | 0 22
    begin get_entry({n*63},) print_entry({n*63},) print_group({n*63}) end | 1 begin print_group(h) get_entry(a,)
    print_entry(a,1) end | 1 begin get_entry(a,) print_entry(a,1) end | 1 22 begin end | 1 22

# The limit counts all members of the parent, and stands in the parent's record. What is created already, or has no
# parent, is not taken back.
> <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity></group>
create_group all+3 g+1 = 0: group_op: cannot create, too many groups (>3)
create_group {all+2,all+5,all+0,all+-1,all} {g,h} = 0 | ^ | 0: group_op: cannot create, too many groups (>5) | ^ | 1 10
create_group missing m = 1 22
< <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container>
< <container>h</container></group><group name="g" type="t" reference="0"/><group name="h" type="t" reference="0"/>

# Counts.
> <group name="none" type="t"/><group name="zero" type="t" reference="0"/><group name="one" type="t" reference="1"/>
> <group name="less" type="t" reference="-5"/><group name="word" type="t" reference="x"/>
> <group name="most" type="t" reference="2147483647"/><group name="least" type="t" reference="-2147483648"/>
> <group name="g" type="t"><entity>a</entity><container>one</container><container>least</container><container>gone</container></group>
use_group {none,zero,one,less,word,most,missing} = 0 | ^ | ^ | ^ | ^ | -18004 | 1 22
unuse_group {none,zero,one,less,most,missing,zero,zero} = 0 | ^ | ^ | 1 | 0 | 1 22 | 1
remove_group g {one,one,least,gone,none} = 0 | 1 22 | -18004 | 1 22
remove_group missing one = 1 22
< <group name="none" type="t" reference="-1"/><group name="zero" type="t" reference="0"/>
< <group name="one" type="t" reference="-1"/><group name="less" type="t" reference="-4"/>
< <group name="word" type="t" reference="1"/><group name="most" type="t" reference="2147483646"/>
< <group name="least" type="t" reference="-2147483648"/><group name="g" type="t"><entity>a</entity>
< <container>least</container><container>gone</container></group>

# An entry goes with the last group that it is in, and its properties with each.
> <t name="b" reference="2"><v>2</v></t><p name="g_b"><v>8</v></p><p name="h_b"><v>9</v></p>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t"><entity>b</entity></group><group name="h" type="t"><entity>b</entity></group>
remove_entry g b = 0 get_entry(b,) entry_removed(b,2) get_property(g_b,) property_removed(8)
remove_entry h-entry_removed-property_removed {b,b} = 0 | 1 22: group_op: Group: cannot find entry b
< <group name="g" type="t"/><group name="h" type="t"/>

# Properties that were never made are missed; a count that was never raised is no reason to keep the entry.
> <t name="a" reference="0"><v>1</v></t><t name="b" reference="-1"><v>1</v></t><t name="c"><v>1</v></t><t name="d"/>
> <group name="g" type="t"><entity>a</entity><entity>b</entity><entity>c</entity><entity>d</entity></group>
remove_entry g {a,b,c} = 1 22 get_entry(a,) entry_removed(a,1) | 1 22 get_entry(b,) entry_removed(b,1) | 1 22
    get_entry(c,) entry_removed(c,1)
remove_entry g-property_type d = 0 get_entry(d,) entry_removed(d,)
< <group name="g" type="t"/>

# Of a group that is disposed of no member stays.
> <group name="all" type="t"><container>g</container><container>h</container></group>
> <group name="g" type="t" reference="1"/><group name="h" type="t" reference="-1"/><group name="i" type="t"/>
dispose_group all {g,h,i,missing} = -18004 | 0 | 1 22
dispose_group missing g = 1 22
< <group name="all" type="t"><container>g</container></group><group name="g" type="t" reference="1"/>
< <group name="i" type="t"/>

# A member that cannot be removed stands in front of the others each time.
> <t name="a" reference="1"/><group name="all" type="t"><container>g</container><container>h</container></group>
> <group name="g" type="t"><entity>gone</entity><entity>a</entity></group>
> <group name="h" type="t"><entity>{n*64}</entity><entity>a</entity></group>
dispose_group all {g-property_type,h-property_type} = 0: group_op: Group: cannot find entry gone / group_op: Group:
    cannot find entry gone | 1
< <t name="a" reference="1"/><group name="all" type="t"/>

# Attributes as integers are read as far as they go.
> <t name="a" i="12abc" j="abc" k="" l="  -7" m="+8" n="0x10" o="2147483647" p="2147483648" q="-2147483649"
>  r="99999999999999999999" s="{0*62}123"/><group name="g" type="t" n="2147483648"/>
get_entity_int a {i,j,k,l,m,n,o,p,q,r,s,none} = 1 =12 | 1 =0 | ^ | 1 =4294967289 | 1 =8 | 1 =0 | 1 =2147483647 | ^ | 1
    =2147483648 | 1 =2147483647 | 1 =1 | 1 =0
get_iterator_int g {n,none} = 1 =2147483647 | 1 =0
set_entity_int a i -2147483648 = 1
set_iterator_int g n -1 = 1
set_entity_char a c "<&" = 1
get_entity_char a {c,none} = 1 "<&\0" | 1 "\0"
{get_entity_int,get_iterator_int} NULL n = 0 15 | 0 13
{set_iterator_int,set_entity_int} NULL n 1 = 0 13 | 0 15
< <t name="a" i="-2147483648" j="abc" k="" l="  -7" m="+8" n="0x10" o="2147483647" p="2147483648" q="-2147483649" r="99999999999999999999" s="{0*62}123" c="&lt;&amp;"/>
< <group name="g" type="t" n="-1"/>
