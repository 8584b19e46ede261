# Values are text as it stands. An absent attribute reads as an empty one and may be removed.
> <t name="e" a="1" b="&lt;" d="abcdef" g="" xml:lang="de"/><list name="l" type="t" a="1" d="abcdef" xml:lang="de"/>
> <t name="n" empty="" one="1" most="4294967295" more="4294967296" minus="-4294967294" tail="12abc" hex="0x10"/>
> <t name="m" zero="+0" sign="  +7" signs="--1" zeros="010" long="0000000000000123" late="               9"/>
kvio_setattr_entity e {a,xml:lang,NULL} "&amp;<\"'ä" = 1
kvio_setattr_entity e {b,B} {AT&T,"",NULL} = 1
kvio_getattr_entity e {a,b,xml:lang,xml-lang,lang,none,"",NULL} = 1 "&amp;<"'ä\0" | 1 "\0" | 1 "&amp;<"'ä\0" | 1 "\0"
kvio_getattr_entity2 e d {0,1,3,6,7,8} = 1 | 1 "\0" | 1 "ab\0" | 1 "abcde\0" | 1 "abcdef\0" | 1 "abcdef\0\0"
kvio_getattr_entity2 e {g,none} {0,1,3} = 1 | 1 "\0" | 1 "\0\0\0" | 1 | 1 "\0"
kvio_unsetattr_entity e {a,a,lang,xml:lang,"",NULL} = 1
kvio_setattr_container l {B,NULL} "&amp;<\"'ä" = 1
kvio_getattr_container l {B,xml:lang,none} = 1 "&amp;<"'ä\0" | 1 "de\0" | 1 "\0"
kvio_getattr_container2 l {d,none} {0,3,8} = 1 | 1 "ab\0" | 1 "abcdef\0\0" | 1 | 1 "\0"
kvio_unsetattr_container l {a,lang,xml:lang} = 1
kvio_define c s t f = 1
kvio_setattr_entity e name f = 1
kvio_retrieve_entity c s t f = null 7: @ fatal error: multiple instances
kvio_setattr_container l type u = 1
kvio_open_list c s u l = s/list=l
# Counters are read as on the 32-bit target, as far as there is a number in their first 15 bytes; 0 is not decreased.
kvio_increase_entity_attr n {absent,empty,one,most,more,minus,tail,hex} = 1 =1 | ^ | 1 =2 | 1 =0 | ^ | 1 =3 | 1 =13 | 1
    =1
kvio_increase_entity_attr m {sign,signs,zeros,long,late} = 1 =8 | 1 =1 | 1 =11 | 1 =13 | 1 =1
kvio_decrease_entity_attr n {none,one,most,minus} = 1 =0 | 1 =1 | 1 =0 | 1 =2
kvio_decrease_entity_attr m {zero,sign} NULL = 1
kvio_increase_entity_attr m {sign,sign} NULL = 1
< <t name="f" b="" d="abcdef" g="" B=""/><list name="l" type="u" d="abcdef" B="&amp;amp;&lt;&quot;'&#xE4;"/>
< <t name="n" empty="1" one="1" most="0" more="0" minus="2" tail="13" hex="1" absent="1"/>
< <t name="m" zero="+0" sign="9" signs="1" zeros="11" long="13" late="1"/><t name="f"/>
