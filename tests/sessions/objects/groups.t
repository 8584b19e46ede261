# Members are printed in order, and only as far as there are callbacks for it. A failure ends the listing after the next
# entry.
> a#1=1 b#2=2 g_a=7 a_property[g_a] g_b=8 h_b=9 b_property[h_b g_b] g[b +h a] h[b]
list_group {g,g-begin-end-print_group-print_entry} = 0 begin get_entry(b,) print_entry(b,2) get_property(g_b,)
    print_property(8) print_group(h) get_entry(a,) print_entry(a,1) get_property(g_a,) print_property(7) end | 0
    get_property(g_b,) print_property(8) get_property(g_a,) print_property(7)
list_group {h-print_property,h-print_entry,h-print_entry-print_property} = 0 begin get_entry(b,) print_entry(b,2) end |
    0 begin get_property(h_b,) print_property(9) end | 0 begin end
with {print_entry,get_property,print_property,print_group} 1 - list_group g = 1 begin get_entry(b,) print_entry(b,2) end
    | 1 begin get_entry(b,) print_entry(b,2) get_property(g_b,) print_group(h) get_entry(a,) print_entry(a,1) end | 1
    begin get_entry(b,) print_entry(b,2) get_property(g_b,) print_property(8) print_group(h) get_entry(a,)
    print_entry(a,1) end

> a=1 {n*63} {m*64} none[] limit[{n*63} +{n*63}] beyond[{m*64} +h +{m*64} a a] stale[gone a]
> <group name="empty" type="t"><container></container><entity>a</entity><container>h</container></group>
list_group {none,limit-print_property,beyond-print_property,empty-print_property,stale,missing} = 0 begin end | 0 22
    begin get_entry({n*63},) print_entry({n*63},) print_group({n*63}) end | 1 begin print_group(h) get_entry(a,)
    print_entry(a,1) end | 1 begin get_entry(a,) print_entry(a,1) end | 1 22 begin end | 1 22

# The limit counts all members of the parent, and stands in the parent's record. What is created already, or has no
# parent, is not taken back.
> all[+x +y z]
create_group all+3 g+1 = 0: group_op: cannot create, too many groups (>3)
create_group {all+2,all+5,all+0,all+-1,all} {g,h} = 0 | ^ | 0: group_op: cannot create, too many groups (>5) | ^ | 1 10
create_group missing m = 1 22
< all[+x +y z +g +h] g#0[] h#0[]

# Counts.
> none[] zero#0[] one#1[] less#-5[] word#x[] most#2147483647[] least#-2147483648[] g[a +one +least +gone]
use_group {none,zero,one,less,word,most,missing} = 0 | ^ | ^ | ^ | ^ | -18004 | 1 22
unuse_group {none,zero,one,less,most,missing,zero,zero} = 0 | ^ | ^ | 1 | 0 | 1 22 | 1
remove_group g {one,one,least,gone,none} = 0 | 1 22 | -18004 | 1 22
remove_group missing one = 1 22
< none#-1[] zero#0[] one#-1[] less#-4[] word#1[] most#2147483646[] least#-2147483648[] g[a +least +gone]

# An entry goes with the last group that it is in, and its properties with each, whatever callbacks say of it. Properties
# that were never made are missed; a count that was never raised is no reason to keep the entry.
> a#0=1 b#2=2 c#-1 d g_b=8 h_b=9 h[b] b_property[h_b g_b] g[a b c d]
with entry_removed 1 - remove_entry h b = 1 get_entry(b,) entry_removed(b,2) get_property(h_b,) property_removed(9)
with property_removed 1 - remove_entry g b = 1 get_entry(b,) entry_removed(b,2) get_property(g_b,) property_removed(8)
remove_entry g-entry_removed-property_removed {a,b,c} = 1 22 | 1 22: group_op: Group: cannot find entry b | 1 22
remove_entry g-property_type d = 0 get_entry(d,) entry_removed(d,)
< h[] g[]

# Of a group that is disposed of no member stays. A member that cannot be removed stands in front of the others each time.
> a#3 all[+g +h +k +l] g#1[] i[] h#-1[a +g a] k[gone a] l[{n*64} a]
dispose_group {all,missing} g = -18004 | 1 22
dispose_group all {h-property_type,i,k-property_type,l-property_type,missing} = 0 get_entry(a,) entry_removed(a,)
    get_entry(a,) entry_removed(a,) | 1 22 | 0: group_op: Group: cannot find entry gone / group_op: Group: cannot find
    entry gone | 1 | 1 22
< a#1 all[+g] g#0[] i[]

# Attributes as integers are read as far as they go.
> <t name="a" i="12abc" j="abc" k="" l="  -7" m="+8" n="0x10" o="2147483647" p="2147483648" q="-2147483649"
>  r="99999999999999999999" s="{0*62}123"/><group name="g" type="t" n="2147483648"/>
get_entity_int a {i,j,k,l,m,n,o,p,q,r,s,none} = 1 =12 | 1 =0 | ^ | 1 =4294967289 | 1 =8 | 1 =0 | 1 =2147483647 | ^ | 1
    =2147483648 | 1 =2147483647 | 1 =1 | 1 =0
get_iterator_int g {n,none} = 1 =2147483647 | 1 =0
{get_entity_int,get_iterator_int} NULL n = 0 15 | 0 13
{set_iterator_int,set_entity_int} NULL n 1 = 0 13 | 0 15

> <t name="a" i="1"/><group name="g" type="t"/>
set_entity_int a i -2147483648 = 1
set_iterator_int g n -1 = 1
set_entity_char a c "<&" = 1
get_entity_char a {c,none} = 1 "<&\0" | 1 "\0"
< <t name="a" i="-2147483648" c="&lt;&amp;"/><group name="g" type="t" n="-1"/>
