# A scope is exactly one element below the root.
> <kavex a="1"><!--c--><?p?>text<object v="1" xmlns:n="urn:n"><address/><a-b.c_1/><twice/><twice/><n:p/></object>
> <d xmlns="urn:d"/><größe/><div/><text/><object2/></kavex>
$ kvio_create_checkpoint c {object,object/address,object/a-b.c_1,object/*[1],*[@v='1']," object","object/address\n/..",object/.,/object,größe,div,text,"none | /kavex/div",*[local-name()='d']}
    object: /object 0
    object/address: /address 0
    object/a-b.c_1: /a-b.c_1 0
    object/*[1]: /address 0
    *[@v='1'], " object", "object/address\n/..", object/., /object: /object 0
    größe: /größe 0
    div: /div 0
    text: /text 0
    "none | /kavex/div": /div 0
    *[local-name()='d']: /* 0
# Anything else is none: what is missing or there twice, what is no element or not below the root, and what cannot be
# evaluated.
$ kvio_create_checkpoint c {"",none,object/none,objec,objects,kavex,object/twice,object/twice/x,*,NULL}
    "", none, object/none, objec, objects, kavex, object/twice, object/twice/x, *, NULL: null 7
    err kvio_create_checkpoint fatal error: scope not existed or multiple instances
$ kvio_create_checkpoint c {..,.,object/..,object/@v,text(),object/namespace::*,namespace::xml,1,count(object),"object = 1"}
    .., ., object/.., object/@v, text(), object/namespace::*, namespace::xml, 1, count(object), "object = 1": null 7
    err kvio_create_checkpoint fatal error: scope not existed or multiple instances
$ kvio_create_checkpoint c {object/,object[,"object\"","object address",$name,$x,n:p,object/n:p,d}
    object/, object[, "object\"", "object address", $name, $x, n:p, object/n:p, d: null 7
    err kvio_create_checkpoint fatal error: scope not existed or multiple instances
$ kvio_define c {"",*,..,object/@v,object[,object/twice,NULL} t n
    "", *, .., object/@v, object[, object/twice, NULL: 0 7
    err do_kvio_define fatal error: scope not existed or multiple instances

# "/kavex/" and a scope are no more than 255 bytes, on either way to the element, and never cut.
> <kavex><{e*248}/><{e*247}><e name="n"/></{e*247}></kavex>
$ kvio_define c {e*248} t n
    1 0
    - 1 <{e*248}/>
    + 1 <{e*248}><t name="n"/></{e*248}>
$ kvio_define c "{ *244}*[1]" t o
    1 0
    - 1 <{e*248}><t name="n"/></{e*248}>
    + 1 <{e*248}><t name="n"/><t name="o"/></{e*248}>
$ kvio_define c {{e*249},"{ *245}*[1]",{e*247}/e} t n
    {e*249}, "{ *245}*[1]", {e*247}/e: 0 7
    err do_kvio_define fatal error: scope not existed or multiple instances
$ kvio_create_checkpoint c {{e*249},"{ *245}*[1]",{e*247}/e}
    {e*249}, "{ *245}*[1]", {e*247}/e: null 7
    err kvio_create_checkpoint fatal error: scope not existed or multiple instances
$ kvio_retrieve_entity c {{e*249},"{ *245}*[1]",{e*247}/e} e n
    {e*249}, "{ *245}*[1]", {e*247}/e: null 7
    err kvio_retrieve_entity fatal error: scope not existed or multiple instances
$ kvio_undefine c {{e*249},"{ *245}*[1]",{e*247}/e} e n
    {e*249}, "{ *245}*[1]", {e*247}/e: 0 7
    err kvio_undefine fatal error: scope not existed or multiple instances
$ kvio_undefine c {e*248} t n
    1 0
    - 1 <{e*248}><t name="n"/><t name="o"/></{e*248}>
    + 1 <{e*248}><t name="o"/></{e*248}>
$ kvio_undefine c "{ *244}*[1]" t o
    1 0
    - 1 <{e*248}><t name="o"/></{e*248}>
    + 1 <{e*248}/>

# The root is no scope to any function, however it is written.
> <kavex><t name="e"/><list name="l" type="t"/><s/></kavex>
$ kvio_retrieve_entity c {.,./.,s/..,self::*,../kavex} t e
    ., ./., s/.., self::*, ../kavex: null 7
    err kvio_retrieve_entity fatal error: scope not existed or multiple instances
$ kvio_undefine c {.,s/..} t e
    ., s/..: 0 7
    err kvio_undefine fatal error: scope not existed or multiple instances
$ kvio_entity_count c {.,s/..} {t,NULL}
    . t, . NULL, s/.. t, s/.. NULL: 0 7
    err kvio_entity_count fatal error: scope not existed or multiple instances
$ kvio_list_entities c {.,s/..} t
    ., s/..: null 7
    err kvio_list_entities fatal error: scope not existed or multiple instances
$ kvio_open_list c {.,s/..} t l
    ., s/..: null 7
    err kvio_container_create_template fatal error: scope not existed or multiple instances
$ kvio_entity_count c {..,@a} t
    .., @a: 0 0

# An entity is what the expression of its scope, type and name selects.
> <kavex><s><t name="e"/><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s><p><t name="x"/></p>
> <p><t name="x"/></p></kavex>
$ kvio_retrieve_entity c s t {e,E,x,"",NULL}
    e: s/t[1]=e 0
    E, x, "", NULL: null 22
$ kvio_retrieve_entity c * u d
    null 7
    err kvio_retrieve_entity fatal error: multiple instances
$ kvio_retrieve_entity c {p[1],p} t x
    p[1]: p[1]/t=x 0
    p: null 7
    err kvio_retrieve_entity fatal error: multiple instances
$ kvio_retrieve_entity c s {*,t[not(*)],NULL,"",n:t} e
    *, t[not(*)]: s/t[1]=e 0
    NULL: null 22
    "", n:t: null 8
    err kvio_retrieve_entity error on xmlXPathEvalExpression()
$ kvio_retrieve_entity c {s/,s[@x=$other],s[,NULL} t e
    s/: s/t[1]=e 0
    s[@x=$other], s[: null 8
    err kvio_retrieve_entity error on xmlXPathEvalExpression()
    NULL: null 7
    err kvio_retrieve_entity fatal error: scope not existed or multiple instances
$ kvio_retrieve_entity c s/t @name e
    null 22
$ kvio_retrieve_entity c .. kavex e
    null 22
$ kvio_retrieve_entity c "" /t e
    null 8
    err kvio_retrieve_entity error on xmlXPathEvalExpression()
$ kvio_retrieve_entity NULL s t e
    null 6
$ kvio_entity_count c s {t,u,*,none,t[not(*)],NULL,"",n:t}
    t, u: 2 0
    *: 5 0
    none: 0 0
    t[not(*)]: 2 0
    NULL: 0 0
    "", n:t: 0 8
    err kvio_entity_count error on xmlXPathEvalExpression()
$ kvio_entity_count c {*,p,p[1],s/,s[@x=$other],s[,NULL} t
    *: 4 0
    p: 2 0
    p[1]: 1 0
    s/: 2 0
    s[@x=$other], s[: 0 8
    err kvio_entity_count error on xmlXPathEvalExpression()
    NULL: 0 7
    err kvio_entity_count fatal error: scope not existed or multiple instances
$ kvio_entity_count c s/t @name
    1 0
$ kvio_entity_count c .. kavex
    1 0
$ kvio_entity_count c "" /t
    0 8
    err kvio_entity_count error on xmlXPathEvalExpression()
$ kvio_entity_count NULL s t
    0 6
$ kvio_list_entities c s {t,u,*,none,NULL}
    t: 3 of 3 s/t[1]=e s/t[2] s/n:t=n 0
    u: 2 of 2 s/u[1]=d s/u[2]=d 0
    *, none, NULL: 0 of 0 0
$ kvio_list_entities c {p[2],*,NULL} t
    p[2]: 1 of 1 p[2]/t=x 0
    *, NULL: null 7
    err kvio_list_entities fatal error: scope not existed or multiple instances
$ kvio_list_entities NULL s t
    null 6
$ kvio_undefine c * u d
    0 7
    err kvio_undefine fatal error: multiple instances
$ kvio_undefine c {p,s[,NULL} t x
    p: 0 7
    err kvio_undefine fatal error: multiple instances
    s[: 0 8
    err kvio_undefine error on xmlXPathEvalExpression()
    NULL: 0 7
    err kvio_undefine fatal error: scope not existed or multiple instances
$ kvio_undefine c s {"",n:t,NULL} e
    "", n:t: 0 8
    err kvio_undefine error on xmlXPathEvalExpression()
    NULL: 0 22
    err kvio_undefine error: entity not existed
$ kvio_undefine c .. kavex e
    0 22
    err kvio_undefine error: entity not existed
$ kvio_undefine c s/t @name e
    0 22
    err kvio_undefine error: entity not existed
$ kvio_undefine c p[2] t x
    1 0
    - 3 <p><t name="x"/></p>
    + 3 <p/>
$ kvio_undefine c s/ t e
    1 0
    - 1 <s><t name="e"/><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s>
    + 1 <s><u name="d"/><t/><u name="d"/><n:t xmlns:n="urn:n" name="n"/></s>
$ kvio_undefine c s t n
    0 22
    err kvio_undefine error: entity not existed
$ kvio_undefine c s u "d\"] | //u[\""
    0 22
    err kvio_undefine error: entity not existed
