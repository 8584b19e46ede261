# Values are text as it stands. An absent attribute reads as an empty one and may be removed.
> <t name="e" a="1" b="&lt;" xml:lang="de"/>
$ kvio_setattr_entity e a "&amp;<\"'ä"
    1 0
    - 1 <t name="e" a="1" b="&lt;" xml:lang="de"/>
    + 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="&lt;" xml:lang="de"/>
$ kvio_setattr_entity e b ""
    1 0
    - 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="&lt;" xml:lang="de"/>
    + 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de"/>
$ kvio_setattr_entity e B AT&T
    1 0
    - 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de"/>
    + 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de" B="AT&amp;T"/>
$ kvio_setattr_entity e xml:lang en
    1 0
    - 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de" B="AT&amp;T"/>
    + 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="en" B="AT&amp;T"/>
$ kvio_getattr_entity e {a,b,B,xml:lang,lang,none,"",NULL}
    a: 1 0 "&amp;<"'ä\0"
    b: 1 0 "\0"
    B: 1 0 "AT&T\0"
    xml:lang: 1 0 "en\0"
    lang, none, "", NULL: 1 0 "\0"
$ kvio_setattr_entity e NULL v
    1 0
$ kvio_setattr_entity e b NULL
    1 0
$ kvio_unsetattr_entity e {a,a,lang,xml:lang,"",NULL}
    a: 1 0
    - 1 <t name="e" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="en" B="AT&amp;T"/>
    + 1 <t name="e" b="" xml:lang="en" B="AT&amp;T"/>
    a, lang: 1 0
    xml:lang: 1 0
    - 1 <t name="e" b="" xml:lang="en" B="AT&amp;T"/>
    + 1 <t name="e" b="" B="AT&amp;T"/>
    "", NULL: 1 0
# The name is an attribute, too; nothing looks for a duplicate.
> <t name="e"/><t name="f"/>
$ kvio_setattr_entity e name f
    1 0
    - 1 <t name="e"/>
    + 2 <t name="f"/>
$ kvio_compare_name e f
    1 0
$ kvio_retrieve_entity c s t f
    null 7
    err kvio_retrieve_entity fatal error: multiple instances

> <list name="l" type="t" a="1" b="&lt;" xml:lang="de"/>
$ kvio_setattr_container l a "&amp;<\"'ä"
    1 0
    - 1 <list name="l" type="t" a="1" b="&lt;" xml:lang="de"/>
    + 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="&lt;" xml:lang="de"/>
$ kvio_setattr_container l b ""
    1 0
    - 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="&lt;" xml:lang="de"/>
    + 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de"/>
$ kvio_setattr_container l B AT&T
    1 0
    - 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de"/>
    + 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de" B="AT&amp;T"/>
$ kvio_setattr_container l xml:lang en
    1 0
    - 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="de" B="AT&amp;T"/>
    + 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="en" B="AT&amp;T"/>
$ kvio_getattr_container l {a,b,B,xml:lang,lang,none,"",NULL}
    a: 1 0 "&amp;<"'ä\0"
    b: 1 0 "\0"
    B: 1 0 "AT&T\0"
    xml:lang: 1 0 "en\0"
    lang, none, "", NULL: 1 0 "\0"
$ kvio_setattr_container l NULL v
    1 0
$ kvio_setattr_container l b NULL
    1 0
$ kvio_unsetattr_container l {a,a,lang,xml:lang,"",NULL}
    a: 1 0
    - 1 <list name="l" type="t" a="&amp;amp;&lt;&quot;'&#xE4;" b="" xml:lang="en" B="AT&amp;T"/>
    + 1 <list name="l" type="t" b="" xml:lang="en" B="AT&amp;T"/>
    a, lang: 1 0
    xml:lang: 1 0
    - 1 <list name="l" type="t" b="" xml:lang="en" B="AT&amp;T"/>
    + 1 <list name="l" type="t" b="" B="AT&amp;T"/>
    "", NULL: 1 0
$ kvio_setattr_container l type u
    1 0
    - 1 <list name="l" type="t" b="" B="AT&amp;T"/>
    + 1 <list name="l" type="u" b="" B="AT&amp;T"/>
$ kvio_open_list c s u l
    s/list=l 0

# A size is the whole buffer's, but only the first byte is written where there is no attribute.
> <t name="e" a="abcdef" b=""/><list name="l" type="t" a="abcdef" b=""/>
$ kvio_getattr_entity2 e a {0,1,3,6,7,8}
    0: 1 0
    1: 1 0 "\0"
    3: 1 0 "ab\0"
    6: 1 0 "abcde\0"
    7: 1 0 "abcdef\0"
    8: 1 0 "abcdef\0\0"
$ kvio_getattr_entity2 e {b,none} {0,1,3}
    b 0: 1 0
    b 1: 1 0 "\0"
    b 3: 1 0 "\0\0\0"
    none 0: 1 0
    none 1, none 3: 1 0 "\0"
$ kvio_getattr_container2 l a {0,1,3,6,7,8}
    0: 1 0
    1: 1 0 "\0"
    3: 1 0 "ab\0"
    6: 1 0 "abcde\0"
    7: 1 0 "abcdef\0"
    8: 1 0 "abcdef\0\0"
$ kvio_getattr_container2 l {b,none} {0,1,3}
    b 0: 1 0
    b 1: 1 0 "\0"
    b 3: 1 0 "\0\0\0"
    none 0: 1 0
    none 1, none 3: 1 0 "\0"

$ kvio_setattr_entity NULL a v
    0 15
    err kvio_setattr_entity() error: NULL entity
$ kvio_unsetattr_entity NULL a
    0 15
    err kvio_unsetattr_entity() error: NULL entity
$ kvio_getattr_entity NULL a
    0 15
    err kvio_getattr_entity() error: NULL entity
$ kvio_getattr_entity2 NULL a 8
    0 15
    err kvio_getattr_entity2() error: NULL entity
$ kvio_increase_entity_attr NULL a
    0 15
    err kvio_increase_entity_attr() error: NULL entity
$ kvio_decrease_entity_attr NULL a
    0 15
    err kvio_decrease_entity_attr() error: NULL entity

# Counters are read as on the 32-bit target.
> <t name="absent"/><t name="empty" n=""/><t name="zero" n="0"/><t name="one" n="1"/>
$ kvio_decrease_entity_attr {absent,empty,zero,one} n
    absent, empty, zero: 1 0 =0
    one: 1 0 =0
    - 4 <t name="one" n="1"/>
    + 4 <t name="one" n="0"/>
$ kvio_increase_entity_attr {absent,empty,zero,one} n
    absent: 1 0 =1
    - 1 <t name="absent"/>
    + 1 <t name="absent" n="1"/>
    empty: 1 0 =1
    - 2 <t name="empty" n=""/>
    + 2 <t name="empty" n="1"/>
    zero: 1 0 =1
    - 3 <t name="zero" n="0"/>
    + 3 <t name="zero" n="1"/>
    one: 1 0 =1
    - 4 <t name="one" n="0"/>
    + 4 <t name="one" n="1"/>
> <t name="large" n="4294967294"/><t name="largest" n="4294967295"/><t name="beyond" n="4294967296"/>
> <t name="far" n="99999999999999999999"/><t name="minus" n="-4294967295"/><t name="minus1" n="-1"/>
$ kvio_increase_entity_attr {large,largest,beyond,far,minus,minus1} n
    large: 1 0 =4294967295
    - 1 <t name="large" n="4294967294"/>
    + 1 <t name="large" n="4294967295"/>
    largest: 1 0 =0
    - 2 <t name="largest" n="4294967295"/>
    + 2 <t name="largest" n="0"/>
    beyond: 1 0 =0
    - 3 <t name="beyond" n="4294967296"/>
    + 3 <t name="beyond" n="0"/>
    far: 1 0 =0
    - 4 <t name="far" n="99999999999999999999"/>
    + 4 <t name="far" n="0"/>
    minus: 1 0 =2
    - 5 <t name="minus" n="-4294967295"/>
    + 5 <t name="minus" n="2"/>
    minus1: 1 0 =0
    - 6 <t name="minus1" n="-1"/>
    + 6 <t name="minus1" n="0"/>
> <t name="large" n="4294967294"/><t name="largest" n="4294967295"/><t name="beyond" n="4294967296"/>
> <t name="far" n="99999999999999999999"/><t name="minus" n="-4294967295"/><t name="minus1" n="-1"/>
$ kvio_decrease_entity_attr {large,largest,beyond,far,minus,minus1} n
    large: 1 0 =4294967293
    - 1 <t name="large" n="4294967294"/>
    + 1 <t name="large" n="4294967293"/>
    largest: 1 0 =4294967294
    - 2 <t name="largest" n="4294967295"/>
    + 2 <t name="largest" n="4294967294"/>
    beyond: 1 0 =4294967294
    - 3 <t name="beyond" n="4294967296"/>
    + 3 <t name="beyond" n="4294967294"/>
    far: 1 0 =4294967294
    - 4 <t name="far" n="99999999999999999999"/>
    + 4 <t name="far" n="4294967294"/>
    minus: 1 0 =0
    - 5 <t name="minus" n="-4294967295"/>
    + 5 <t name="minus" n="0"/>
    minus1: 1 0 =4294967294
    - 6 <t name="minus1" n="-1"/>
    + 6 <t name="minus1" n="4294967294"/>
# As far as there is a number; 15 bytes are read, and what comes after them is not.
> <t name="tail" n="12abc"/><t name="text" n="abc"/><t name="sign" n="  +7"/><t name="signs" n="--1"/><t name="hex" n="0x10"/>
> <t name="zeros" n="007"/><t name="apart" n="- 1"/><t name="long" n="0000000000000123"/><t name="late" n="               9"/>
$ kvio_increase_entity_attr {tail,text,sign,signs,hex,zeros,apart,long,late} n
    tail: 1 0 =13
    - 1 <t name="tail" n="12abc"/>
    + 1 <t name="tail" n="13"/>
    text: 1 0 =1
    - 2 <t name="text" n="abc"/>
    + 2 <t name="text" n="1"/>
    sign: 1 0 =8
    - 3 <t name="sign" n="  +7"/>
    + 3 <t name="sign" n="8"/>
    signs: 1 0 =1
    - 4 <t name="signs" n="--1"/>
    + 4 <t name="signs" n="1"/>
    hex: 1 0 =1
    - 5 <t name="hex" n="0x10"/>
    + 5 <t name="hex" n="1"/>
    zeros: 1 0 =8
    - 6 <t name="zeros" n="007"/>
    + 6 <t name="zeros" n="8"/>
    apart: 1 0 =1
    - 7 <t name="apart" n="- 1"/>
    + 7 <t name="apart" n="1"/>
    long: 1 0 =13
    - 8 <t name="long" n="0000000000000123"/>
    + 8 <t name="long" n="13"/>
    late: 1 0 =1
    - 9 <t name="late" n="               9"/>
    + 9 <t name="late" n="1"/>
> <t name="tail" n="12abc"/><t name="text" n="abc"/><t name="sign" n="  +7"/><t name="signs" n="--1"/><t name="hex" n="0x10"/>
> <t name="zeros" n="007"/><t name="apart" n="- 1"/><t name="long" n="0000000000000123"/><t name="late" n="               9"/>
$ kvio_decrease_entity_attr {tail,text,sign,signs,hex,zeros,apart,long,late} n
    tail: 1 0 =11
    - 1 <t name="tail" n="12abc"/>
    + 1 <t name="tail" n="11"/>
    text: 1 0 =0
    sign: 1 0 =6
    - 3 <t name="sign" n="  +7"/>
    + 3 <t name="sign" n="6"/>
    signs, hex: 1 0 =0
    zeros: 1 0 =6
    - 6 <t name="zeros" n="007"/>
    + 6 <t name="zeros" n="6"/>
    apart: 1 0 =0
    long: 1 0 =11
    - 8 <t name="long" n="0000000000000123"/>
    + 8 <t name="long" n="11"/>
    late: 1 0 =0
# Nobody need want to know.
$ kvio_increase_entity_attr {tail,text} n NULL
    tail: 1 0
    - 1 <t name="tail" n="11"/>
    + 1 <t name="tail" n="12"/>
    text: 1 0
    - 2 <t name="text" n="abc"/>
    + 2 <t name="text" n="1"/>
$ kvio_decrease_entity_attr {tail,text,text} n NULL
    tail: 1 0
    - 1 <t name="tail" n="12"/>
    + 1 <t name="tail" n="11"/>
    text: 1 0
    - 2 <t name="text" n="1"/>
    + 2 <t name="text" n="0"/>
    text: 1 0
