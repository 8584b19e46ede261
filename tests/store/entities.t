# An entity is defined behind all others, once for each type.
> <u name="e"/><t name="first"><f>v</f></t>
$ kvio_define c s t e
    1 0
    + 3 <t name="e"/>
$ kvio_define c s t e
    0 10
    err do_kvio_define(/etc/kavex/conf/a.xml): scope:[s] type:[t] name:[e] is existed
$ kvio_define2 c s t e
    null 10
    err do_kvio_define(/etc/kavex/conf/a.xml): scope:[s] type:[t] name:[e] is existed
$ n = kvio_define2 c s t n
    s/t[3]=n 0
    + 4 <t name="n"/>
$ kvio_set n f v
    1 0
    - 4 <t name="n"/>
    + 4 <t name="n"><f>v</f></t>
$ kvio_define c s t {"",""}
    "": 1 0
    + 5 <t name=""/>
    "": 0 10
    err do_kvio_define(/etc/kavex/conf/a.xml): scope:[s] type:[t] name:[] is existed
$ kvio_define c s t "a\"b'<&amp;]"
    1 0
    + 6 <t name="a&quot;b'&lt;&amp;amp;]"/>
$ kvio_define c s {NULL,""} e
    NULL, "": 0 8
    err do_kvio_define error on xmlNewNode(): no memory?
$ kvio_define c s t NULL
    0 8
    err do_kvio_define error on xmlNewProp(): no memory?
$ kvio_define c none t e
    0 7
    err do_kvio_define fatal error: scope not existed or multiple instances
$ kvio_undefine c s t {e,e,""}
    e: 1 0
    - 3 <t name="e"/>
    e: 0 22
    err kvio_undefine error: entity not existed
    "": 1 0
    - 4 <t name=""/>
# What names it stays.
> <t name="e"><f>1</f></t><t name="d" i="1"/><t name="d" i="2"/><list name="l" type="t"><entity>e</entity></list>
$ kvio_undefine c s t e
    1 0
    - 1 <t name="e"><f>1</f></t>
$ kvio_undefine c s t {d,none,NULL}
    d: 0 7
    err kvio_undefine fatal error: multiple instances
    none, NULL: 0 22
    err kvio_undefine error: entity not existed
$ kvio_define NULL s t e
    0 6
$ kvio_define2 NULL s t e
    null 6
$ kvio_undefine NULL s t e
    0 6

# A value keeps its place, a new one is the last. The text is taken literally.
> <t name="e"><f>1</f>text<g>2</g></t>
$ kvio_set e f new
    1 0
    - 1 <f>1</f>
    + 1 <f>new</f>
$ kvio_set e h 3
    1 0
    + 4 <h>3</h>
$ kvio_set e text 4
    1 0
    + 5 <text>4</text>
$ kvio_set e f ""
    1 0
    - 1 <f>new</f>
    + 1 <f></f>
$ kvio_set e g "a&b<c>]]>\"'&amp;&#65;"
    1 0
    - 3 <g>2</g>
    + 3 <g>a&amp;b&lt;c&gt;]]&gt;"'&amp;amp;&amp;#65;</g>
$ kvio_get e g
    1 0 "a&b<c>]]>"'&amp;&#65;\0"
$ kvio_set2 e g &x;
    1 0
    - 3 <g>a&amp;b&lt;c&gt;]]&gt;"'&amp;amp;&amp;#65;</g>
    + 3 <g>&amp;x;</g>
$ kvio_set2 e i ""
    1 0
    + 6 <i></i>
$ kvio_unset e {g,j}
    g: 1 0
    - 3 <g>&amp;x;</g>
    + 3 <g></g>
    j: 1 0
    + 7 <j></j>
> <t name="e"><f/><f>2</f></t>
$ kvio_set e f 1
    1 0
    - 1 <f/>
    + 1 <f>1</f>

# Only the first child goes, and the value is appended.
> <!DOCTYPE kavex [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e"><a><!--c--></a><b><!--c-->old</b><d>old<!--c--></d><f>old<x/>tail</f><g>old<![CDATA[c]]></g><h>old&e;</h></t></s></kavex>
$ kvio_set e {a,b,d,f,g,h} v
    a: 1 0
    - 1 <a><!--c--></a>
    + 1 <a>v</a>
    b: 1 0
    - 2 <b><!--c-->old</b>
    + 2 <b>oldv</b>
    d: 1 0
    - 3 <d>old<!--c--></d>
    + 3 <d><!--c-->v</d>
    f: 1 0
    - 4 <f>old<x/>tail</f>
    + 4 <f><x/>tailv</f>
    g: 1 0
    - 5 <g>old<![CDATA[c]]></g>
    + 5 <g><![CDATA[c]]>v</g>
    h: 1 0
    - 6 <h>old&e;</h>
    + 6 <h>&e;v</h>
> <!DOCTYPE kavex [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e"><a><!--c--></a><b><!--c-->old</b><d>old<!--c--></d><f>old<x/>tail</f><g>old<![CDATA[c]]></g><h>old&e;</h></t></s></kavex>
$ kvio_set2 e {a,b,d,f,g,h} v
    a: 1 0
    - 1 <a><!--c--></a>
    + 1 <a>v</a>
    b: 1 0
    - 2 <b><!--c-->old</b>
    + 2 <b>oldv</b>
    d: 1 0
    - 3 <d>old<!--c--></d>
    + 3 <d><!--c-->v</d>
    f: 1 0
    - 4 <f>old<x/>tail</f>
    + 4 <f><x/>tailv</f>
    g: 1 0
    - 5 <g>old<![CDATA[c]]></g>
    + 5 <g><![CDATA[c]]>v</g>
    h: 1 0
    - 6 <h>old&e;</h>
    + 6 <h>&e;v</h>

# The value is what the first child says.
> <!DOCTYPE kavex SYSTEM "none.dtd" [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e">text<!--f--><?f no?><a/><b> v&#10;</b><b>2</b><c>&lt;&amp;&#233;</c><d><!--c-->v</d><f><!----></f><g><![CDATA[<c>]]>v</g><h><b>1<c>2</c></b>v</h>
> <i><?p i?></i><j><?p?></j><k>&e;v</k><l>&undeclared;v</l><n:m xmlns:n="urn:n">v</n:m></t></s></kavex>
$ kvio_get e {a,b,c,d,f,g,h,i,j,k,l,m}
    a: 1 0 "\0"
    b: 1 0 " v\n\0"
    c: 1 0 "<&é\0"
    d: 1 0 "c\0"
    f: 1 0 "\0"
    g: 1 0 "<c>\0"
    h: 1 0 "12\0"
    i: 1 0 "i\0"
    j: 1 0 "\0"
    k: 1 0 "an <entity>\0"
    l: 1 0 "\0"
    m: 1 0 "v\0"
$ kvio_get2 e {a,b,c,d,f,g,h,i,j,k,l,m} 8
    a: 1 0 "\0"
    b: 1 0 " v\n\0\0\0\0\0"
    c: 1 0 "<&é\0\0\0\0"
    d: 1 0 "c\0\0\0\0\0\0\0"
    f: 1 0 "\0\0\0\0\0\0\0\0"
    g: 1 0 "<c>\0\0\0\0\0"
    h: 1 0 "12\0\0\0\0\0\0"
    i: 1 0 "i\0\0\0\0\0\0\0"
    j: 1 0 "\0\0\0\0\0\0\0\0"
    k: 1 0 "an <ent\0"
    l: 1 0 "\0\0\0\0\0\0\0\0"
    m: 1 0 "v\0\0\0\0\0\0\0"
$ kvio_getlen e {a,b,c,d,f,g,h,i,j,k,l,m}
    a: 1 0 =0
    b: 1 0 =3
    c: 1 0 =4
    d: 1 0 =1
    f: 1 0 =0
    g: 1 0 =3
    h: 1 0 =2
    i: 1 0 =1
    j: 1 0 =0
    k: 1 0 =11
    l: 1 0 =0
    m: 1 0 =1

# What is refused.
> <t name="e"><f>1</f></t>
$ kvio_get e {g,text,F,"",NULL}
    g: 0 22
    err kvio_get() error: element 'g' is not found
    text: 0 22
    err kvio_get() error: element 'text' is not found
    F: 0 22
    err kvio_get() error: element 'F' is not found
    "": 0 22
    err kvio_get() error: element '' is not found
    NULL: 0 22
    err kvio_get() error: element '(null)' is not found
$ kvio_get2 e {g,""} 8
    g: 0 22
    err kvio_get2() error: element 'g' is not found
    "": 0 22
    err kvio_get2() error: element '' is not found
$ kvio_getlen e {g,""}
    g: 0 22
    err kvio_getlen() error: element 'g' is not found
    "": 0 22
    err kvio_getlen() error: element '' is not found
$ kvio_set e {"",NULL} v
    "", NULL: 0 8
    err kvio_set() error on xmlNewTextChild()
$ kvio_set e f NULL
    0 8
    err kvio_set() error on xmlNewTextChild()
$ kvio_set2 e {"",NULL} v
    "": 0 8
    err kvio_set2() error on xmlNewTextChild()
    NULL: 0 -
    err can not alloc memory for name
$ kvio_set2 e f NULL
    0 -
    err can not alloc memory for value
$ kvio_unset e ""
    0 8
    err kvio_set() error on xmlNewTextChild()
$ kvio_set NULL f v
    0 15
    err kvio_set() error: NULL entity
$ kvio_unset NULL f
    0 15
    err kvio_set() error: NULL entity
$ kvio_set2 NULL {f,NULL} v
    f: 0 15
    err kvio_set2() error: NULL entity
    NULL: 0 -
    err can not alloc memory for name
$ kvio_get NULL f
    0 15
    err kvio_get() error: NULL entity
$ kvio_get2 NULL f 8
    0 15
    err kvio_get2() error: NULL entity
$ kvio_getlen NULL f
    0 15
    err kvio_getlen() error: NULL entity
$ kvio_name NULL
    0 15
    err kvio_name() error: NULL entity
$ kvio_name2 NULL 8
    0 15
    err kvio_name2() error: NULL entity
$ kvio_compare_name NULL e
    0 15
    err kvio_compare_name() error: NULL entity

# A size is the whole buffer's: what a text leaves of it is zeros, and only the first byte where there is nothing.
> <t name="abcdef"><f>abcdef</f><none/></t>
$ kvio_unset abcdef empty
    1 0
    + 3 <empty></empty>
$ kvio_get2 abcdef f {0,1,4,6,7,8}
    0: 1 0
    1: 1 0 "\0"
    4: 1 0 "abc\0"
    6: 1 0 "abcde\0"
    7: 1 0 "abcdef\0"
    8: 1 0 "abcdef\0\0"
$ kvio_get2 abcdef {empty,none} {0,1,4}
    empty 0: 1 0
    empty 1: 1 0 "\0"
    empty 4: 1 0 "\0\0\0\0"
    none 0: 1 0
    none 1, none 4: 1 0 "\0"
$ kvio_name2 abcdef {0,1,4,6,7,8}
    0: 1 0
    1: 1 0 "\0"
    4: 1 0 "abc\0"
    6: 1 0 "abcde\0"
    7: 1 0 "abcdef\0"
    8: 1 0 "abcdef\0\0"
$ kvio_name abcdef
    1 0 "abcdef\0"

# Names are compared as they are; other attributes are none.
> <t name="e"/><a k="e"/><b Name="e"/><d xmlns:n="urn:n" n:name="e"/>
$ kvio_compare_name e {e,E,"",ee,NULL}
    e: 1 0
    E, "", ee, NULL: 0 0
$ kvio_compare_name {a,b,d} e
    a, b, d: 0 0
$ kvio_name {a,b,d}
    a, b, d: 0 7
    err kvio_name() fatal error: attribute 'name' is missed
$ kvio_name2 {a,b,d} 8
    a, b, d: 0 7
    err kvio_name2() fatal error: attribute 'name' is missed
