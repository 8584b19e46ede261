let scope = @ fatal error: scope not existed or multiple instances
let expression = @ error on xmlXPathEvalExpression()
# A scope is exactly one element below the root.
> <kavex a="1"><!--c--><?p?>text<object v="1" xmlns:n="urn:n"><address/><a-b.c_1/><twice/><twice/><n:p/></object>
> <d xmlns="urn:d"/><größe/><div/><text/><object2/></kavex>
kvio_create_checkpoint c {object,object/address,object/a-b.c_1,object/*[1],*[@v='1'],"
    object","object/address\n/..",object/.,/object,größe,div,text,"none | /kavex/div",*[local-name()='d']} = /object |
    /address | /a-b.c_1 | /address | /object | ^ | ^ | ^ | ^ | /größe | /div | /text | /div | /*
# Anything else is none: what is missing or there twice, what is no element or not below the root, and what cannot be
# evaluated.
kvio_create_checkpoint c {"",none,object/none,objec,objects,kavex,object/twice,object/twice/x,*,NULL} = null 7: <scope>
kvio_create_checkpoint c {..,.,object/..,object/@v,text(),object/namespace::*,namespace::xml,1,count(object),"object =
    1"} = null 7: <scope>
kvio_create_checkpoint c {object/,object[,"object\"","object address",$name,$x,n:p,object/n:p,d} = null 7: <scope>
kvio_define c {"",*,..,object/@v,object[,object/twice,NULL} t n = 0 7: do_kvio_define fatal error: scope not existed or
    multiple instances

# "/kavex/" and a scope are no more than 255 bytes, on either way to the element, and never cut.
> <kavex><{e*248}/><{e*247}><e name="n"/></{e*247}></kavex>
kvio_define c {e*248} t n = 1
kvio_define c "{ *244}*[1]" t o = 1
kvio_define c {{e*249},"{ *245}*[1]",{e*247}/e} t n = 0 7: do_kvio_define fatal error: scope not existed or multiple
    instances
kvio_create_checkpoint c {{e*249},"{ *245}*[1]",{e*247}/e} = null 7: <scope>
kvio_retrieve_entity c {{e*249},"{ *245}*[1]",{e*247}/e} e n = null 7: <scope>
kvio_undefine c {{e*249},"{ *245}*[1]",{e*247}/e} e n = 0 7: <scope>
kvio_undefine c {e*248} t n = 1
kvio_undefine c "{ *244}*[1]" t o = 1

# The root is no scope to any function, however it is written.
> <kavex><t name="e"/><list name="l" type="t"/><s/></kavex>
kvio_retrieve_entity c {.,./.,s/..,self::*,../kavex} t e = null 7: <scope>
kvio_undefine c {.,s/..} t e = 0 7: <scope>
kvio_entity_count c {.,s/..} {t,NULL} = 0 7: <scope>
kvio_list_entities c {.,s/..} t = null 7: <scope>
kvio_open_list c {.,s/..} t l = null 7: kvio_container_create_template fatal error: scope not existed or multiple
    instances
kvio_entity_count c {..,@a} t = 0

# An entity is what the expression of its scope, type and name selects.
> <kavex><s><t name="e"/><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s><p><t name="x"/></p>
> <p><t name="x"/></p></kavex>
kvio_retrieve_entity c s t {e,E,x,"",NULL} = s/t[1]=e | null 22
kvio_retrieve_entity c * u d = null 7: @ fatal error: multiple instances
kvio_retrieve_entity c {p[1],p} t x = p[1]/t=x | null 7: @ fatal error: multiple instances
kvio_retrieve_entity c s {*,t[not(*)],NULL,"",n:t} e = s/t[1]=e | ^ | null 22 | null 8: <expression>
kvio_retrieve_entity c {s/,s[@x=$other],s[,NULL} t e = s/t[1]=e | null 8: <expression> | ^ | null 7: <scope>
kvio_retrieve_entity c s/t @name e = null 22
kvio_retrieve_entity c .. kavex e = null 22
kvio_retrieve_entity c "" /t e = null 8: <expression>
kvio_retrieve_entity NULL s t e = null 6
kvio_entity_count c s {t,u,*,none,t[not(*)],NULL,"",n:t} = 2 | ^ | 5 | 0 | 2 | 0 | 0 8: <expression>
kvio_entity_count c {*,p,p[1],s/,s[@x=$other],s[,NULL} t = 4 | 2 | 1 | 2 | 0 8: <expression> | ^ | 0 7: <scope>
kvio_entity_count c s/t @name = 1
kvio_entity_count c .. kavex = 1
kvio_entity_count c "" /t = 0 8: <expression>
kvio_entity_count NULL s t = 0 6
kvio_list_entities c s {t,u,*,none,NULL} = 3 of 3 s/t[1]=e s/t[2] s/n:t=n | 2 of 2 s/u[1]=d s/u[2]=d | 0 of 0
kvio_list_entities c {p[2],*,NULL} t = 1 of 1 p[2]/t=x | null 7: <scope>
kvio_list_entities NULL s t = null 6
kvio_undefine c * u d = 0 7: @ fatal error: multiple instances
kvio_undefine c {p,s[,NULL} t x = 0 7: @ fatal error: multiple instances | 0 8: <expression> | 0 7: <scope>
kvio_undefine c s {"",n:t,NULL} e = 0 8: <expression> | ^ | 0 22: @ error: entity not existed
kvio_undefine c .. kavex e = 0 22: @ error: entity not existed
kvio_undefine c s/t @name e = 0 22: @ error: entity not existed
kvio_undefine c p[2] t x = 1
kvio_undefine c s/ t e = 1
kvio_undefine c s t n = 0 22: @ error: entity not existed
kvio_undefine c s u "d\"] | //u[\"" = 0 22: @ error: entity not existed
< <kavex><s><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s><p><t name="x"/></p><p/></kavex>
