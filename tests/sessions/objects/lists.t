let broken = list_op: System integrity error!
# Names come with the count of other programs: -1 where there is none. Members are taken as the store finds them.
> <t name="a" refcount="3"/><t name="b"/><t name="c" refcount=""/><t name="d" refcount="-4 x"/>
> <t name="e" refcount="0000000000000012345"/><t name="{n*64}" refcount="99999999999"/>
> <list name="l" type="t"><entity>a</entity><container>m</container><entity>e</entity></list><list name="m" type="t">
> <entity>b</entity><entity>c</entity><entity>a</entity><entity>d</entity><entity>{n*64}</entity></list>
list_list l NULL = 0 begin print_name(1,a,3) print_name(2,b,-1) print_name(3,c,-1) print_name(4,d,-4)
    print_name(5,{n*63},2147483647) print_name(6,e,1) end
with print_name 1 - list_list l NULL = -1 begin print_name(1,a,3) end: list_op: can't print entry name: a!

# An entry by its name need not be a member. The first failure ends an operation.
> a=1 b=2 stray=9 l(a b) empty()
list_list2 {l,empty} = 0 begin get_entry(a,) print_entry(1,1) get_entry(b,1) print_entry(2,2) end | 0 begin end
list_list l {stray,none} = 0 begin get_entry(stray,) print_entry(1,9) end | -1 22 begin end: list_op: can't retrieve
    entry: none!
with {alloc_entry,get_entry,print_entry} 1 - list_list l b = -1 begin end: list_op: can't alloc entry: b! | -1 begin
    get_entry(b,) end: list_op: can't get entry: b! | -1 begin get_entry(b,) print_entry(1,2) end: list_op: can't print
    entry: b!
list_list l-begin-end b = 0 get_entry(b,) print_entry(1,2)
list_list empty NULL = 0 begin end
get_list l {stray,z,NULL} x = 0 get_entry(stray,x) | -1 22: list_op: can't retrieve entry: z! | -1 22: list_op: can't
    retrieve entry: (null)!
with get_entry 1 - get_list l a x = -1 get_entry(a,x): list_op: can't get entry: a!
change_list l 8 {stray,NULL} = 0 set_entry(stray,8) | -1 22: list_op: Can't retrieve entry: (null)!
with set_entry 1 - change_list l 8 a = -1 set_entry(a,8): list_op: Can't set entry: a!
< a=1 b=2 stray=8 l(a b) empty()

# What is needed and absent: a callback, a list, a field that a list is found by.
> a l(a)
list_list {l-alloc_entry,l-get_entry,l-print_entry,l-free_entry} a = -1 begin end
list_list2 {l-alloc_entry,l-get_entry,l-print_entry,l-free_entry,m} = -1 begin end | ^ | ^ | ^ | -1 22: <broken>
list_list {l-print_name,NULL,l-config,l-type} NULL = -1 begin end | -1 -: <broken> | -1 6: <broken> | -1 22: <broken>
get_list {l-get_entry,m} a x = -1 | -1 22: <broken>
{change_list,append_list} {l-set_entry,m} 9 c = -1 | -1 22: <broken> | -1 | -1 22: <broken>
delete_list {l-config,l-scope,l-type,l-name,l-label,NULL,m} a = 0 - | ^ | ^ | ^ | ^ | ^ | -1 22: <broken>

# The capacity is looked at first; what is there already is refused, and so are names that nobody can give back. Where
# an entry is deleted, the entity goes first.
> a b c l(a b)
append_list {l+2,l+-1,l-set_entry+1} 9 d = -1: list_op: List: list is full!
append_list l+3 9 {a,"",NULL,R&D"x",d} = -1 10: list_op: Can't define entry: a! | -1: list_op: Can't define entry: ! |
    -1: list_op: Can't define entry: (null)! | 0 set_entry(R&D"x",9) | -1: list_op: List: list is full!
delete_list l {b,b,NULL,c} = 0 | -1 22: list_op: Can't undefine b | -1 22: list_op: Can't undefine (null) | -1 22:
    list_op: Can't remove c
< <t name="a"/><list name="l" type="t"><entity>a</entity><entity>R&amp;D"x"</entity></list>
< <t name="R&amp;D&quot;x&quot;"><v>9</v></t>
