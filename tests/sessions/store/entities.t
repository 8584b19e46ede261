let null = @() error: NULL entity
# An entity is defined behind all others, once for each type. What names a deleted one stays.
> <u name="e"/><t name="d"/><t name="first"/><t name="d"/><list name="l" type="t"><entity>e</entity></list>
> <a k="e"/><b Name="e"/><c xmlns:n="urn:n" n:name="e"/>
kvio_define c s t e = 1
kvio_define2 c s t e = null 10: do_kvio_define(~a.xml): scope:[s] type:[t] name:[e] is existed
n = kvio_define2 c s t n = s/t[5]=n
kvio_set n f v = 1
kvio_define c s t {"","a\"b'<&amp;]",NULL} = 1 | ^ | 0 8: do_kvio_define error on xmlNewProp(): no memory?
kvio_define c s {NULL,""} e = 0 8: do_kvio_define error on xmlNewNode(): no memory?
kvio_define c none t e = 0 7: do_kvio_define fatal error: scope not existed or multiple instances
kvio_undefine c s t {e,e,"",d,none,NULL} = 1 | 0 22: @ error: entity not existed | 1 | 0 7: @ fatal error: multiple
    instances | 0 22: @ error: entity not existed
{kvio_define,kvio_define2,kvio_undefine} NULL s t e = 0 6 | null 6 | 0 6
kvio_compare_name e {e,E,"",ee,NULL} = 1 | 0
kvio_compare_name {a,b,c} e = 0
kvio_name2 first {0,1,3,5,6,7} = 1 | 1 "\0" | 1 "fi\0" | 1 "firs\0" | 1 "first\0" | 1 "first\0\0"
kvio_name {n,a,b,c} = 1 "n\0" | 0 7: @() fatal error: attribute 'name' is missed
kvio_name2 c 8 = 0 7: @() fatal error: attribute 'name' is missed
kvio_name NULL = 0 15: <null>
kvio_name2 NULL 8 = 0 15: <null>
{kvio_set,kvio_set2,kvio_get2,kvio_setattr_entity,kvio_getattr_entity2} NULL f 8 = 0 15: <null>
{kvio_compare_name,kvio_get,kvio_getlen,kvio_getattr_entity,kvio_unsetattr_entity} NULL f = 0 15: <null>
{kvio_increase_entity_attr,kvio_decrease_entity_attr,kvio_unset} NULL f = 0 15: <null> | ^ | 0 15: kvio_set() error:
    NULL entity
< <u name="e"/><t name="d"/><t name="first"/><t name="d"/><list name="l" type="t"><entity>e</entity></list><a k="e"/>
< <b Name="e"/><c xmlns:n="urn:n" n:name="e"/><t name="n"><f>v</f></t><t name="a&quot;b'&lt;&amp;amp;]"/>

# The value is what the first child says. No other file is looked at.
file /tmp/x.xml 600 <!ENTITY undeclared "secret">
> <!DOCTYPE kavex SYSTEM "/tmp/x.xml" [<!ENTITY e "an &#38;lt;entity>"><!ENTITY x SYSTEM "/tmp/x.xml">
> <!ENTITY % p SYSTEM "/tmp/x.xml">%p;]>
> <kavex><s><t name="e">text<!--f--><?f no?><a/><b> v&#10;</b><b>2</b><c>&lt;&amp;&#233;</c><d><!--c-->old</d>
> <f><!----></f><g><![CDATA[<c>]]>v</g><h><b>1<c>2</c></b>v</h><j><?p?></j><k>&e;v</k><l>&undeclared;v</l>
> <n:m xmlns:n="urn:n">v</n:m><o>&x;</o><p>old<!--c--></p><q>old<x/>tail</q><r>old<![CDATA[c]]></r><t>old&e;</t>
> </t></s><r a="&e;"/></kavex>
kvio_get e {a,b,c,d,f,g,h,j,k,l,m,o} = 1 "\0" | 1 " v\n\0" | 1 "<&é\0" | 1 "c\0" | 1 "\0" | 1 "<c>\0" | 1 "12\0" | 1
    "\0" | 1 "an <entity>\0" | 1 "\0" | 1 "v\0" | 1 "\0"
kvio_getlen e {a,b,c,k} = 1 =0 | 1 =3 | 1 =4 | 1 =11
kvio_get2 e k {0,1,4,11,12,13} = 1 | 1 "\0" | 1 "an \0" | 1 "an <entity\0" | 1 "an <entity>\0" | 1 "an <entity>\0\0"
kvio_get2 e {j,a} {0,1,4} = 1 | 1 "\0" | 1 "\0\0\0\0" | 1 | 1 "\0"
kvio_get e {none,text,"",NULL} = 0 22: @() error: element 'none' is not found | 0 22: @() error: element 'text' is not
    found | 0 22: @() error: element '' is not found | 0 22: @() error: element '(null)' is not found
kvio_getlen e none = 0 22: @() error: element 'none' is not found
# The copy of a scope has no declarations.
kvio_backup_scope c {s,r} /tmp/b.xml = 0 5: @ error: /kavex/s/t/k has a name, text or depth that XML cannot hold /
    Problem occurred on saving XML to /tmp/b.xml | 0 5: @ error: /kavex/r has a name, text or depth that XML cannot hold
    / Problem occurred on saving XML to /tmp/b.xml
# A value keeps its place, a new one is the last. Only its first child goes. The text is taken literally.
kvio_set e {a,d,k,p,q,r,t,text} v = 1
kvio_set2 e {c,v} "&b<]]>\"'&amp;&#65;" = 1
kvio_set2 e {b,w} "" = 1
kvio_unset e {text,y} = 1
{kvio_set,kvio_set2} e {"",NULL} v = 0 8: @() error on xmlNewTextChild() | ^ | ^ | 0 -: can not alloc memory for name
{kvio_set,kvio_set2} e f NULL = 0 8: @() error on xmlNewTextChild() | 0 -: can not alloc memory for value
kvio_unset e "" = 0 8: kvio_set() error on xmlNewTextChild()
< <kavex><s><t name="e">text<!--f--><?f no?><a>v</a><b></b><b>2</b><c>&amp;b&lt;]]&gt;"'&amp;amp;&amp;#65;</c>
< <d>oldv</d><f><!----></f><g><![CDATA[<c>]]>v</g><h><b>1<c>2</c></b>v</h><j><?p?></j><k>vv</k><l>&undeclared;v</l>
< <n:m xmlns:n="urn:n">v</n:m><o>&x;</o><p><!--c-->v</p><q><x/>tailv</q><r><![CDATA[c]]>v</r><t>&e;v</t><text></text>
< <v>&amp;b&lt;]]&gt;"'&amp;amp;&amp;#65;</v><w></w><y></y></t></s><r a="&e;"/></kavex>
