# A backup holds the scope and its bare ancestors below a root without attributes. The open document stays.
> <kavex version="1"><top a="1" b="&lt;"><other/><t name="stray"/><mid c="2"><s d="3"><t name="e"><f>v &amp; w</f></t><!-- note -->
> <list name="l" type="t"><entity>e</entity></list></s><after/></mid></top><last/></kavex>
$ kvio_backup_scope c top/mid/s /tmp/backup.xml
    1 0
    + file /tmp/backup.xml 644 <?xml version="1.0"?>\n<kavex>\n  <top a="1" b="&lt;">\n    <mid c="2">\n      <s d="3">\n        <t name="e">\n          <f>v &amp; w</f>\n        </t>\n        <!-- note -->\n        <list name="l" type="t">\n          <entity>e</entity>\n        </list>\n      </s>\n    </mid>\n  </top>\n</kavex>\n
$ kvio_backup_scope c last /tmp/last.xml
    1 0
    + file /tmp/last.xml 644 <?xml version="1.0"?>\n<kavex>\n  <last/>\n</kavex>\n
# The snapshot answers under the same scope string, holds no lock, and is saved to its own path. Its containers are read
# only.
$ snapshot = kvio_restore_scope /tmp/backup.xml
    /tmp/backup.xml 0
$ e = kvio_retrieve_entity snapshot top/mid/s t e
    top/mid/s/t=e 0
$ kvio_set e f new
    1 0
    - 1 <t name="e"><f>v &amp; w</f></t>
    + 1 <t name="e"><f>new</f></t>
$ l = kvio_open_list snapshot top/mid/s t l
    top/mid/s/list=l 0
$ kvio_append l x
    0 11
    err kvio_append() error: read-only iterator
$ kvio_create_table snapshot top/mid/s t new
    top/mid/s/table=new 0
    + 4 <table name="new" type="t"/>
$ kvio_dispose_list snapshot top/mid/s t l
    1 0
    - 3 <list name="l" type="t"><entity>e</entity></list>

$ kvio_save_config snapshot
    239 0
    - file /tmp/backup.xml 644 <?xml version="1.0"?>\n<kavex>\n  <top a="1" b="&lt;">\n    <mid c="2">\n      <s d="3">\n        <t name="e">\n          <f>v &amp; w</f>\n        </t>\n        <!-- note -->\n        <list name="l" type="t">\n          <entity>e</entity>\n        </list>\n      </s>\n    </mid>\n  </top>\n</kavex>\n
    + file /tmp/backup.xml 644 <?xml version="1.0"?>\n<kavex>\n  <top a="1" b="&lt;">\n    <mid c="2">\n      <s d="3">\n        <t name="e">\n          <f>new</f>\n        </t>\n        <!-- note -->\n        \n      <table name="new" type="t"/></s>\n    </mid>\n  </top>\n</kavex>\n
$ kvio_close_config snapshot
    -1 0
    err Semaphore -1 is removed
# So a file can be read that is open elsewhere.
$ snapshot = kvio_restore_scope /etc/kavex/conf/a.xml
    /etc/kavex/conf/a.xml 0
$ kvio_close_config snapshot
    -1 0
    err Semaphore -1 is removed
$ kvio_backup_scope NULL last /tmp/x.xml
    0 6

# A dump is the whole document. The one that it is read into has the path and the lock of the other one; closing either
# releases it.
> <?xml version="1.0"?><!DOCTYPE kavex><!-- a --><kavex version="1"><s><t name="e"/><list name="l" type="t"/></s></kavex>
$ kvio_dump c /tmp/dump.xml
    140 0
    + file /tmp/dump.xml 644 <?xml version="1.0"?>\n<!DOCTYPE kavex>\n<!-- a -->\n<kavex version="1">\n  <s>\n    <t name="e"/>\n    <list name="l" type="t"/>\n  </s>\n</kavex>\n
$ kvio_undefine c s t e
    1 0
    - 1 <t name="e"/>
$ copy = kvio_restore c /tmp/dump.xml
    /etc/kavex/conf/a.xml 0
$ kvio_entity_count c s t
    0 0
$ m = kvio_open_list copy s t l
    s/list=l 0
$ kvio_append m e
    1 0
    - 2 <list name="l" type="t"/>
    + 2 <list name="l" type="t"><entity>e</entity></list>
$ kvio_save_config copy
    164 0
    - file a.xml 600 <?xml version="1.0"?><!DOCTYPE kavex><!-- a --><kavex version="1"><s><t name="e"/><list name="l" type="t"/></s></kavex>
    + file a.xml 600 <?xml version="1.0"?>\n<!DOCTYPE kavex>\n<!-- a -->\n<kavex version="1">\n  <s>\n    <t name="e"/>\n    <list name="l" type="t"><entity>e</entity></list>\n  </s>\n</kavex>\n
$ kvio_close_config c
    -1 0
    err Semaphore <lock of a.xml> is removed
    - lock a.xml
$ kvio_close_config copy
    -1 0
    err Semaphore <lock of a.xml> is removed

# Paths that cannot be read or written.
> <t name="e"/>
file /tmp/broken.xml 600 <kavex><s></kavex>
$ kvio_restore c {/tmp/broken.xml,/tmp/none.xml,/tmp,"",NULL,/tmp/{x*4091}}
    /tmp/broken.xml, /tmp/none.xml, /tmp, "", NULL, /tmp/{x*4091}: null 3
    err restore failed, temporary file is broken.
$ kvio_restore_scope {/tmp/broken.xml,/tmp/none.xml,/tmp,"",NULL,/tmp/{x*4091}}
    /tmp/broken.xml: null 3
    err /tmp/broken.xml is not well-formed
    /tmp/none.xml: null 3
    err /tmp/none.xml is not well-formed
    /tmp: null 3
    err /tmp is not well-formed
    "": null 3
    err  is not well-formed
    NULL: null 3
    err (null) is not well-formed
    /tmp/{x*4091}: null 3
    err /tmp/{x*4091} is not well-formed
$ kvio_dump c {/tmp/none/x.xml,/tmp,/tmp/broken.xml/x.xml,"",NULL}
    /tmp/none/x.xml: -1 5
    err Problem occurred on saving XML to /tmp/none/x.xml
    /tmp: -1 5
    err Problem occurred on saving XML to /tmp
    /tmp/broken.xml/x.xml: -1 5
    err Problem occurred on saving XML to /tmp/broken.xml/x.xml
    "": -1 5
    err Problem occurred on saving XML to
    NULL: -1 5
    err Problem occurred on saving XML to (null)
$ kvio_backup_scope c s {/tmp/none/x.xml,/tmp,/tmp/broken.xml/x.xml,"",NULL}
    /tmp/none/x.xml: 0 5
    err Problem occurred on saving XML to /tmp/none/x.xml
    /tmp: 0 5
    err Problem occurred on saving XML to /tmp
    /tmp/broken.xml/x.xml: 0 5
    err Problem occurred on saving XML to /tmp/broken.xml/x.xml
    "": 0 5
    err Problem occurred on saving XML to
    NULL: 0 5
    err Problem occurred on saving XML to (null)
$ kvio_backup_scope c {none,NULL} /tmp/x.xml
    none, NULL: 0 7
    err kvio_backup_scope fatal error: scope not existed or multiple instances
$ kvio_dump NULL /tmp/x.xml
    -1 6
    err kvio_dump error: passing NULL argument
$ kvio_restore NULL /tmp/broken.xml
    null 6
    err kvio_restore error: passing NULL argument

# A checkpoint outlives its document. It takes the place of the scope.
> <kavex><a/><s k="1"><t name="e"/><list name="l" type="t"/></s><b/></kavex>
$ kept = kvio_create_checkpoint c s
    /s 0
$ checkpoint = kvio_create_checkpoint c s
    /s 0
$ kvio_create_checkpoint c {none,NULL}
    none, NULL: null 7
    err kvio_create_checkpoint fatal error: scope not existed or multiple instances
$ kvio_close_config c
    -1 0
    err Semaphore <lock of a.xml> is removed
    - lock a.xml
file a.xml 600 <kavex><a/><s><u/></s><b/></kavex>
$ c = kvio_open_config a.xml 0
    /etc/kavex/conf/a.xml 0
    err kvio_open_config success. (/etc/kavex/conf/a.xml, <lock of a.xml>)
    + lock a.xml
$ kvio_rollback_checkpoint c none checkpoint
    0 7
    err kvio_rollback_checkpoint fatal error: scope not existed or multiple instances
$ kvio_rollback_checkpoint c s NULL
    0 15
    err kvio_rollback_checkpoint() error: NULL checkpoint
$ kvio_rollback_checkpoint c s checkpoint
    1 0
    - 2 <s><u/></s>
    + 2 <s k="1"><t name="e"/><list name="l" type="t"/></s>
$ l = kvio_open_list c s t l
    s/list=l 0
$ kvio_append l e
    1 0
    - 2 <s k="1"><t name="e"/><list name="l" type="t"/></s>
    + 2 <s k="1"><t name="e"/><list name="l" type="t"><entity>e</entity></list></s>
$ kvio_retrieve_index l 1
    s/t=e 0
$ kvio_close_list l
    1 -

# Whatever it was copied from, it goes where it is told; a scope there are two of is none.
$ checkpoint = kvio_create_checkpoint c b
    /b 0
$ kvio_rollback_checkpoint c s checkpoint
    1 0
    - 2 <s k="1"><t name="e"/><list name="l" type="t"><entity>e</entity></list></s>
    + 3 <b/>
$ kvio_rollback_checkpoint c b kept
    0 7
    err kvio_rollback_checkpoint fatal error: scope not existed or multiple instances
$ kvio_backup_scope c b /tmp/b.xml
    0 7
    err kvio_backup_scope fatal error: scope not existed or multiple instances
$ kvio_release_checkpoint kept
    void -
$ kvio_release_checkpoint NULL
    void -
$ kvio_create_checkpoint NULL s
    null 6
$ kvio_rollback_checkpoint NULL s NULL
    0 6
