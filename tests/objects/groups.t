# Members are printed in order, and only as far as there are callbacks for it.
> <t name="a" reference="1"><v>1</v></t><t name="b" reference="2"><v>2</v></t>
> <p name="g_a"><v>7</v></p><group name="a_property" type="p"><entity>g_a</entity></group>
> <p name="g_b"><v>8</v></p><p name="h_b"><v>9</v></p>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t"><entity>b</entity><container>h</container><entity>a</entity></group>
> <group name="h" type="t"><entity>b</entity></group>
$ list_group g
0 begin alloc_entry get_entry(b) print_entry(b,2) free_entry alloc_property get_property(g_b) print_property(8) free_property print_group(h) alloc_entry get_entry(a) print_entry(a,1) free_entry alloc_property get_property(g_a) print_property(7) free_property end
with g -begin -end -print_group -print_entry
$ list_group g
0 alloc_property get_property(g_b) print_property(8) free_property alloc_property get_property(g_a) print_property(7) free_property
with h -properties
$ list_group h
0 begin alloc_entry get_entry(b) print_entry(b,2) free_entry end
with h -print_entry
$ list_group h
0 begin end

# A result of 1 from before ends the listing after the next entry.
> <t name="a"><v>1</v></t><t name="{n*63}"/><t name="{m*64}"/><group name="none" type="t"/>
> <group name="limit" type="t"><entity>{n*63}</entity><container>{n*63}</container></group>
> <group name="beyond" type="t"><entity>{m*64}</entity><container>h</container><container>{m*64}</container><entity>a</entity><entity>a</entity></group>
> <group name="empty" type="t"><container></container><entity>a</entity><container>h</container></group>
> <group name="stale" type="t"><entity>gone</entity><entity>a</entity></group>
with limit -properties
with beyond -properties
with empty -properties
with stale -properties
$ list_group none
0 begin end
$ list_group limit
0 begin alloc_entry get_entry({n*63}) print_entry({n*63},) free_entry print_group({n*63}) end
$ list_group beyond
1 begin print_group(h) alloc_entry get_entry(a) print_entry(a,1) free_entry end
$ list_group empty
1 begin alloc_entry get_entry(a) print_entry(a,1) free_entry end
$ list_group stale
1 begin end
$ list_group missing
1

# The limit counts all members of the parent, and stands in the parent's record.
> <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity></group>
with all max_groups=3
with g max_groups=1
$ create_group all g
0
    log cannot create, too many groups (>3)
with all max_groups=2
$ create_group all g
0
    - 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity></group>
    + 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container></group>
    + 2 <group name="g" type="t" reference="0"/>
with all max_groups=5
$ create_group all h
0
    - 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container></group>
    + 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container><container>h</container></group>
    + 3 <group name="h" type="t" reference="0"/>
with all max_groups=0
$ create_group all i
0
    - 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container><container>h</container></group>
    + 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container><container>h</container><container>i</container></group>
    + 4 <group name="i" type="t" reference="0"/>
with all max_groups=-1
$ create_group all k
0
    - 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container><container>h</container><container>i</container></group>
    + 1 <group name="all" type="t"><container>x</container><container>y</container><entity>z</entity><container>g</container><container>h</container><container>i</container><container>k</container></group>
    + 5 <group name="k" type="t" reference="0"/>
# Created already, or no parent: nothing is taken back.
$ create_group all k
1
$ create_group missing m
1
> <group name="all" type="t"><container>g</container></group>
$ create_group all g
1
    + 2 <group name="g" type="t" reference="0"/>

> <group name="none" type="t"/><group name="zero" type="t" reference="0"/><group name="one" type="t" reference="1"/>
> <group name="less" type="t" reference="-5"/><group name="word" type="t" reference="x"/>
> <group name="most" type="t" reference="2147483647"/>
$ use_group none
0
    - 1 <group name="none" type="t"/>
    + 1 <group name="none" type="t" reference="1"/>
$ use_group zero
0
    - 2 <group name="zero" type="t" reference="0"/>
    + 2 <group name="zero" type="t" reference="1"/>
$ use_group one
0
    - 3 <group name="one" type="t" reference="1"/>
    + 3 <group name="one" type="t" reference="2"/>
$ use_group less
0
    - 4 <group name="less" type="t" reference="-5"/>
    + 4 <group name="less" type="t" reference="-4"/>
$ use_group word
0
    - 5 <group name="word" type="t" reference="x"/>
    + 5 <group name="word" type="t" reference="1"/>
$ use_group most
-18004
$ use_group missing
1
> <group name="none" type="t"/><group name="zero" type="t" reference="0"/><group name="one" type="t" reference="1"/>
> <group name="less" type="t" reference="-5"/><group name="word" type="t" reference="x"/>
> <group name="most" type="t" reference="2147483647"/>
$ unuse_group none
1
$ unuse_group zero
1
$ unuse_group one
0
    - 3 <group name="one" type="t" reference="1"/>
    + 3 <group name="one" type="t" reference="0"/>
$ unuse_group less
1
$ unuse_group word
1
$ unuse_group most
0
    - 6 <group name="most" type="t" reference="2147483647"/>
    + 6 <group name="most" type="t" reference="2147483646"/>
$ unuse_group missing
1

# The count of a group that is taken out goes down without a bound, but not around.
> <group name="g" type="t"><entity>a</entity><container>h</container><container>i</container><container>k</container><container>gone</container></group>
> <group name="h" type="t" reference="2"/><group name="i" type="t"/><group name="k" type="t" reference="-2147483648"/>
$ remove_group g h
0
    - 1 <group name="g" type="t"><entity>a</entity><container>h</container><container>i</container><container>k</container><container>gone</container></group>
    - 2 <group name="h" type="t" reference="2"/>
    + 1 <group name="g" type="t"><entity>a</entity><container>i</container><container>k</container><container>gone</container></group>
    + 2 <group name="h" type="t" reference="1"/>
$ remove_group g h
1
    - 2 <group name="h" type="t" reference="1"/>
    + 2 <group name="h" type="t" reference="0"/>
$ remove_group g i
0
    - 1 <group name="g" type="t"><entity>a</entity><container>i</container><container>k</container><container>gone</container></group>
    + 1 <group name="g" type="t"><entity>a</entity><container>k</container><container>gone</container></group>
    - 3 <group name="i" type="t"/>
    + 3 <group name="i" type="t" reference="-1"/>
$ remove_group g k
-18004
$ remove_group g gone
1
$ remove_group missing h
1

# An entry goes with the last group that it is in, and its properties with each.
> <t name="b" reference="2"><v>2</v></t><p name="g_b"><v>8</v></p><p name="h_b"><v>9</v></p>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t"><entity>b</entity></group><group name="h" type="t"><entity>b</entity></group>
$ remove_entry g b
0 alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    - 1 <t name="b" reference="2"><v>2</v></t>
    - 2 <p name="g_b"><v>8</v></p>
    + 1 <t name="b" reference="1"><v>2</v></t>
    - 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
    - 5 <group name="g" type="t"><entity>b</entity></group>
    + 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 4 <group name="g" type="t"/>
with h -entry_removed -property_removed
$ remove_entry h b
0
    - 1 <t name="b" reference="1"><v>2</v></t>
    - 2 <p name="h_b"><v>9</v></p>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    - 5 <group name="h" type="t"><entity>b</entity></group>
    + 2 <group name="h" type="t"/>
$ remove_entry h b
1
    log Group: cannot find entry b

# Properties that were never made are missed; a count that was never raised is no reason to keep the entry.
> <t name="a" reference="0"><v>1</v></t><t name="b" reference="-1"><v>1</v></t><t name="c"><v>1</v></t>
> <group name="g" type="t"><entity>a</entity><entity>b</entity><entity>c</entity></group>
$ remove_entry g a
1 alloc_entry get_entry(a) entry_removed(a,1) free_entry
    - 1 <t name="a" reference="0"><v>1</v></t>
    - 4 <group name="g" type="t"><entity>a</entity><entity>b</entity><entity>c</entity></group>
    + 3 <group name="g" type="t"><entity>b</entity><entity>c</entity></group>
$ remove_entry g b
1 alloc_entry get_entry(b) entry_removed(b,1) free_entry
    - 1 <t name="b" reference="-1"><v>1</v></t>
    - 3 <group name="g" type="t"><entity>b</entity><entity>c</entity></group>
    + 2 <group name="g" type="t"><entity>c</entity></group>
$ remove_entry g c
1 alloc_entry get_entry(c) entry_removed(c,1) free_entry
    - 1 <t name="c"><v>1</v></t>
    - 2 <group name="g" type="t"><entity>c</entity></group>
    + 1 <group name="g" type="t"/>

# Of a group that is disposed of, no member stays.
> <group name="all" type="t"><container>g</container></group><group name="g" type="t" reference="1"/>
$ dispose_group all g
-18004
> <group name="all" type="t"><container>g</container></group><group name="g" type="t" reference="-1"/>
$ dispose_group all g
0
    - 1 <group name="all" type="t"><container>g</container></group>
    - 2 <group name="g" type="t" reference="-1"/>
    + 1 <group name="all" type="t"/>
> <group name="all" type="t"/><group name="g" type="t"><entity>a</entity></group>
$ dispose_group all g
1
$ dispose_group all missing
1
$ dispose_group missing g
1
# A member that cannot be removed stands in front of the others each time.
> <t name="a" reference="1"/><group name="all" type="t"><container>g</container></group>
> <group name="g" type="t"><entity>gone</entity><entity>a</entity></group>
with g -properties
$ dispose_group all g
0
    log Group: cannot find entry gone
    log Group: cannot find entry gone
    - 2 <group name="all" type="t"><container>g</container></group>
    - 3 <group name="g" type="t"><entity>gone</entity><entity>a</entity></group>
    + 2 <group name="all" type="t"/>
> <t name="a" reference="1"/><group name="all" type="t"><container>g</container></group>
> <group name="g" type="t"><entity>{n*64}</entity><entity>a</entity></group>
with g -properties
$ dispose_group all g
1
    - 2 <group name="all" type="t"><container>g</container></group>
    - 3 <group name="g" type="t"><entity>{n*64}</entity><entity>a</entity></group>
    + 2 <group name="all" type="t"/>
