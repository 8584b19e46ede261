let null = @() error: NULL entity
# An entity is defined behind all others, once for each type.
> <u name="e"/><t name="first"><f>v</f></t>
kvio_define c s t e = 1
{kvio_define,kvio_define2} c s t e = 0 10: do_kvio_define(~a.xml): scope:[s] type:[t] name:[e] is existed | null 10:
    do_kvio_define(~a.xml): scope:[s] type:[t] name:[e] is existed
n = kvio_define2 c s t n = s/t[3]=n
kvio_set n f v = 1
kvio_define c s t {"","","a\"b'<&amp;]"} = 1 | 0 10: do_kvio_define(~a.xml): scope:[s] type:[t] name:[] is existed | 1
kvio_define c s {NULL,""} e = 0 8: do_kvio_define error on xmlNewNode(): no memory?
kvio_define c s t NULL = 0 8: do_kvio_define error on xmlNewProp(): no memory?
kvio_define c none t e = 0 7: do_kvio_define fatal error: scope not existed or multiple instances
kvio_undefine c s t {e,e,""} = 1 | 0 22: @ error: entity not existed | 1
< <u name="e"/><t name="first"><f>v</f></t><t name="n"><f>v</f></t><t name="a&quot;b'&lt;&amp;amp;]"/>

# What names it stays.
> <t name="e"><f>1</f></t><t name="d" i="1"/><t name="d" i="2"/><list name="l" type="t"><entity>e</entity></list>
kvio_undefine c s t {e,d,none,NULL} = 1 | 0 7: @ fatal error: multiple instances | 0 22: @ error: entity not existed
{kvio_define,kvio_define2,kvio_undefine} NULL s t e = 0 6 | null 6 | 0 6
< <t name="d" i="1"/><t name="d" i="2"/><list name="l" type="t"><entity>e</entity></list>

# A value keeps its place, a new one is the last. The text is taken literally.
> <t name="e"><f>1</f>text<g>2</g></t>
kvio_set e f new = 1
kvio_set e h 3 = 1
kvio_set e text 4 = 1
kvio_set e f "" = 1
kvio_set e g "a&b<c>]]>\"'&amp;&#65;" = 1
kvio_get e g = 1 "a&b<c>]]>"'&amp;&#65;\0"
kvio_set2 e g &x; = 1
kvio_set2 e i "" = 1
kvio_unset e {g,j} = 1
< <t name="e"><f></f>text<g></g><h>3</h><text>4</text><i></i><j></j></t>

> <t name="e"><f/><f>2</f></t>
kvio_set e f 1 = 1
< <t name="e"><f>1</f><f>2</f></t>

# Only the first child goes, and the value is appended.
> <!DOCTYPE kavex [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e"><a><!--c--></a><b><!--c-->old</b><d>old<!--c--></d><f>old<x/>tail</f><g>old<![CDATA[c]]></g><h>old&e;</h></t></s></kavex>
kvio_set e {a,b,d,f,g,h} v = 1
< <t name="e"><a>v</a><b>oldv</b><d><!--c-->v</d><f><x/>tailv</f><g><![CDATA[c]]>v</g><h>&e;v</h></t>

> <!DOCTYPE kavex [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e"><a><!--c--></a><b><!--c-->old</b><d>old<!--c--></d><f>old<x/>tail</f><g>old<![CDATA[c]]></g><h>old&e;</h></t></s></kavex>
kvio_set2 e {a,b,d,f,g,h} v = 1
< <t name="e"><a>v</a><b>oldv</b><d><!--c-->v</d><f><x/>tailv</f><g><![CDATA[c]]>v</g><h>&e;v</h></t>

# The value is what the first child says.
> <!DOCTYPE kavex SYSTEM "none.dtd" [<!ENTITY e "an &#38;lt;entity>">]>
> <kavex><s><t name="e">text<!--f--><?f no?><a/><b> v&#10;</b><b>2</b><c>&lt;&amp;&#233;</c><d><!--c-->v</d><f><!----></f><g><![CDATA[<c>]]>v</g><h><b>1<c>2</c></b>v</h>
> <i><?p i?></i><j><?p?></j><k>&e;v</k><l>&undeclared;v</l><n:m xmlns:n="urn:n">v</n:m></t></s></kavex>
kvio_get e {a,b,c,d,f,g,h,i,j,k,l,m} = 1 "\0" | 1 " v\n\0" | 1 "<&é\0" | 1 "c\0" | 1 "\0" | 1 "<c>\0" | 1 "12\0" | 1
    "i\0" | 1 "\0" | 1 "an <entity>\0" | 1 "\0" | 1 "v\0"
kvio_get2 e {a,b,c,d,f,g,h,i,j,k,l,m} 8 = 1 "\0" | 1 " v\n\0\0\0\0\0" | 1 "<&é\0\0\0\0" | 1 "c\0\0\0\0\0\0\0" | 1
    "\0\0\0\0\0\0\0\0" | 1 "<c>\0\0\0\0\0" | 1 "12\0\0\0\0\0\0" | 1 "i\0\0\0\0\0\0\0" | 1 "\0\0\0\0\0\0\0\0" | 1 "an
    <ent\0" | 1 "\0\0\0\0\0\0\0\0" | 1 "v\0\0\0\0\0\0\0"
kvio_getlen e {a,b,c,d,f,g,h,i,j,k,l,m} = 1 =0 | 1 =3 | 1 =4 | 1 =1 | 1 =0 | 1 =3 | 1 =2 | 1 =1 | 1 =0 | 1 =11 | 1 =0 |
    1 =1

# What is refused.
> <t name="e"><f>1</f></t>
kvio_get e {g,text,F,"",NULL} = 0 22: @() error: element 'g' is not found | 0 22: @() error: element 'text' is not found
    | 0 22: @() error: element 'F' is not found | 0 22: @() error: element '' is not found | 0 22: @() error: element
    '(null)' is not found
kvio_get2 e {g,""} 8 = 0 22: @() error: element 'g' is not found | 0 22: @() error: element '' is not found
kvio_getlen e {g,""} = 0 22: @() error: element 'g' is not found | 0 22: @() error: element '' is not found
kvio_set e {"",NULL} v = 0 8: @() error on xmlNewTextChild()
kvio_set e f NULL = 0 8: @() error on xmlNewTextChild()
kvio_set2 e {"",NULL} v = 0 8: @() error on xmlNewTextChild() | 0 -: can not alloc memory for name
kvio_set2 e f NULL = 0 -: can not alloc memory for value
kvio_unset e "" = 0 8: kvio_set() error on xmlNewTextChild()
kvio_set NULL f v = 0 15: <null>
kvio_unset NULL f = 0 15: kvio_set() error: NULL entity
kvio_set2 NULL {f,NULL} v = 0 15: <null> | 0 -: can not alloc memory for name
kvio_get NULL f = 0 15: <null>
kvio_get2 NULL f 8 = 0 15: <null>
kvio_getlen NULL f = 0 15: <null>
kvio_name NULL = 0 15: <null>
kvio_name2 NULL 8 = 0 15: <null>
kvio_compare_name NULL e = 0 15: <null>

# A size is the whole buffer's: what a text leaves of it is zeros, and only the first byte where there is nothing.
> <t name="abcdef"><f>abcdef</f><none/></t>
kvio_unset abcdef empty = 1
kvio_get2 abcdef f {0,1,4,6,7,8} = 1 | 1 "\0" | 1 "abc\0" | 1 "abcde\0" | 1 "abcdef\0" | 1 "abcdef\0\0"
kvio_get2 abcdef {empty,none} {0,1,4} = 1 | 1 "\0" | 1 "\0\0\0\0" | 1 | 1 "\0"
kvio_name2 abcdef {0,1,4,6,7,8} = 1 | 1 "\0" | 1 "abc\0" | 1 "abcde\0" | 1 "abcdef\0" | 1 "abcdef\0\0"
kvio_name abcdef = 1 "abcdef\0"
< <t name="abcdef"><f>abcdef</f><none/><empty></empty></t>

# Names are compared as they are; other attributes are none.
> <t name="e"/><a k="e"/><b Name="e"/><d xmlns:n="urn:n" n:name="e"/>
kvio_compare_name e {e,E,"",ee,NULL} = 1 | 0
kvio_compare_name {a,b,d} e = 0
kvio_name {a,b,d} = 0 7: @() fatal error: attribute 'name' is missed
kvio_name2 {a,b,d} 8 = 0 7: @() fatal error: attribute 'name' is missed
