let absent = kvio_container_create_template(~a.xml): scope:[s] list:[k] type:[t] is not existed
let range = @() error: out of range
# Members of both kinds have a place, entities are resolved where they stand, each once. The entities of a nested
# container stand in its place.
> <t name="A"/><t name="B"/><t name="C"/><list name="l" type="t"><entity>A</entity><container>l2</container><entity>B</entity></list>
> <list name="l2" type="t"><entity>C</entity><entity>A</entity></list>
{kvio_size,kvio_real_size} {l,l2} = 3 | 2 | 4 | 2 -
kvio_check_loop {l,l2,l} = 0
{kvio_retrieve_all,kvio_retrieve_all2} {l,l2} = 3 of 4 s/t[1]=A s/t[3]=C s/t[2]=B | 2 of 2 s/t[3]=C s/t[1]=A | 3 of 4
    s/t[1]=A s/t[3]=C s/t[2]=B | 2 of 2 s/t[3]=C s/t[1]=A
kvio_regain_index l {0,1,2,3,4,4294967295} = -1 14: <range> | 0 - "A\0" | 1 - "l2\0" | 0 - "B\0" | -1 14: <range>
kvio_regain_index2 l 2 {0,1,2,3,5} = 1 - | 1 - "\0" | 1 - "l\0" | 1 - "l2\0" | 1 - "l2\0\0\0"
kvio_regain_index2 l {0,4} 8 = -1 14: <range>
kvio_retrieve_index l {0,1,2,3,4294967295} = null 14: <range> | s/t[1]=A | s/t[2]=B | null 14: <range>
# What is there now is read. A member whose entity is gone is left out of all, and is no one. Of two entities of a name
# each member takes the next one.
kvio_undefine c s t A = 1
kvio_retrieve_all l = 2 of 4 s/t[2]=C s/t[1]=B
kvio_retrieve_index l 1 = null 7: @() fatal error: entity not existed or multiple instances
kvio_set B f v = 1
kvio_setattr_entity B name C = 1
kvio_retrieve_all l = 1 of 4 s/t[1]=C
kvio_join l2 C 1 = 0 10: @ error: C is already existed
kvio_append l2 C = 1
kvio_retrieve_all l2 = 2 of 3 s/t[1]=C s/t[2]=C
kvio_retrieve_index l2 1 = null 7: @() fatal error: entity not existed or multiple instances
< <t name="C"><f>v</f></t><t name="C"/><list name="l" type="t"><entity>A</entity><container>l2</container>
< <entity>B</entity></list><list name="l2" type="t"><entity>C</entity><entity>A</entity><entity>C</entity></list>

# Loops, and containers there are two ways to, which count as one.
> <t name="a"/><group name="g" type="t"><container>h</container></group><group name="h" type="t"><container>g</container></group>
> <group name="top" type="t"><container>l</container><container>r</container></group>
> <group name="l" type="t"><container>b</container></group><group name="r" type="t"><container>b</container></group>
> <group name="b" type="t"><entity>a</entity></group><group name="self" type="t"><container>self</container></group>
kvio_check_loop {g,h,self,top,b,top} = 1 | ^ | ^ | ^ | 0 | 1
{kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} g = -1 19 | null 19
{kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} top = 2 | null 19 | 1 of 2 s/t=a

# Containers that are named and absent: of another kind, of another type.
> <t name="a"/><list name="l" type="t"><entity>a</entity><container>k</container></list><group name="k" type="t"/>
> <list name="k" type="u"/><list name="over" type="t"><container>l</container></list>
> <table name="t" type="t"><entity>a</entity><container>k</container></table>
{kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} l = 2 | -1: <absent> | -1 22: <absent> |
    null 19: <absent> | null 23: <absent>
{kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} over = 1 | 0: <absent> | 0 22: <absent>
    | null 23: <absent> / <absent> / <absent> | null 23: <absent> / <absent>
{kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} t = 2 | -1:
    kvio_container_create_template(~a.xml): scope:[s] table:[k] type:[t] is not existed | 2 | null 23:
    kvio_container_create_template(~a.xml): scope:[s] table:[k] type:[t] is not existed
kvio_regain_index t {1,2,3} = 0 - "a\0" | 1 - "k\0" | -1 14: <range>
kvio_retrieve_index t {1,2} = s/t=a | null 14: <range>

# A table counts a nested one as one member; there is room for what it leads to nevertheless. It is not checked for loops.
> <t name="a"/><t name="b"/><table name="m" type="t"><container>n</container></table>
> <table name="n" type="t"><entity>a</entity><entity>b</entity></table><table name="o" type="t"><container>o</container></table>
kvio_real_size {m,o} = 1
{kvio_retrieve_all,kvio_retrieve_all2} m = 2 of 2 s/t[1]=a s/t[2]=b
{kvio_retrieve_all,kvio_retrieve_all2} o = null 19

# Members without text, and elements that are no members.
> <t name="a"/><list name="l" type="t"><o/><entity/><entity>a</entity><o/></list><list name="k" type="t"><container/></list>
kvio_size l = 2: @() warning: check data integrity / @() warning: check data integrity
{kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} {l,k} = 2 - | -1 20 | 0 | -1 | null 23 | null 19 |
    null 23
kvio_regain_index {l,k} 1 = -1 20: @() fatal error: empty item
kvio_regain_index2 {l,k} 1 8 = -1 20: @() fatal error: empty item
kvio_retrieve_index l {1,2,3} = null 15: @() fatal error: empty entity | s/t=a | null 14: <range>

# Names are what the elements say, in however many pieces.
> <!DOCTYPE kavex [<!ENTITY e "b">]><kavex><s><t name="ab"/><list name="l" type="t"><entity>a<!-- -->b</entity>
> <entity><![CDATA[a]]>&e;</entity><container>k<!-- --></container></list><list name="k" type="t"><entity>&#97;&e;</entity></list></s></kavex>
{kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l = 3 | ^ | 0 | 1 of 3 s/t=ab
kvio_regain_index l {1,2,3} = 0 - "ab\0" | ^ | 1 - "k\0"
kvio_retrieve_index l {1,2} = s/t=ab

# A single entity is looked for by the type that the document says. The identity of a handle is that of its opening:
# renamed to the name of another one, it is not that other one.
> <t name="a"/><t name="b"/><list name="l" type="t"><entity>a</entity></list>
> <list name="k" type="t"><entity>b</entity><container>l</container></list>
kvio_setattr_container l type u[ = 1
kvio_retrieve_index l 1 = null 8: @ error on xmlXPathEvalExpression()
kvio_unsetattr_container l type = 1
kvio_retrieve_index l 1 = null 7: @() fatal error: container is broken
kvio_setattr_container l type t = 1
kvio_setattr_container k name l = 1
{kvio_check_loop,kvio_retrieve_all} k = 0 | 2 of 2 s/t[2]=b s/t[1]=a
# Arrays are one block.
kvio_alloc_entities {-1,0,1000} = null - | 0 of 0 - | 0 of 1000 -
array = kvio_retrieve_all2 l = 1 of 1 s/t[1]=a
kvio_free_entities {array,NULL} = void
< <t name="a"/><t name="b"/><list name="l" type="t"><entity>a</entity></list><list name="l" type="t"><entity>b</entity>
< <container>l</container></list>
