let scope = 7: @ fatal error: scope not existed or multiple instances
let expression = 8: @ error on xmlXPathEvalExpression()
# A scope is exactly one element below the root, and anything else is none. "/kavex/" and it are no more than 255 bytes,
# on either way to the element, and never cut.
> <kavex a="1"><!--c--><?p?>text<object v="1" xmlns:n="urn:n"><address/><a-b.c_1/><twice/><twice/><n:p/></object>
> <d xmlns="urn:d"/><größe/><div/><text/><object2/><{e*248}/><{e*247}><e name="n"/></{e*247}></kavex>
kvio_create_checkpoint c {object,object/address,object/a-b.c_1,object/*[1],*[@v='1'],"
    object","object/address\n/..",object/.,/object,größe,div,text,"none | /kavex/div",*[local-name()='d'],{e*248},"{
    *244}*[1]"} = /object | /address | /a-b.c_1 | /address | /object | ^ | ^ | ^ | ^ | /größe | /div | /text | /div |
    /* | /{e*248} | /object
kvio_create_checkpoint c {"",none,objec,kavex,object/twice,object/twice/x,*,NULL,..,.,object/..,object/@v,text()} = null
    <scope>
kvio_create_checkpoint c {object/namespace::*,object/,object[,"object\"","object address",$name,$x,n:p,object/n:p,d} =
    null <scope>
{kvio_retrieve_entity,kvio_define} c {{e*249},"{ *245}*[1]",{e*247}/e} e n = null <scope> | ^ | ^ | 0 7: do_kvio_define
    fatal error: scope not existed or multiple instances
{kvio_retrieve_entity,kvio_entity_count,kvio_list_entities} NULL s t = null 6 | 0 6 | null 6

# An entity is what the expression of its scope, type and name selects. The root is no scope, however it is written.
> <kavex><s><t name="e"/><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s><p><t name="x"/></p>
> <p><t name="x"/></p><t name="r"/><list name="r" type="t"/></kavex>
kvio_retrieve_entity c s t {e,E,n,x,"",NULL} = s/t[1]=e | null 22
kvio_retrieve_entity c s {*,t[not(*)],NULL,"",n:t} e = s/t[1]=e | ^ | null 22 | null <expression>
kvio_retrieve_entity c {p,p[1],*,s/,s[@x=$other],s[,.,./.,s/..,self::*,../kavex} t x = null 7: @ fatal error: multiple
    instances | p[1]/t=x | null 7: @ fatal error: multiple instances | null 22 | null <expression> | ^ | null <scope>
kvio_retrieve_entity c {..,s/t} {kavex,@name} e = null 22
kvio_retrieve_entity c "" /t e = null <expression>
kvio_entity_count c s {t,u,*,none,t[not(*)],NULL,"",n:t} = 2 | ^ | 5 | 0 | 2 | 0 | 0 <expression>
kvio_entity_count c {p,*,p[1],s/,s[@x=$other],NULL,.,@a} t = 2 | 4 | 1 | 2 | 0 <expression> | 0 <scope> | ^ | 0
kvio_entity_count c {..,s/t} {kavex,@name} = 1 | 0 | ^ | 1
kvio_list_entities c s {t,u,*,none,NULL} = 3 of 3 s/t[1]=e s/t[2] s/n:t=n | 2 of 2 s/u[1]=d s/u[2]=d | 0 of 0
kvio_list_entities c {p[2],*,.} t = 1 of 1 p[2]/t=x | null <scope>
kvio_open_list c s/.. t r = null 7: kvio_container_create_template fatal error: scope not existed or multiple instances
kvio_define c s t n = 0 10: do_kvio_define(~a.xml): scope:[s] type:[t] name:[n] is existed
kvio_undefine c s {u,n:t} d = 0 7: @ fatal error: multiple instances | 0 <expression>
kvio_undefine c {p,s/..,p[2]} t x = 0 7: @ fatal error: multiple instances | 0 <scope> | 1
kvio_undefine c s/ t {e,n} = 1 | 0 22: @ error: entity not existed
kvio_undefine c s u "d\"] | //u[\"" = 0 22: @ error: entity not existed
< <kavex><s><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s><p><t name="x"/></p><p/><t name="r"/>
< <list name="r" type="t"/></kavex>
