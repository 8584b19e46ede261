let broken = is not well-formed
let saving = Problem occurred on saving XML to
let scope = @ fatal error: scope not existed or multiple instances
# A backup holds the scope and its bare ancestors below a root without attributes. The snapshot answers under the same
# scope string, holds no lock, and is saved to its own path. Its containers are read-only.
> <kavex version="1"><top a="1" b="&lt;"><other/><t name="stray"/><mid c="2"><s d="3"><t name="e"><f>v &amp; w</f></t>
> <!-- note --><list name="l" type="t"><entity>e</entity></list></s><after/></mid></top><last/></kavex>
kvio_backup_scope c top/mid/s /tmp/backup.xml = 1; +/tmp/backup.xml(644)
snapshot = kvio_restore_scope /tmp/backup.xml = /tmp/backup.xml
e = kvio_retrieve_entity snapshot top/mid/s t e = top/mid/s/t=e
kvio_set e f new = 1
l = kvio_open_list snapshot top/mid/s t l = top/mid/s/list=l
kvio_append l x = 0 11: @() error: read-only iterator
kvio_create_table snapshot top/mid/s t new = top/mid/s/table=new
kvio_save_config snapshot = 308; ~/tmp/backup.xml(644)
other = kvio_restore_scope /etc/kavex/conf/a.xml = ~a.xml
kvio_close_config other = -1: Semaphore -1 is removed
file /tmp/broken.xml 600 <kavex><s></kavex>
kvio_restore c {/tmp/broken.xml,/tmp/none.xml,/tmp,"",NULL,/tmp/{x*4091}} = null 3: restore failed, temporary file is
    broken.
kvio_restore_scope {/tmp/broken.xml,/tmp,"",NULL,/tmp/{x*4091}} = null 3: /tmp/broken.xml <broken> | null 3: /tmp
    <broken> | null 3:  <broken> | null 3: (null) <broken> | null 3: /tmp/{x*4091} <broken>
kvio_dump c {/tmp/none/x.xml,/tmp,"",NULL} = -1 5: <saving> /tmp/none/x.xml | -1 5: <saving> /tmp | -1 5: <saving>  | -1
    5: <saving> (null)
kvio_backup_scope c last /tmp/none/x.xml = 0 5: <saving> /tmp/none/x.xml
{kvio_backup_scope,kvio_rollback_checkpoint} c {none,NULL} NULL = 0 7: <scope>
{kvio_backup_scope,kvio_rollback_checkpoint} NULL s NULL = 0 6
{kvio_dump,kvio_restore,kvio_create_checkpoint} NULL s = -1 6: @ error: passing NULL argument | null 6: @ error: passing
    NULL argument | null 6
# A dump is the whole document. What it is read into has the path and the lock of the other one; either close frees it.
kvio_dump c /tmp/dump.xml = 358; +/tmp/dump.xml(644)
copy = kvio_restore c /tmp/dump.xml = ~a.xml
m = kvio_open_list copy top/mid/s t l = top/mid/s/list=l
kvio_append m e = 1
kvio_save_config copy = 376; ~a.xml
kvio_close_config {c,copy} = -1; -lock of a.xml: Semaphore lock of a.xml is removed | -1: Semaphore lock of a.xml is
    removed
< snapshot: <kavex><top a="1" b="&lt;"><mid c="2"><s d="3"><t name="e"><f>new</f></t><!-- note -->
< snapshot: <list name="l" type="t"><entity>e</entity></list><table name="new" type="t"/></s></mid></top></kavex>

# A checkpoint outlives its document. It takes the place of the scope, whatever it was copied from.
> <kavex><a/><s k="1"><t name="e"/><list name="l" type="t"/></s><b/></kavex>
kept = kvio_create_checkpoint c s = /s
checkpoint = kvio_create_checkpoint c s = /s
kvio_close_config c = -1; -lock of a.xml: Semaphore lock of a.xml is removed
file a.xml 600 <kavex><a/><s><u/></s><b/></kavex>
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_rollback_checkpoint c s {NULL,checkpoint} = 0 15: @() error: NULL checkpoint | 1
l = kvio_open_list c s t l = s/list=l
kvio_append l e = 1
kvio_retrieve_index l 1 = s/t=e
checkpoint = kvio_create_checkpoint c b = /b
kvio_rollback_checkpoint c a checkpoint = 1
{kvio_backup_scope,kvio_rollback_checkpoint} c b kept = 0 7: <scope>
kvio_release_checkpoint {kept,NULL} = void -
< <kavex><b/><s k="1"><t name="e"/><list name="l" type="t"><entity>e</entity></list></s><b/></kavex>
