# Names come with the count of other programs: -1 where there is none. Members are taken as the store finds them.
> <t name="a" refcount="3"/><t name="b"/><t name="c" refcount=""/><t name="d" refcount="-4 x"/>
> <t name="e" refcount="0000000000000012345"/><t name="{n*64}" refcount="99999999999"/>
> <list name="l" type="t"><entity>a</entity><container>m</container><entity>e</entity></list>
> <list name="m" type="t"><entity>b</entity><entity>c</entity><entity>a</entity><entity>d</entity><entity>{n*64}</entity></list>
$ list_list l NULL
0 begin print_name(1,a,3) print_name(2,b,-1) print_name(3,c,-1) print_name(4,d,-4) print_name(5,{n*63},2147483647) print_name(6,e,1) end

# An entry by its name need not be a member.
> <t name="a" refcount="3"><v>1</v></t><t name="b"><v>2</v></t><t name="stray"><v>9</v></t>
> <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
$ list_list2 l
0 begin alloc_entry get_entry(a) print_entry(1,1) get_entry(b) print_entry(2,2) free_entry end
$ list_list l stray
0 begin alloc_entry get_entry(stray) print_entry(1,9) free_entry end
with l -begin -end
$ list_list l b
0 alloc_entry get_entry(b) print_entry(1,2) free_entry

> <list name="l" type="t"/>
$ list_list l NULL
0 begin end
$ list_list2 l
0 begin alloc_entry free_entry end

# The capacity is looked at first; what is there already is refused, and so are names that nobody can give back.
> <t name="a"/><t name="b"/><list name="l" type="t"><entity>a</entity><entity>b</entity></list>
with l max_entries=2
$ append_list l c 9
-1
    log List: list is full!
with l max_entries=-1
$ append_list l c 9
-1
    log List: list is full!
with l max_entries=3
$ append_list l a 9
-1
    log Can't define entry: a!
$ append_list l "" 9
-1
    log Can't define entry: !
$ append_list l NULL 9
-1
    log Can't define entry: (null)!
$ append_list l R&D"x" 9
0 set_entry(R&D"x"=9)
    - 3 <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
    + 3 <list name="l" type="t"><entity>a</entity><entity>b</entity><entity>R&amp;D"x"</entity></list>
    + 4 <t name="R&amp;D&quot;x&quot;"><v>9</v></t>
$ append_list l c 9
-1
    log List: list is full!

# Entries are changed and read whether they are members or not.
> <t name="a" refcount="3"><v>1</v></t><list name="l" type="t"/>
$ change_list l a 9
0 set_entry(a=9)
    - 1 <t name="a" refcount="3"><v>1</v></t>
    + 1 <t name="a" refcount="3"><v>9</v></t>
$ change_list l z 9
-1
    log Can't retrieve entry: z!
$ change_list l NULL 9
-1
    log Can't retrieve entry: (null)!
$ get_list l a
0 get_entry(a)
$ get_list l z
-1
    log can't retrieve entry: z!
$ get_list l NULL
-1
    log can't retrieve entry: (null)!

# The entity goes first, then the membership.
> <t name="a"/><t name="b"/><list name="l" type="t"><entity>a</entity><entity>b</entity></list>
$ delete_list l b
0
    - 2 <t name="b"/>
    - 3 <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
    + 2 <list name="l" type="t"><entity>a</entity></list>
$ delete_list l b
-1
    log Can't undefine b
$ delete_list l NULL
-1
    log Can't undefine (null)
> <list name="l" type="t"><entity>b</entity></list>
$ delete_list l b
-1
    log Can't undefine b
> <t name="b"/><list name="l" type="t"/>
$ delete_list l b
-1
    log Can't remove b
    - 1 <t name="b"/>

# A callback that is needed and absent.
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -alloc_entry
$ list_list l a
-1 begin end
$ list_list2 l
-1 begin end
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -get_entry
$ list_list l a
-1 begin end
$ list_list2 l
-1 begin end
$ get_list l a
-1
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -print_entry
$ list_list l a
-1 begin end
$ list_list2 l
-1 begin end
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -free_entry
$ list_list l a
-1 begin end
$ list_list2 l
-1 begin end
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -print_name -set_entry max_entries=1
$ list_list l NULL
-1 begin end
$ change_list l a 9
-1
$ append_list l c 9
-1
    log List: list is full!
with l max_entries=2
$ append_list l c 9
-1

# A list that is not there.
> <t name="a"/><list name="l" type="t"><entity>a</entity></list>
with l -type
$ list_list l NULL
-1
    log System integrity error!
$ list_list2 l
-1
    log System integrity error!
