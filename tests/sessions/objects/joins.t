let properties = Group: cannot specify properties for entry
let join = group_op: Group: cannot join
# An entry is made once and counted in each group; its properties are made per membership.
> g[] h[]
join_entry g a 9 7 = 0 set_entry(a,a,9,null) set_property(g_a,7,null)
with {set_entry,set_property} 1 - join_entry h a 8 6 = 1 set_entry(a,a,8,null) | 1 set_entry(a,a,8,null)
    set_property(h_a,6,null): group_op: <properties> a
join_entry h {a,b,b} NULL 7 = 1 10: <join> entry a | 0 set_property(h_b,7,null) | 1 10: <join> entry b
join_entry {g,h,missing} b 9 NULL = 0 set_entry(b,b,9,null) | 1 10 set_entry(b,b,9,null): <join> entry b | 1 22
< g[a b] h[a b] a#1=8 a_property[g_a h_a] g_a=7 h_a b#2=9 b_property[h_b] h_b=7

# A join is refused where a group has the name already, or for an ampersand: a new entity goes again, also one that
# nobody counts. A count at the largest int is not raised, and nothing is done.
> g[+a b c] b#0 c#-1 d#2147483647
join_entry g {a,b,c,d,x&} 9 7 = 1 10 set_entry(a,a,9,null) | 1 10 set_entry(b,b,9,null) | 1 10 set_entry(c,c,9,null):
    <join> entry c | -18004 | 1 8 set_entry(x&,x&,9,null)
< g[+a b c] c#-1=9 d#2147483647

# The steps of the properties leave the entry joined, not counted, and what they made.
> g[] a#1 a_property[g_a] g_b g_c g_c
join_entry g {a,b,c} 9 7 = 1 10 set_entry(a,a,9,null) | 1 set_entry(b,b,9,null): group_op: <properties> b | 1 10
    set_entry(c,c,9,null): group_op: <properties> c
< g[a b c] a#1=9 a_property[g_a] g_b g_c g_c b#0=9 b_property[g_b] c#0=9 c_property[g_c]

# Names of 63 bytes make a property of 127, longer and empty ones are refused, and what is needed must be there.
> {n*63}[] g[] a#1 {n*64}[]
join_entry {n*63} {m*63} 9 7 = 0 set_entry({m*63},{m*63},9,null) set_property({n*63}_{m*63},7,null)
remove_entry {n*63} {m*63} = 0 get_entry({m*63},) entry_removed({m*63},9) get_property({n*63}_{m*63},)
    property_removed(7)
join_entry g {{m*64},"",NULL} 9 7 = 1 -
join_entry {g-set_entry,g-set_property,g-property_type} a 9 7 = 0 -
join_entry g-set_entry-set_property-property_type-alloc_entry-get_entry a NULL NULL = 0
{join_entry,change_entry} {n*64} a NULL NULL = 1 -
{join_group,create_group,dispose_group,remove_entry,remove_group} g {{n*64},""} = 1 -
{join_group,create_group,dispose_group} {n*64} g = 1 -
{use_group,unuse_group,list_group} {n*64} = 1 -
export_group {n*64} = null - at {n*64}
< {n*63}[] g[a] a#2 {n*64}[]

# A record that lacks a field does nothing.
> a#1=1 g_a a_property[g_a] g[a +h] h[]
{list_group,use_group,unuse_group} {g-config,g-scope,g-type,g-name,g-label,NULL} = 0 -
{create_group,dispose_group,join_group} {g-label,NULL} h = 0 -
{create_group,dispose_group,join_group} h {g-label,NULL} = 0 -
{remove_entry,remove_group} {g-label,NULL} {a,h} = 0 -
{join_entry,change_entry} {g-label,NULL} a 9 7 = 0 -
list_group {g-alloc_entry,g-get_entry,g-free_entry,g-property_type,g-alloc_property,g-get_property} = 0 -
export_group {g-alloc_entry,g-get_entry,g-free_entry,g-property_type,g-alloc_property,g-get_property} = null - at g
export_group {g-free_property,g-export_begin,g-export_discard,g-label,NULL} = null - at g | ^ | ^ | ^ | null -
list_group g-alloc_entry-print_entry-print_property = 0 begin print_group(h) end
export_group g-alloc_entry-export_entry = handle export_begin(1) get_property(g_a,) export_property(0,0,handle,) at g
remove_entry {g-alloc_entry,g-get_entry,g-free_entry,g-alloc_property,g-get_property,g-free_property} a = 0 -
change_entry {g-set_entry,g-alloc_entry,g-get_entry,g-free_entry} a 9 NULL = 0 -
change_entry {g-set_property,g-property_type,g-alloc_property,g-get_property,g-free_property} a NULL 7 = 0 -

# Groups nest without loops and without two ways to one: a holds b, b holds c; x holds b as well. A check that fails, at a
# member that does not exist, counts as no loop.
> a[+b] b[+c e] c[] x[+b] g[+gone] most#2147483647[]
join_group {b,c,a} a = 1 19: <join> group Group, loop detected
join_group a {c,x,b} = 1 19: <join> group Group, loop detected | ^ | 1 10
join_group g {c,c,missing,most} = 0 | 1 10 | 1 22 | -18004
join_group missing c = 1 22
< a[+b] b[+c e] c#1[] x[+b] g[+gone +c +most] most#2147483647[]

# A change sees what was there, makes no properties and needs no member.
> a#1=1 g[a] g_a=2 a_property[g_a] b=1 h[]
change_entry g a {NULL,9} {NULL,7} = 0 | 0 get_property(g_a,) set_property(g_a,7,2) | 0 get_entry(a,) set_entry(a,a,9,1)
    | 0 get_entry(a,) set_entry(a,a,9,9) get_property(g_a,) set_property(g_a,7,7)
with {alloc_property,get_property,set_property} 1 - change_entry g a NULL 7 = 1: % 3 <properties> a / group_op:
    <properties> a | 1 get_property(g_a,): % 4 <properties> a / group_op: <properties> a | 1 get_property(g_a,)
    set_property(g_a,7,7): % 5 <properties> a / group_op: <properties> a
change_entry h b 9 7 = 1 22 get_entry(b,) set_entry(b,b,9,1): % kvio_open_group <properties> b / group_op: <properties>
    b
change_entry h {none,{m*64},""} NULL NULL = 1 22 | 1 -
< a#1=9 g[a] g_a=7 a_property[g_a] b=9 h[]
