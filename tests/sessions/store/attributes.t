# Values are text as it stands. An absent attribute reads as an empty one and may be removed.
> <t name="e" a="1" b="&lt;" xml:lang="de"/>
kvio_setattr_entity e a "&amp;<\"'ä" = 1
kvio_setattr_entity e b "" = 1
kvio_setattr_entity e B AT&T = 1
kvio_setattr_entity e xml:lang en = 1
kvio_getattr_entity e {a,b,B,xml:lang,lang,none,"",NULL} = 1 "&amp;<"'ä\0" | 1 "\0" | 1 "AT&T\0" | 1 "en\0" | 1 "\0"
kvio_setattr_entity e NULL v = 1
kvio_setattr_entity e b NULL = 1
kvio_unsetattr_entity e {a,a,lang,xml:lang,"",NULL} = 1
< <t name="e" b="" B="AT&amp;T"/>

# The name is an attribute, too; nothing looks for a duplicate.
> <t name="e"/><t name="f"/>
kvio_setattr_entity e name f = 1
kvio_compare_name e f = 1
kvio_retrieve_entity c s t f = null 7: @ fatal error: multiple instances
< <t name="f"/><t name="f"/>

> <list name="l" type="t" a="1" b="&lt;" xml:lang="de"/>
kvio_setattr_container l a "&amp;<\"'ä" = 1
kvio_setattr_container l b "" = 1
kvio_setattr_container l B AT&T = 1
kvio_setattr_container l xml:lang en = 1
kvio_getattr_container l {a,b,B,xml:lang,lang,none,"",NULL} = 1 "&amp;<"'ä\0" | 1 "\0" | 1 "AT&T\0" | 1 "en\0" | 1 "\0"
kvio_setattr_container l NULL v = 1
kvio_setattr_container l b NULL = 1
kvio_unsetattr_container l {a,a,lang,xml:lang,"",NULL} = 1
kvio_setattr_container l type u = 1
kvio_open_list c s u l = s/list=l
< <list name="l" type="u" b="" B="AT&amp;T"/>

# A size is the whole buffer's, but only the first byte is written where there is no attribute.
> <t name="e" a="abcdef" b=""/><list name="l" type="t" a="abcdef" b=""/>
kvio_getattr_entity2 e a {0,1,3,6,7,8} = 1 | 1 "\0" | 1 "ab\0" | 1 "abcde\0" | 1 "abcdef\0" | 1 "abcdef\0\0"
kvio_getattr_entity2 e {b,none} {0,1,3} = 1 | 1 "\0" | 1 "\0\0\0" | 1 | 1 "\0"
kvio_getattr_container2 l a {0,1,3,6,7,8} = 1 | 1 "\0" | 1 "ab\0" | 1 "abcde\0" | 1 "abcdef\0" | 1 "abcdef\0\0"
kvio_getattr_container2 l {b,none} {0,1,3} = 1 | 1 "\0" | 1 "\0\0\0" | 1 | 1 "\0"
kvio_setattr_entity NULL a v = 0 15: @() error: NULL entity
{kvio_unsetattr_entity,kvio_getattr_entity} NULL a = 0 15: @() error: NULL entity
kvio_getattr_entity2 NULL a 8 = 0 15: @() error: NULL entity
{kvio_increase_entity_attr,kvio_decrease_entity_attr} NULL a = 0 15: @() error: NULL entity

# Counters are read as on the 32-bit target.
> <t name="absent"/><t name="empty" n=""/><t name="zero" n="0"/><t name="one" n="1"/>
kvio_decrease_entity_attr {absent,empty,zero,one} n = 1 =0
kvio_increase_entity_attr {absent,empty,zero,one} n = 1 =1
< <t name="absent" n="1"/><t name="empty" n="1"/><t name="zero" n="1"/><t name="one" n="1"/>

> <t name="large" n="4294967294"/><t name="largest" n="4294967295"/><t name="beyond" n="4294967296"/>
> <t name="far" n="99999999999999999999"/><t name="minus" n="-4294967295"/><t name="minus1" n="-1"/>
kvio_increase_entity_attr {large,largest,beyond,far,minus,minus1} n = 1 =4294967295 | 1 =0 | ^ | ^ | 1 =2 | 1 =0
< <t name="large" n="4294967295"/><t name="largest" n="0"/><t name="beyond" n="0"/><t name="far" n="0"/>
< <t name="minus" n="2"/><t name="minus1" n="0"/>

> <t name="large" n="4294967294"/><t name="largest" n="4294967295"/><t name="beyond" n="4294967296"/>
> <t name="far" n="99999999999999999999"/><t name="minus" n="-4294967295"/><t name="minus1" n="-1"/>
kvio_decrease_entity_attr {large,largest,beyond,far,minus,minus1} n = 1 =4294967293 | 1 =4294967294 | ^ | ^ | 1 =0 | 1
    =4294967294
< <t name="large" n="4294967293"/><t name="largest" n="4294967294"/><t name="beyond" n="4294967294"/>
< <t name="far" n="4294967294"/><t name="minus" n="0"/><t name="minus1" n="4294967294"/>

# As far as there is a number; 15 bytes are read, and what comes after them is not.
> <t name="tail" n="12abc"/><t name="text" n="abc"/><t name="sign" n="  +7"/><t name="signs" n="--1"/><t name="hex" n="0x10"/>
> <t name="zeros" n="007"/><t name="apart" n="- 1"/><t name="long" n="0000000000000123"/><t name="late" n="               9"/>
kvio_increase_entity_attr {tail,text,sign,signs,hex,zeros,apart,long,late} n = 1 =13 | 1 =1 | 1 =8 | 1 =1 | ^ | 1 =8 | 1
    =1 | 1 =13 | 1 =1
< <t name="tail" n="13"/><t name="text" n="1"/><t name="sign" n="8"/><t name="signs" n="1"/><t name="hex" n="1"/>
< <t name="zeros" n="8"/><t name="apart" n="1"/><t name="long" n="13"/><t name="late" n="1"/>

> <t name="tail" n="12abc"/><t name="text" n="abc"/><t name="sign" n="  +7"/><t name="signs" n="--1"/><t name="hex" n="0x10"/>
> <t name="zeros" n="007"/><t name="apart" n="- 1"/><t name="long" n="0000000000000123"/><t name="late" n="               9"/>
kvio_decrease_entity_attr {tail,text,sign,signs,hex,zeros,apart,long,late} n = 1 =11 | 1 =0 | 1 =6 | 1 =0 | ^ | 1 =6 | 1
    =0 | 1 =11 | 1 =0
# Nobody need want to know.
kvio_increase_entity_attr {tail,text} n NULL = 1
kvio_decrease_entity_attr {tail,text,text} n NULL = 1
< <t name="tail" n="11"/><t name="text" n="0"/><t name="sign" n="6"/><t name="signs" n="--1"/><t name="hex" n="0x10"/>
< <t name="zeros" n="6"/><t name="apart" n="- 1"/><t name="long" n="11"/><t name="late" n="               9"/>
