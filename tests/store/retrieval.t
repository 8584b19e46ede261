# Members of both kinds have a place, entities are resolved where they stand, each once. The entities of a nested
# container stand in its place.
> <t name="A"/><t name="B"/><t name="C"/><list name="l" type="t"><entity>A</entity><container>l2</container><entity>B</entity></list>
> <list name="l2" type="t"><entity>C</entity><entity>A</entity></list>
$ kvio_size {l,l2}
    l: 3 0
    l2: 2 0
$ kvio_real_size {l,l2}
    l: 4 0
    l2: 2 -
$ kvio_check_loop {l,l2,l}
    l, l2, l: 0 0
$ kvio_retrieve_all {l,l2}
    l: 3 of 4 s/t[1]=A s/t[3]=C s/t[2]=B 0
    l2: 2 of 2 s/t[3]=C s/t[1]=A 0
$ kvio_retrieve_all2 {l,l2}
    l: 3 of 4 s/t[1]=A s/t[3]=C s/t[2]=B 0
    l2: 2 of 2 s/t[3]=C s/t[1]=A 0
$ kvio_regain_index l {0,1,2,3,4,4294967295}
    0: -1 14
    err kvio_regain_index() error: out of range
    1: 0 - "A\0"
    2: 1 - "l2\0"
    3: 0 - "B\0"
    4, 4294967295: -1 14
    err kvio_regain_index() error: out of range
$ kvio_regain_index2 l 2 {0,1,2,3,5}
    0: 1 -
    1: 1 - "\0"
    2: 1 - "l\0"
    3: 1 - "l2\0"
    5: 1 - "l2\0\0\0"
$ kvio_regain_index2 l {0,4} 8
    0, 4: -1 14
    err kvio_regain_index2() error: out of range
$ kvio_retrieve_index l {0,1,2,3,4294967295}
    0: null 14
    err kvio_retrieve_index() error: out of range
    1: s/t[1]=A 0
    2: s/t[2]=B 0
    3, 4294967295: null 14
    err kvio_retrieve_index() error: out of range

# What is there now is read. A member whose entity is gone is left out of all, and is no one. Of two entities of a name
# each member takes the next one.
$ kvio_undefine c s t A
    1 0
    - 1 <t name="A"/>
$ kvio_retrieve_all l
    2 of 4 s/t[2]=C s/t[1]=B 0
$ kvio_retrieve_index l 1
    null 7
    err kvio_retrieve_index() fatal error: entity not existed or multiple instances
$ kvio_set B f v
    1 0
    - 1 <t name="B"/>
    + 1 <t name="B"><f>v</f></t>
$ kvio_setattr_entity B name C
    1 0
    - 1 <t name="B"><f>v</f></t>
    + 1 <t name="C"><f>v</f></t>
$ kvio_retrieve_all l
    1 of 4 s/t[1]=C 0
$ kvio_join l2 C 1
    0 10
    err kvio_join error: C is already existed
$ kvio_append l2 C
    1 0
    - 4 <list name="l2" type="t"><entity>C</entity><entity>A</entity></list>
    + 4 <list name="l2" type="t"><entity>C</entity><entity>A</entity><entity>C</entity></list>
$ kvio_retrieve_all l2
    2 of 3 s/t[1]=C s/t[2]=C 0
$ kvio_retrieve_index l2 1
    null 7
    err kvio_retrieve_index() fatal error: entity not existed or multiple instances

# Loops, and containers there are two ways to, which count as one.
> <t name="a"/><group name="g" type="t"><container>h</container></group><group name="h" type="t"><container>g</container></group>
> <group name="top" type="t"><container>l</container><container>r</container></group>
> <group name="l" type="t"><container>b</container></group><group name="r" type="t"><container>b</container></group>
> <group name="b" type="t"><entity>a</entity></group><group name="self" type="t"><container>self</container></group>
$ kvio_check_loop {g,h,self,top,b,top}
    g, h, self, top: 1 0
    b: 0 0
    top: 1 0
$ {kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} g
    kvio_real_size: -1 19
    kvio_retrieve_all, kvio_retrieve_all2: null 19
$ {kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} top
    kvio_real_size: 2 0
    kvio_retrieve_all: null 19
    kvio_retrieve_all2: 1 of 2 s/t=a 0

# Containers that are named and absent: of another kind, of another type.
> <t name="a"/><list name="l" type="t"><entity>a</entity><container>k</container></list><group name="k" type="t"/>
> <list name="k" type="u"/><list name="over" type="t"><container>l</container></list>
> <table name="t" type="t"><entity>a</entity><container>k</container></table>
$ {kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} l
    kvio_size: 2 0
    kvio_check_loop: -1 0
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_real_size: -1 22
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_retrieve_all: null 19
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_retrieve_all2: null 23
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
$ {kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} over
    kvio_size: 1 0
    kvio_check_loop: 0 0
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_real_size: 0 22
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_retrieve_all: null 23
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    kvio_retrieve_all2: null 23
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] list:[k] type:[t] is not existed
$ {kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} t
    kvio_size: 2 0
    kvio_check_loop: -1 0
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] table:[k] type:[t] is not existed
    kvio_real_size: 2 0
    kvio_retrieve_all, kvio_retrieve_all2: null 23
    err kvio_container_create_template(/etc/kavex/conf/a.xml): scope:[s] table:[k] type:[t] is not existed
$ kvio_regain_index t {1,2,3}
    1: 0 - "a\0"
    2: 1 - "k\0"
    3: -1 14
    err kvio_regain_index() error: out of range
$ kvio_retrieve_index t {1,2}
    1: s/t=a 0
    2: null 14
    err kvio_retrieve_index() error: out of range

# A table counts a nested one as one member; there is room for what it leads to nevertheless. It is not checked for loops.
> <t name="a"/><t name="b"/><table name="m" type="t"><container>n</container></table>
> <table name="n" type="t"><entity>a</entity><entity>b</entity></table><table name="o" type="t"><container>o</container></table>
$ kvio_real_size {m,o}
    m, o: 1 0
$ kvio_retrieve_all m
    2 of 2 s/t[1]=a s/t[2]=b 0
$ kvio_retrieve_all2 m
    2 of 2 s/t[1]=a s/t[2]=b 0
$ {kvio_retrieve_all,kvio_retrieve_all2} o
    kvio_retrieve_all, kvio_retrieve_all2: null 19

# Members without text, and elements that are no members.
> <t name="a"/><list name="l" type="t"><o/><entity/><entity>a</entity><o/></list><list name="k" type="t"><container/></list>
$ kvio_size l
    2 0
    err kvio_size() warning: check data integrity
    err kvio_size() warning: check data integrity
$ {kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} {l,k}
    kvio_real_size l: 2 -
    kvio_real_size k: -1 20
    kvio_check_loop l: 0 0
    kvio_check_loop k: -1 0
    kvio_retrieve_all l: null 23
    kvio_retrieve_all k: null 19
    kvio_retrieve_all2 l, kvio_retrieve_all2 k: null 23
$ kvio_regain_index {l,k} 1
    l, k: -1 20
    err kvio_regain_index() fatal error: empty item
$ kvio_regain_index2 {l,k} 1 8
    l, k: -1 20
    err kvio_regain_index2() fatal error: empty item
$ kvio_retrieve_index l {1,2,3}
    1: null 15
    err kvio_retrieve_index() fatal error: empty entity
    2: s/t=a 0
    3: null 14
    err kvio_retrieve_index() error: out of range

# Names are what the elements say, in however many pieces.
> <!DOCTYPE kavex [<!ENTITY e "b">]><kavex><s><t name="ab"/><list name="l" type="t"><entity>a<!-- -->b</entity>
> <entity><![CDATA[a]]>&e;</entity><container>k<!-- --></container></list><list name="k" type="t"><entity>&#97;&e;</entity></list></s></kavex>
$ {kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l
    kvio_size, kvio_real_size: 3 0
    kvio_check_loop: 0 0
    kvio_retrieve_all, kvio_retrieve_all2: 1 of 3 s/t=ab 0
$ kvio_regain_index l {1,2,3}
    1, 2: 0 - "ab\0"
    3: 1 - "k\0"
$ kvio_retrieve_index l {1,2}
    1, 2: s/t=ab 0

# A single entity is looked for by the type that the document says. The identity of a handle is that of its opening:
# renamed to the name of another one, it is not that other one.
> <t name="a"/><t name="b"/><list name="l" type="t"><entity>a</entity></list>
> <list name="k" type="t"><entity>b</entity><container>l</container></list>
$ kvio_setattr_container l type u[
    1 0
    - 3 <list name="l" type="t"><entity>a</entity></list>
    + 3 <list name="l" type="u["><entity>a</entity></list>
$ kvio_retrieve_index l 1
    null 8
    err kvio_retrieve_index error on xmlXPathEvalExpression()
$ kvio_unsetattr_container l type
    1 0
    - 3 <list name="l" type="u["><entity>a</entity></list>
    + 3 <list name="l"><entity>a</entity></list>
$ kvio_retrieve_index l 1
    null 7
    err kvio_retrieve_index() fatal error: container is broken
$ kvio_setattr_container l type t
    1 0
    - 3 <list name="l"><entity>a</entity></list>
    + 3 <list name="l" type="t"><entity>a</entity></list>
$ kvio_setattr_container k name l
    1 0
    - 4 <list name="k" type="t"><entity>b</entity><container>l</container></list>
    + 4 <list name="l" type="t"><entity>b</entity><container>l</container></list>
$ kvio_check_loop k
    0 0
$ kvio_retrieve_all k
    2 of 2 s/t[2]=b s/t[1]=a 0

# Arrays are one block.
$ kvio_alloc_entities {-1,0,1000}
    -1: null -
    0: 0 of 0 -
    1000: 0 of 1000 -
$ array = kvio_retrieve_all2 l
    1 of 1 s/t[1]=a 0
$ kvio_free_entities array
    void 0
$ kvio_free_entities NULL
    void 0
