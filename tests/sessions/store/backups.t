let saving = Problem occurred on saving XML to
# A backup holds the scope and its bare ancestors below a root without attributes. The open document stays.
> <kavex version="1"><top a="1" b="&lt;"><other/><t name="stray"/><mid c="2"><s d="3"><t name="e"><f>v &amp; w</f></t><!-- note -->
> <list name="l" type="t"><entity>e</entity></list></s><after/></mid></top><last/></kavex>
kvio_backup_scope c top/mid/s /tmp/backup.xml = 1; +/tmp/backup.xml(644)
kvio_backup_scope c last /tmp/last.xml = 1; +/tmp/last.xml(644)
# The snapshot answers under the same scope string, holds no lock, and is saved to its own path. Its containers are read
# only.
snapshot = kvio_restore_scope /tmp/backup.xml = /tmp/backup.xml
e = kvio_retrieve_entity snapshot top/mid/s t e = top/mid/s/t=e
kvio_set e f new = 1
l = kvio_open_list snapshot top/mid/s t l = top/mid/s/list=l
kvio_append l x = 0 11: @() error: read-only iterator
kvio_create_table snapshot top/mid/s t new = top/mid/s/table=new
kvio_dispose_list snapshot top/mid/s t l = 1
{kvio_save_config,kvio_close_config} snapshot = 239; ~/tmp/backup.xml(644) | -1: Semaphore -1 is removed
# So a file can be read that is open elsewhere.
snapshot = kvio_restore_scope /etc/kavex/conf/a.xml = ~a.xml
kvio_close_config snapshot = -1: Semaphore -1 is removed
kvio_backup_scope NULL last /tmp/x.xml = 0 6

# A dump is the whole document. The one that it is read into has the path and the lock of the other one; closing either
# releases it.
> <?xml version="1.0"?><!DOCTYPE kavex><!-- a --><kavex version="1"><s><t name="e"/><list name="l" type="t"/></s></kavex>
kvio_dump c /tmp/dump.xml = 140; +/tmp/dump.xml(644)
kvio_undefine c s t e = 1
copy = kvio_restore c /tmp/dump.xml = ~a.xml
kvio_entity_count c s t = 0
m = kvio_open_list copy s t l = s/list=l
kvio_append m e = 1
kvio_save_config copy = 164; ~a.xml
kvio_close_config {c,copy} = -1; -lock of a.xml: Semaphore lock of a.xml is removed | -1: Semaphore lock of a.xml is
    removed

# Paths that cannot be read or written.
> <t name="e"/>
file /tmp/broken.xml 600 <kavex><s></kavex>
kvio_restore c {/tmp/broken.xml,/tmp/none.xml,/tmp,"",NULL,/tmp/{x*4091}} = null 3: restore failed, temporary file is
    broken.
kvio_restore_scope {/tmp/broken.xml,/tmp/none.xml,/tmp,"",NULL,/tmp/{x*4091}} = null 3: /tmp/broken.xml is not
    well-formed | null 3: /tmp/none.xml is not well-formed | null 3: /tmp is not well-formed | null 3:  is not
    well-formed | null 3: (null) is not well-formed | null 3: /tmp/{x*4091} is not well-formed
kvio_dump c {/tmp/none/x.xml,/tmp,/tmp/broken.xml/x.xml,"",NULL} = -1 5: <saving> /tmp/none/x.xml | -1 5: <saving> /tmp
    | -1 5: <saving> /tmp/broken.xml/x.xml | -1 5: <saving>  | -1 5: <saving> (null)
kvio_backup_scope c s {/tmp/none/x.xml,/tmp,/tmp/broken.xml/x.xml,"",NULL} = 0 5: <saving> /tmp/none/x.xml | 0 5:
    <saving> /tmp | 0 5: <saving> /tmp/broken.xml/x.xml | 0 5: <saving>  | 0 5: <saving> (null)
kvio_backup_scope c {none,NULL} /tmp/x.xml = 0 7: @ fatal error: scope not existed or multiple instances
kvio_dump NULL /tmp/x.xml = -1 6: @ error: passing NULL argument
kvio_restore NULL /tmp/broken.xml = null 6: @ error: passing NULL argument

# A checkpoint outlives its document. It takes the place of the scope.
> <kavex><a/><s k="1"><t name="e"/><list name="l" type="t"/></s><b/></kavex>
kept = kvio_create_checkpoint c s = /s
checkpoint = kvio_create_checkpoint c s = /s
kvio_create_checkpoint c {none,NULL} = null 7: @ fatal error: scope not existed or multiple instances
kvio_close_config c = -1; -lock of a.xml: Semaphore lock of a.xml is removed
file a.xml 600 <kavex><a/><s><u/></s><b/></kavex>
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_rollback_checkpoint c none checkpoint = 0 7: @ fatal error: scope not existed or multiple instances
kvio_rollback_checkpoint c s {NULL,checkpoint} = 0 15: @() error: NULL checkpoint | 1
l = kvio_open_list c s t l = s/list=l
kvio_append l e = 1
kvio_retrieve_index l 1 = s/t=e
kvio_close_list l = 1 -
# Whatever it was copied from, it goes where it is told; a scope there are two of is none.
checkpoint = kvio_create_checkpoint c b = /b
kvio_rollback_checkpoint c s checkpoint = 1
kvio_rollback_checkpoint c b kept = 0 7: @ fatal error: scope not existed or multiple instances
kvio_backup_scope c b /tmp/b.xml = 0 7: @ fatal error: scope not existed or multiple instances
kvio_release_checkpoint {kept,NULL} = void -
kvio_create_checkpoint NULL s = null 6
kvio_rollback_checkpoint NULL s NULL = 0 6
< <kavex><a/><b/><b/></kavex>
