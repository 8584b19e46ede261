let null = 13: @() error: NULL iterator
let bad = 13: @() error: bad iterator, no container
let read = 11: @() error: read-only iterator
let data = @() warning: check data integrity
let content = 8: @ error on xmlNodeSetContent()
# What joins must be new under either kind; what is appended need not be. It is numbered by the entities there are.
> <!DOCTYPE kavex [<!ENTITY known "k">]><kavex><s><list name="l" type="t"><entity>a</entity><!-- c --><other>o</other>
> <container>b</container></list><list name="m" type="t"><entity>old</entity></list><list name="k" type="t">
> <other>a</other><container>a</container><entity>a</entity><entity>x<!-- -->y</entity><entity><![CDATA[z]]></entity>
> <entity/></list></s></kavex>
kvio_join l {a,b} {0,1} = 0 10: @ error: a is already existed | ^ | 0 10: @ error: b is already existed
kvio_join l o 0 = 1
kvio_join l {A,""} -2147483648 = 1
kvio_join l {"",NULL} 1 = 0 10: @ error:  is already existed | 0 <content>
kvio_append l {"",a,a,NULL} = 1
# Joined, inserted and changed names are read as character data, appended ones are as they stand.
kvio_join m {a&lt;b&#65;&#x42;,"<\"'>",x&#10;y,&#x10FFFF;,&known;} 1 = 1
kvio_change_container_element m old c&#65; = 1
kvio_join m {AT&T,a&,&foo;,a&;b,&;,&#;,&#x;,&#0;,&#xD800;,&#x110000;,"&# 65;",&#4294967361;,&#-1;,&#0x41;,&#65} 1 = 0
    <content>
kvio_insert m {AT&T,&lt;} 1 = 0 <content> | 1
kvio_change_container_element m cA {AT&T,NULL} = 0 <content>
kvio_append m {a&lt;b&#65;,&known;,a&,&amp;&bar;} = 1
# The first member of the name is meant, whatever its kind and however it is written.
kvio_join k xy 1 = 0 10: @ error: xy is already existed
kvio_change_container_element k {a,xy,"",xy,NULL} n = 1 | ^ | ^ | 0 22
kvio_remove k {a,z,n,a,NULL} = 1 | ^ | ^ | 0 22: @() error: a is not existed | 0 22: @() error: (null) is not existed
< <list name="l" type="t"><entity>a</entity><!-- c --><other>o</other><container>b</container><container>o</container>
< <entity>A</entity><entity/><entity>#4</entity><entity>a</entity><entity>a</entity><entity>#7</entity></list>
< <list name="m" type="t"><entity>&lt;</entity><entity>cA</entity><entity>a&lt;bAB</entity><entity>&lt;"'&gt;</entity>
< <entity>x\ny</entity><entity>&#x10FFFF;</entity><entity>&known;</entity><entity>a&amp;lt;b&amp;#65;</entity>
< <entity>&amp;known;</entity><entity>a&amp;</entity><entity>&amp;amp;&amp;bar;</entity></list><list name="k" type="t">
< <other>a</other><entity>n</entity><entity>n</entity></list>

# Positions count all elements, with a warning for each one on the way that is no entity.
> <list name="l" type="t" a="1">&#10;<entity>a</entity><!-- -->&#10;<container>G</container><o/><entity>b</entity>&#10;
> </list><list name="k" type="t"/>
kvio_insert l x {0,-1,6} = 0 14: <data> / <data> / @() error: out of range
kvio_insert l {"",NULL} 5 = 1: <data> / <data>
kvio_insert l NULL {3,2,1} = 1: <data> / <data> | 1: <data> | 1
kvio_delete l {0,-1,10,7,1} = 0 14: <data> / <data> / @() error: out of range | ^ | ^ | 1: <data> / <data> | 1
kvio_delete k {1,2147483647,-2147483648} = 0 14: @() error: out of range
kvio_insert k x {2,1} = 0 14: @() error: out of range | 1
# Handles of a snapshot read and do not write. Damaged ones, without a container, complain in their own spelling.
snapshot = kvio_restore_scope /etc/kavex/conf/a.xml = ~a.xml
r = kvio_open_list snapshot s t l = s/list[1]=l
d = kvio_open_list snapshot s t l = s/list[1]=l
damage d
damage l
{kvio_change_container_element,kvio_setattr_container} {NULL,l,r,d} a 2 = 0 <null> | 0 13: @ () error: bad iterator, no
    container assoicaited | 0 <read> | ^ | 0 <null> | 0 <bad> associated | 0 <read>
{kvio_join,kvio_insert} {l,r} n 1 = 0 <bad> assoiciated | 0 <read> | 0 <bad> assoicaited | 0 <read>
{kvio_remove,kvio_append,kvio_unsetattr_container,kvio_delete} {l,r} 1 = 0 <bad> assoiciated | 0 <read> | 0 13: @ ()
    error: bad iterator, no container assoicaited | 0 <read> | 0 <bad> associated | 0 <read> | 0 <bad> associated | 0
    <read>
{kvio_getattr_container,kvio_regain_index,kvio_retrieve_index} l 1 = 0 <bad> assoiciated | -1 <bad> associated | null
    <bad> associated
{kvio_getattr_container2,kvio_regain_index2} {l,r} 1 8 = 0 <bad> assoiciated | 1 "\0" | -1 <bad> associated | 0 -
    "a\0\0\0\0\0\0\0"
{kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l = -1 <bad> associated | ^ | -1:
    do_kvio_check_loop() error: bad iterator, no container associated | null 19: do_kvio_check_loop() error: bad
    iterator, no container associated | null 23: kvio_real_size() error: bad iterator, no container associated
{kvio_real_size,kvio_retrieve_all,kvio_retrieve_all2} NULL = -1 <null> | null 19: do_kvio_check_loop() error: NULL
    iterator | null 23: kvio_real_size() error: NULL iterator
< <list name="l" type="t" a="1"><entity>a</entity><!-- --><entity>#2</entity><container>G</container><entity>#3</entity>
< <o/><entity>#5</entity><entity>#5</entity></list><list name="k" type="t"><entity>x</entity></list>
