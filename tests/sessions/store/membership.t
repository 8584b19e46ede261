let null = @() error: NULL iterator
let bad = @() error: bad iterator, no container
let data = @() warning: check data integrity
let content = @ error on xmlNodeSetContent()
# What joins must be new under either kind; what is appended need not be. It is numbered by the entities there are.
> <list name="l" type="t"><entity>a</entity><!-- c --><other>o</other><container>b</container></list>
kvio_join l {a,b} {0,1} = 0 10: @ error: a is already existed | ^ | 0 10: @ error: b is already existed
kvio_join l NULL 1 = 0 8: <content>
kvio_join l o 0 = 1
kvio_join l A -1 = 1
kvio_join l "" {-2147483648,0} = 1 | 0 10: @ error:  is already existed
kvio_append l {"",NULL,a,a,""} = 1
< <list name="l" type="t"><entity>a</entity><!-- c --><other>o</other><container>b</container><container>o</container>
< <entity>A</entity><entity/><entity>#4</entity><entity>#5</entity><entity>a</entity><entity>a</entity>
< <entity>#8</entity></list>

# Joined, inserted and changed names are read as character data, appended ones are as they stand.
> <!DOCTYPE kavex [<!ENTITY known "k">]><kavex><s><list name="l" type="t"><entity>old</entity></list></s></kavex>
{kvio_join,kvio_insert} l {a&lt;b&#65;&#x42;,"<\"'>",x&#10;y,&#x10FFFF;,&known;} 1 = 1
< <list name="l" type="t"><entity>&known;</entity><entity>&#x10FFFF;</entity><entity>x\ny</entity>
< <entity>&lt;"'&gt;</entity><entity>a&lt;bAB</entity><entity>old</entity><entity>a&lt;bAB</entity>
< <entity>&lt;"'&gt;</entity><entity>x\ny</entity><entity>&#x10FFFF;</entity><entity>&known;</entity></list>

> <!DOCTYPE kavex [<!ENTITY known "k">]><kavex><s><list name="l" type="t"><entity>old</entity></list></s></kavex>
kvio_change_container_element l old a&lt;b&#65;&#x42; = 1
kvio_change_container_element l a<bAB "<\"'>" = 1
kvio_change_container_element l "<\"'>" &known; = 1
kvio_append l {a&lt;b&#65;&#x42;,"<\"'>",x&#10;y,&known;,AT&T,a&,&#;,&amp;&bar;} = 1
kvio_regain_index l {2,6,9} = 0 - "a&lt;b&#65;&#x42;\0" | 0 - "AT&T\0" | 0 - "&amp;&bar;\0"
< <list name="l" type="t"><entity>&known;</entity><entity>a&amp;lt;b&amp;#65;&amp;#x42;</entity>
< <entity>&lt;"'&gt;</entity><entity>x&amp;#10;y</entity><entity>&amp;known;</entity><entity>AT&amp;T</entity>
< <entity>a&amp;</entity><entity>&amp;#;</entity><entity>&amp;amp;&amp;bar;</entity></list>

# What is no such data is refused.
> <list name="l" type="t"><entity>old</entity></list>
{kvio_join,kvio_insert} l {AT&T,a&,&foo;,a&;b,&;,&amp;&bar;} 1 = 0 8: <content>
{kvio_join,kvio_insert} l {&#;,&#x;,&#0;,&#xD800;,&#x110000;,"&# 65;",&#99999999999999999999;,&#-1;,"&#x
    41;",&#0x41;,&#65} 1 = 0 8: <content>
kvio_change_container_element l old {AT&T,a&,&foo;,&#;,&#0;,&#x110000;,&#65,&amp;&bar;} = 0 8: <content>

# The first member of the name is meant, whatever its kind and however it is written.
> <list name="l" type="t"><entity>b</entity><other>a</other><container>a</container><entity>a</entity>
> <entity>x<!-- -->y</entity><entity><![CDATA[z]]></entity><entity/></list>
kvio_join l xy 1 = 0 10: @ error: xy is already existed
kvio_change_container_element l a n = 1
kvio_change_container_element l xy p = 1
kvio_change_container_element l "" q = 1
kvio_change_container_element l {xy,NULL} p = 0 22
kvio_change_container_element l a NULL = 0 8: <content>
kvio_remove l {a,z,n,a,NULL} = 1 | ^ | ^ | 0 22: @() error: a is not existed | 0 22: @() error: (null) is not existed
< <list name="l" type="t"><entity>b</entity><other>a</other><entity>p</entity><entity>q</entity></list>

# Positions count all elements, with a warning for each one on the way that is no entity.
> <list name="l" type="t">&#10;<entity>a</entity><!-- -->&#10;<container>G</container><o/>&#10;<entity>b</entity>&#10;</list>
kvio_insert l x {0,-1,6,2147483647,-2147483648} = 0 14: <data> / <data> / @() error: out of range
kvio_insert l {"",NULL} 5 = 1: <data> / <data>
kvio_insert l "" 3 = 1: <data> / <data>
kvio_insert l NULL 2 = 1: <data>
kvio_insert l {"",x} 1 = 1
< <list name="l" type="t"><entity>x</entity><entity>#1</entity><entity>a</entity><!-- --><entity>#2</entity>
< <container>G</container><entity>#3</entity><o/><entity>b</entity><entity>#5</entity><entity>#5</entity></list>

> <list name="l" type="t">&#10;<entity>a</entity><!-- -->&#10;<container>G</container><o/>&#10;<entity>b</entity>&#10;</list>
kvio_delete l {0,-1,5,2147483647,-2147483648,4,3,2,1,1} = 0 14: <data> / <data> / @() error: out of range | ^ | ^ | ^ |
    ^ | 1: <data> / <data> | ^ | 1: <data> | 1 | 0 14: @() error: out of range
kvio_insert l "" 2 = 0 14: @() error: out of range
kvio_insert l x 1 = 1
< <list name="l" type="t"><!-- --><entity>x</entity></list>

# A handle without a container, which only a damaged one is: each complains in its own spelling.
> <list name="l" type="t" a="1"><entity>m</entity></list>
damage l
kvio_join {NULL,l} n 1 = 0 13: <null> | 0 13: <bad> assoiciated
kvio_remove {NULL,l} m = 0 13: <null> | 0 13: <bad> assoiciated
kvio_change_container_element {NULL,l} m n = 0 13: <null> | 0 13: @ () error: bad iterator, no container assoicaited
kvio_append {NULL,l} n = 0 13: <null> | 0 13: @ () error: bad iterator, no container assoicaited
kvio_insert {NULL,l} n 1 = 0 13: <null> | 0 13: <bad> assoicaited
kvio_delete {NULL,l} 1 = 0 13: <null> | 0 13: <bad> associated
kvio_setattr_container {NULL,l} a 2 = 0 13: <null> | 0 13: <bad> associated
{kvio_unsetattr_container,kvio_getattr_container} {NULL,l} a = 0 13: <null> | 0 13: <bad> associated | 0 13: <null> | 0
    13: <bad> assoiciated
kvio_getattr_container2 {NULL,l} a 8 = 0 13: <null> | 0 13: <bad> assoiciated
{kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} NULL = -1 13: <null> | ^ | -1:
    do_kvio_check_loop() error: NULL iterator | null 19: do_kvio_check_loop() error: NULL iterator | null 23:
    kvio_real_size() error: NULL iterator
{kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l = -1 13: <bad> associated | ^ | -1:
    do_kvio_check_loop() error: bad iterator, no container associated | null 19: do_kvio_check_loop() error: bad
    iterator, no container associated | null 23: kvio_real_size() error: bad iterator, no container associated
kvio_regain_index {NULL,l} 1 = -1 13: <null> | -1 13: <bad> associated
kvio_regain_index2 {NULL,l} 1 8 = -1 13: <null> | -1 13: <bad> associated
kvio_retrieve_index {NULL,l} 1 = null 13: <null> | null 13: <bad> associated

# A snapshot's handles read and do not write. The null handle is noticed before, the missing container behind that.
> <list name="l" type="t" a="1"><entity>m</entity></list>
snapshot = kvio_restore_scope /etc/kavex/conf/a.xml = ~a.xml
r = kvio_open_list snapshot s t l = s/list=l
d = kvio_open_list snapshot s t l = s/list=l
damage d
kvio_join {r,d} n 1 = 0 11: @() error: read-only iterator
kvio_remove {r,d} m = 0 11: @() error: read-only iterator
kvio_change_container_element {r,d} m n = 0 11: @() error: read-only iterator
kvio_append {r,d} n = 0 11: @() error: read-only iterator
kvio_insert {r,d} n 1 = 0 11: @() error: read-only iterator
kvio_delete {r,d} 1 = 0 11: @() error: read-only iterator
kvio_setattr_container {r,d} a 2 = 0 11: @() error: read-only iterator
kvio_unsetattr_container {r,d} a = 0 11: @() error: read-only iterator
kvio_getattr_container r a = 1 "1\0"
kvio_regain_index r 1 = 0 - "m\0"
