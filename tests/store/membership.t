# What joins must be new under either kind; what is appended need not be. It is numbered by the entities there are.
> <list name="l" type="t"><entity>a</entity><!-- c --><other>o</other><container>b</container></list>
$ kvio_join l {a,b} {0,1}
    a 0, a 1: 0 10
    err kvio_join error: a is already existed
    b 0, b 1: 0 10
    err kvio_join error: b is already existed
$ kvio_join l NULL 1
    0 8
    err kvio_join error on xmlNodeSetContent()
$ kvio_join l o 0
    1 0
    + 5 <container>o</container>
$ kvio_join l A -1
    1 0
    + 6 <entity>A</entity>
$ kvio_join l "" -2147483648
    1 0
    + 7 <entity/>
$ kvio_join l "" 0
    0 10
    err kvio_join error:  is already existed
$ kvio_append l {"",NULL,a,a,""}
    "": 1 0
    + 8 <entity>#4</entity>
    NULL: 1 0
    + 9 <entity>#5</entity>
    a: 1 0
    + 10 <entity>a</entity>
    a: 1 0
    + 11 <entity>a</entity>
    "": 1 0
    + 12 <entity>#8</entity>

# Joined, inserted and changed names are read as character data, appended ones are as they stand.
> <!DOCTYPE kavex [<!ENTITY known "k">]><kavex><s><list name="l" type="t"><entity>old</entity></list></s></kavex>
$ {kvio_join,kvio_insert} l {a&lt;b&#65;&#x42;,"<\"'>",x&#10;y,&#x10FFFF;,&known;} 1
    kvio_join a&lt;b&#65;&#x42;: 1 0
    + 2 <entity>a&lt;bAB</entity>
    kvio_join "<\"'>": 1 0
    + 3 <entity>&lt;"'&gt;</entity>
    kvio_join x&#10;y: 1 0
    + 4 <entity>x\ny</entity>
    kvio_join &#x10FFFF;: 1 0
    + 5 <entity>&#x10FFFF;</entity>
    kvio_join &known;: 1 0
    + 6 <entity>&known;</entity>
    kvio_insert a&lt;b&#65;&#x42;: 1 0
    + 1 <entity>a&lt;bAB</entity>
    kvio_insert "<\"'>": 1 0
    + 1 <entity>&lt;"'&gt;</entity>
    kvio_insert x&#10;y: 1 0
    + 1 <entity>x\ny</entity>
    kvio_insert &#x10FFFF;: 1 0
    + 1 <entity>&#x10FFFF;</entity>
    kvio_insert &known;: 1 0
    + 1 <entity>&known;</entity>
> <!DOCTYPE kavex [<!ENTITY known "k">]><kavex><s><list name="l" type="t"><entity>old</entity></list></s></kavex>
$ kvio_change_container_element l old a&lt;b&#65;&#x42;
    1 0
    - 1 <entity>old</entity>
    + 1 <entity>a&lt;bAB</entity>
$ kvio_change_container_element l a<bAB "<\"'>"
    1 0
    - 1 <entity>a&lt;bAB</entity>
    + 1 <entity>&lt;"'&gt;</entity>
$ kvio_change_container_element l "<\"'>" &known;
    1 0
    - 1 <entity>&lt;"'&gt;</entity>
    + 1 <entity>&known;</entity>
$ kvio_append l {a&lt;b&#65;&#x42;,"<\"'>",x&#10;y,&known;,AT&T,a&,&#;,&amp;&bar;}
    a&lt;b&#65;&#x42;: 1 0
    + 2 <entity>a&amp;lt;b&amp;#65;&amp;#x42;</entity>
    "<\"'>": 1 0
    + 3 <entity>&lt;"'&gt;</entity>
    x&#10;y: 1 0
    + 4 <entity>x&amp;#10;y</entity>
    &known;: 1 0
    + 5 <entity>&amp;known;</entity>
    AT&T: 1 0
    + 6 <entity>AT&amp;T</entity>
    a&: 1 0
    + 7 <entity>a&amp;</entity>
    &#;: 1 0
    + 8 <entity>&amp;#;</entity>
    &amp;&bar;: 1 0
    + 9 <entity>&amp;amp;&amp;bar;</entity>
$ kvio_regain_index l {2,6,9}
    2: 0 - "a&lt;b&#65;&#x42;\0"
    6: 0 - "AT&T\0"
    9: 0 - "&amp;&bar;\0"
# What is no such data is refused.
> <list name="l" type="t"><entity>old</entity></list>
$ {kvio_join,kvio_insert} l {AT&T,a&,&foo;,a&;b,&;,&amp;&bar;} 1
    kvio_join AT&T, kvio_join a&, kvio_join &foo;, kvio_join a&;b, kvio_join &;, kvio_join &amp;&bar;: 0 8
    err kvio_join error on xmlNodeSetContent()
    kvio_insert AT&T, kvio_insert a&, kvio_insert &foo;, kvio_insert a&;b, kvio_insert &;, kvio_insert &amp;&bar;: 0 8
    err kvio_insert error on xmlNodeSetContent()
$ {kvio_join,kvio_insert} l {&#;,&#x;,&#0;,&#xD800;,&#x110000;,"&# 65;",&#99999999999999999999;,&#-1;,"&#x 41;",&#0x41;,&#65} 1
    kvio_join &#;, kvio_join &#x;, kvio_join &#0;, kvio_join &#xD800;, kvio_join &#x110000;, kvio_join "&# 65;", kvio_join &#99999999999999999999;, kvio_join &#-1;, kvio_join "&#x 41;", kvio_join &#0x41;, kvio_join &#65: 0 8
    err kvio_join error on xmlNodeSetContent()
    kvio_insert &#;, kvio_insert &#x;, kvio_insert &#0;, kvio_insert &#xD800;, kvio_insert &#x110000;, kvio_insert "&# 65;", kvio_insert &#99999999999999999999;, kvio_insert &#-1;, kvio_insert "&#x 41;", kvio_insert &#0x41;, kvio_insert &#65: 0 8
    err kvio_insert error on xmlNodeSetContent()
$ kvio_change_container_element l old {AT&T,a&,&foo;,&#;,&#0;,&#x110000;,&#65,&amp;&bar;}
    AT&T, a&, &foo;, &#;, &#0;, &#x110000;, &#65, &amp;&bar;: 0 8
    err kvio_change_container_element error on xmlNodeSetContent()

# The first member of the name is meant, whatever its kind and however it is written.
> <list name="l" type="t"><entity>b</entity><other>a</other><container>a</container><entity>a</entity>
> <entity>x<!-- -->y</entity><entity><![CDATA[z]]></entity><entity/></list>
$ kvio_change_container_element l a n
    1 0
    - 3 <container>a</container>
    + 3 <container>n</container>
$ kvio_change_container_element l xy p
    1 0
    - 5 <entity>x<!-- -->y</entity>
    + 5 <entity>p</entity>
$ kvio_change_container_element l "" q
    1 0
    - 7 <entity/>
    + 7 <entity>q</entity>
$ kvio_change_container_element l {xy,NULL} p
    xy, NULL: 0 22
$ kvio_change_container_element l a NULL
    0 8
    err kvio_change_container_element error on xmlNodeSetContent()
$ kvio_remove l {a,z,n}
    a: 1 0
    - 4 <entity>a</entity>
    z: 1 0
    - 5 <entity><![CDATA[z]]></entity>
    n: 1 0
    - 3 <container>n</container>
$ kvio_remove l {a,NULL}
    a: 0 22
    err kvio_remove() error: a is not existed
    NULL: 0 22
    err kvio_remove() error: (null) is not existed

# Positions count all elements, with a warning for each one on the way that is no entity.
> <list name="l" type="t">&#10;<entity>a</entity><!-- -->&#10;<container>G</container><o/>&#10;<entity>b</entity>&#10;</list>
$ kvio_insert l x {0,-1,6,2147483647,-2147483648}
    0, -1, 6, 2147483647, -2147483648: 0 14
    err kvio_insert() warning: check data integrity
    err kvio_insert() warning: check data integrity
    err kvio_insert() error: out of range
$ kvio_insert l "" 5
    1 0
    err kvio_insert() warning: check data integrity
    err kvio_insert() warning: check data integrity
    + 6 <entity>#5</entity>
$ kvio_insert l NULL 5
    1 0
    err kvio_insert() warning: check data integrity
    err kvio_insert() warning: check data integrity
    + 7 <entity>#5</entity>
$ kvio_insert l "" 3
    1 0
    err kvio_insert() warning: check data integrity
    err kvio_insert() warning: check data integrity
    + 4 <entity>#3</entity>
$ kvio_insert l NULL 2
    1 0
    err kvio_insert() warning: check data integrity
    + 3 <entity>#2</entity>
$ kvio_insert l "" 1
    1 0
    + 1 <entity>#1</entity>
$ kvio_insert l x 1
    1 0
    + 1 <entity>x</entity>
> <list name="l" type="t">&#10;<entity>a</entity><!-- -->&#10;<container>G</container><o/>&#10;<entity>b</entity>&#10;</list>
$ kvio_delete l {0,-1,5,2147483647,-2147483648}
    0, -1, 5, 2147483647, -2147483648: 0 14
    err kvio_delete() warning: check data integrity
    err kvio_delete() warning: check data integrity
    err kvio_delete() error: out of range
$ kvio_delete l 4
    1 0
    err kvio_delete() warning: check data integrity
    err kvio_delete() warning: check data integrity
    - 5 <entity>b</entity>
$ kvio_delete l 3
    1 0
    err kvio_delete() warning: check data integrity
    err kvio_delete() warning: check data integrity
    - 4 <o/>
$ kvio_delete l 2
    1 0
    err kvio_delete() warning: check data integrity
    - 3 <container>G</container>
$ kvio_delete l 1
    1 0
    - 1 <entity>a</entity>
$ kvio_delete l 1
    0 14
    err kvio_delete() error: out of range
$ kvio_insert l "" 2
    0 14
    err kvio_insert() error: out of range
$ kvio_insert l x 1
    1 0
    + 2 <entity>x</entity>

# A handle without a container, which only a damaged one is: each complains in its own spelling.
> <list name="l" type="t" a="1"><entity>m</entity></list>
damage l
$ kvio_join {NULL,l} n 1
    NULL: 0 13
    err kvio_join() error: NULL iterator
    l: 0 13
    err kvio_join() error: bad iterator, no container assoiciated
$ kvio_remove {NULL,l} m
    NULL: 0 13
    err kvio_remove() error: NULL iterator
    l: 0 13
    err kvio_remove() error: bad iterator, no container assoiciated
$ kvio_change_container_element {NULL,l} m n
    NULL: 0 13
    err kvio_change_container_element() error: NULL iterator
    l: 0 13
    err kvio_change_container_element () error: bad iterator, no container assoicaited
$ kvio_append {NULL,l} n
    NULL: 0 13
    err kvio_append() error: NULL iterator
    l: 0 13
    err kvio_append () error: bad iterator, no container assoicaited
$ kvio_insert {NULL,l} n 1
    NULL: 0 13
    err kvio_insert() error: NULL iterator
    l: 0 13
    err kvio_insert() error: bad iterator, no container assoicaited
$ kvio_delete {NULL,l} 1
    NULL: 0 13
    err kvio_delete() error: NULL iterator
    l: 0 13
    err kvio_delete() error: bad iterator, no container associated
$ kvio_setattr_container {NULL,l} a 2
    NULL: 0 13
    err kvio_setattr_container() error: NULL iterator
    l: 0 13
    err kvio_setattr_container() error: bad iterator, no container associated
$ kvio_unsetattr_container {NULL,l} a
    NULL: 0 13
    err kvio_unsetattr_container() error: NULL iterator
    l: 0 13
    err kvio_unsetattr_container() error: bad iterator, no container associated
$ kvio_getattr_container {NULL,l} a
    NULL: 0 13
    err kvio_getattr_container() error: NULL iterator
    l: 0 13
    err kvio_getattr_container() error: bad iterator, no container assoiciated
$ kvio_getattr_container2 {NULL,l} a 8
    NULL: 0 13
    err kvio_getattr_container2() error: NULL iterator
    l: 0 13
    err kvio_getattr_container2() error: bad iterator, no container assoiciated
$ {kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} NULL
    kvio_size: -1 13
    err kvio_size() error: NULL iterator
    kvio_real_size: -1 13
    err kvio_real_size() error: NULL iterator
    kvio_check_loop: -1 0
    err do_kvio_check_loop() error: NULL iterator
    kvio_retrieve_all: null 19
    err do_kvio_check_loop() error: NULL iterator
    kvio_retrieve_all2: null 23
    err kvio_real_size() error: NULL iterator
$ {kvio_size,kvio_real_size,kvio_check_loop,kvio_retrieve_all,kvio_retrieve_all2} l
    kvio_size: -1 13
    err kvio_size() error: bad iterator, no container associated
    kvio_real_size: -1 13
    err kvio_real_size() error: bad iterator, no container associated
    kvio_check_loop: -1 0
    err do_kvio_check_loop() error: bad iterator, no container associated
    kvio_retrieve_all: null 19
    err do_kvio_check_loop() error: bad iterator, no container associated
    kvio_retrieve_all2: null 23
    err kvio_real_size() error: bad iterator, no container associated
$ kvio_regain_index {NULL,l} 1
    NULL: -1 13
    err kvio_regain_index() error: NULL iterator
    l: -1 13
    err kvio_regain_index() error: bad iterator, no container associated
$ kvio_regain_index2 {NULL,l} 1 8
    NULL: -1 13
    err kvio_regain_index2() error: NULL iterator
    l: -1 13
    err kvio_regain_index2() error: bad iterator, no container associated
$ kvio_retrieve_index {NULL,l} 1
    NULL: null 13
    err kvio_retrieve_index() error: NULL iterator
    l: null 13
    err kvio_retrieve_index() error: bad iterator, no container associated

# A snapshot's handles read and do not write. The null handle is noticed before, the missing container behind that.
> <list name="l" type="t" a="1"><entity>m</entity></list>
$ snapshot = kvio_restore_scope /etc/kavex/conf/a.xml
    /etc/kavex/conf/a.xml 0
$ r = kvio_open_list snapshot s t l
    s/list=l 0
$ d = kvio_open_list snapshot s t l
    s/list=l 0
damage d
$ kvio_join {r,d} n 1
    r, d: 0 11
    err kvio_join() error: read-only iterator
$ kvio_remove {r,d} m
    r, d: 0 11
    err kvio_remove() error: read-only iterator
$ kvio_change_container_element {r,d} m n
    r, d: 0 11
    err kvio_change_container_element() error: read-only iterator
$ kvio_append {r,d} n
    r, d: 0 11
    err kvio_append() error: read-only iterator
$ kvio_insert {r,d} n 1
    r, d: 0 11
    err kvio_insert() error: read-only iterator
$ kvio_delete {r,d} 1
    r, d: 0 11
    err kvio_delete() error: read-only iterator
$ kvio_setattr_container {r,d} a 2
    r, d: 0 11
    err kvio_setattr_container() error: read-only iterator
$ kvio_unsetattr_container {r,d} a
    r, d: 0 11
    err kvio_unsetattr_container() error: read-only iterator
$ kvio_getattr_container r a
    1 0 "1\0"
$ kvio_regain_index r 1
    0 - "m\0"
