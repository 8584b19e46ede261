let absent = kvio_container_create_template(~a.xml): scope:[s] list:[k] type:[t] is not existed
let data = @() warning: check data integrity
let range = 14: @() error: out of range
# Members of both kinds have a place. Entities are resolved each once, those of a nested container in its place.
> <t name="A"/><t name="B"/><t name="C"/><list name="m" type="t"><entity>C</entity><entity>A</entity></list>
> <list name="l" type="t"><entity>A</entity><container>m</container><entity>B</entity></list>
{kvio_size,kvio_real_size} {l,m} = 3 | 2 | 4 | 2 -
{kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l = 0 | 3 of 4 s/t[1]=A s/t[3]=C s/t[2]=B
kvio_regain_index l {0,1,2,3,4,4294967295} = -1 <range> | 0 - "A\0" | 1 - "m\0" | 0 - "B\0" | -1 <range>
kvio_regain_index2 l 2 {0,1,2,3} = 1 - | 1 - "\0" | 1 - "m\0" | 1 - "m\0\0"
kvio_retrieve_index l {0,1,2,3,4294967295} = null <range> | s/t[1]=A | s/t[2]=B | null <range>
# A member whose entity is gone is left out of all, and is no one. Of two entities of a name each member takes the next.
kvio_undefine c s t A = 1
kvio_setattr_entity B name C = 1
kvio_append m C = 1
{kvio_retrieve_all,kvio_retrieve_all2} {l,m} = 2 of 5 s/t[1]=C s/t[2]=C | 2 of 3 s/t[1]=C s/t[2]=C | 2 of 5 s/t[1]=C
    s/t[2]=C | 2 of 3 s/t[1]=C s/t[2]=C
kvio_retrieve_index m {1,2} = null 7: @() fatal error: entity not existed or multiple instances
# The identity of a handle is that of its opening: renamed to the name of another container, it is not that one.
kvio_setattr_container l name m = 1
kvio_check_loop l = 0
array = kvio_retrieve_all2 l = 2 of 5 s/t[1]=C s/t[2]=C
kvio_free_entities {array,NULL} = void
kvio_alloc_entities {-1,0,1000} = null - | 0 of 0 - | 0 of 1000 -
< <t name="C"/><t name="C"/><list name="m" type="t"><entity>C</entity><entity>A</entity><entity>C</entity></list>
< <list name="m" type="t"><entity>A</entity><container>m</container><entity>B</entity></list>

# A container of another kind or type is absent. A member without text names nothing.
> <!DOCTYPE kavex [<!ENTITY e "b">]><kavex><s><t name="ab"/><list name="k" type="u"/><group name="k" type="t"/>
> <list name="l" type="t"><entity>&#97;&e;</entity><container>k<!-- --></container></list><list name="m" type="t"><o/>
> <entity/><entity>ab</entity></list><list name="n" type="t"><container/></list><list name="over" type="t">
> <container>l</container></list></s></kavex>
{kvio_size,kvio_check_loop,kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} {l,over,m,n} = 2 | 1 | 2: <data> | 1 |
    -1: <absent> | 0: <absent> | 0 | -1 | -1 22: <absent> | 0 22: <absent> | 2 - | -1 20 | null 19: <absent> | null 23:
    <absent> / <absent> / <absent> | null 23 | null 19 | null 23: <absent> | null 23: <absent> / <absent> | null 23
kvio_regain_index {l,m,n} {1,2} = 0 - "ab\0" | 1 - "k\0" | -1 20: @() fatal error: empty item | 0 - "ab\0" | -1 20: @()
    fatal error: empty item | -1 <range>
kvio_retrieve_index {l,m} {1,2} = s/t=ab | null <range> | null 15: @() fatal error: empty entity | s/t=ab
kvio_unsetattr_container m type = 1
kvio_retrieve_index m 2 = null 7: @() fatal error: container is broken
kvio_setattr_container m type u[ = 1
kvio_retrieve_index m 2 = null 8: @ error on xmlXPathEvalExpression()
kvio_setattr_container m type t = 1
