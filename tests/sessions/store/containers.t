let create = kvio_container_create_template
let dispose = kvio_container_dispose_template
let scope = fatal error: scope not existed or multiple instances
# A container is identified by kind, name and type together; the first of them is meant. A name is text as it stands.
> <t name="c"/><group name="d" type="t"><container>c</container></group><heap name="c" type="t"/><list name="c"/>
> <list type="t"/><list name="c" type="T"/><o><list name="c" type="t"/></o><list name="" type="t"/>
> <list name="k" type="t"><entity>first</entity></list><list name="k" type="t"/>
{kvio_open_table,kvio_dispose_group} c s t c = null 22: <create>(~a.xml): scope:[s] table:[c] type:[t] is not existed |
    0 22: <dispose>(~a.xml): scope:[s] group:[c] type:[t] is not existed
kvio_open_list c s t {c,"",k,NULL} = null 22: <create>(~a.xml): scope:[s] list:[c] type:[t] is not existed | s/list[4]=
    | s/list[5]=k | null 22: <create>(~a.xml): scope:[s] list:[(null)] type:[t] is not existed
{kvio_create_table,kvio_create_group} c s t c = s/table=c | s/group[2]=c
kvio_create_list c s t {c,c,"a&b <\"x\"> &amp; ä"} = s/list[7]=c | null 10: <create>(~a.xml): scope:[s] list:[c]
    type:[t] is existed | s/list[8]=a&b <"x"> &amp; ä
{kvio_open_table,kvio_open_list,kvio_open_group} c s t c = s/table=c | s/list[7]=c | s/group[2]=c
{kvio_dispose_table,kvio_dispose_list,kvio_dispose_group} c s t c = 1
{kvio_open_list,kvio_dispose_list} c s t "a&b <\"x\"> &amp; ä" = s/list[7]=a&b <"x"> &amp; ä | 1
{kvio_close_table,kvio_close_list,kvio_close_group} NULL = 1 -

# A handle holds scopes and types of 63 characters; a name is never too long.
> <kavex><s/><{n*63}/><{n*64}/><d/><d/><p><d/></p></kavex>
{kvio_create_list,kvio_open_list,kvio_dispose_list} c {d,{n*64}} t c = null 7: <create> <scope> | ^ | ^ | ^ | 0 7:
    <dispose> <scope> | 0 22: <dispose>(~a.xml): scope:[{n*64}] list:[c] type:[t] is not existed
{kvio_create_list,kvio_open_list} c s {{n*64},NULL} c = null 7: <create> error: name is too long: {n*64} | null 8:
    <create> error on xmlNewProp(): no memory? | null 7: <create> error: name is too long: {n*64} | null 22:
    <create>(~a.xml): scope:[s] list:[c] type:[(null)] is not existed
kvio_create_list c s t NULL = null 8: <create> error on xmlNewProp(): no memory?
{kvio_create_list,kvio_open_list,kvio_dispose_list} NULL s t c = null 6 | ^ | 0 6
# The scope of a handle may be any expression; nested containers are looked for in it.
l = kvio_create_list c {n*63} {n*63} {n*300} = {n*63}/list={n*300}
path = kvio_create_group c p/d t c = p/d/group=c
place = kvio_create_group c d[2] t c = d[2]/group=c
kvio_join {l,path,place} m 0 = 1
kvio_check_loop {l,path,place} = -1: <create>(~a.xml): scope:[{n*63}] list:[m] type:[{n*63}] is not existed | -1:
    <create>(~a.xml): scope:[p/d] group:[m] type:[t] is not existed | -1: <create>(~a.xml): scope:[d[2]] group:[m]
    type:[t] is not existed
< <kavex><s/><{n*63}><list name="{n*300}" type="{n*63}"><container>m</container></list></{n*63}><{n*64}/><d/><d>
< <group name="c" type="t"><container>m</container></group></d><p><d><group name="c" type="t"><container>m</container>
< </group></d></p></kavex>
