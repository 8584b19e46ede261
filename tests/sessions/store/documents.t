let template = is not existed. Creating from template
# The first lock in the life of a system has the number 0.
file a.xml 600 <kavex><s/></kavex>
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_save_as c b.xml = 46; -lock of a.xml +b.xml +lock of b.xml
kvio_close_config c = -1; -lock of b.xml: Semaphore lock of b.xml is removed
kvio_remove_config b.xml = 0; -b.xml
# The lock on a file is a semaphore for its key, of one semaphore and without permissions. Whoever closes saves nothing.
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_open_config a.xml {0,64} = null 1: a.xml is locked.
kvio_define c s t e = 1
kvio_close_config c = -1; -lock of a.xml: Semaphore lock of a.xml is removed
c = kvio_open_config a.xml 64 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_define c s t e = 1
{kvio_save_config,kvio_close_config} c = 70; ~a.xml | -1; -lock of a.xml: Semaphore lock of a.xml is removed
kvio_open_config n.xml {0,64} = null 4: ftok(~n.xml) failed | null 4: n.xml <template> / ftok(~n.xml) failed
# A name is looked for in the configuration directory, but for one, and only when it is opened.
file b.xml 640 <kavex/>
file /etc/__system_default.xml 644 <kavex><default/></kavex>
d = kvio_open_config __system_default.xml 0 = /etc/__system_default.xml; +lock of /etc/__system_default.xml: @ success.
    (/etc/__system_default.xml, lock of /etc/__system_default.xml)
kvio_copy_config __system_default.xml b.xml = -1 21: copy: __system_default.xml is not existed
kvio_rename_config __system_default.xml b2.xml = -1 21: rename: __system_default.xml is not existed
kvio_remove_config __system_default.xml = -1 21: remove: __system_default.xml is not existed
kvio_copy_config b.xml __system_default.xml = 0; +__system_default.xml
kvio_remove_config __system_default.xml = 0; -__system_default.xml
kvio_close_config d = -1; -lock of /etc/__system_default.xml: Semaphore lock of /etc/__system_default.xml is removed
b = kvio_open_config ././b.xml 0 = ~././b.xml; +lock of b.xml: @ success. (~././b.xml, lock of b.xml)
kvio_open_config b.xml 0 = null 1: b.xml is locked.
kvio_close_config b = -1; -lock of b.xml: Semaphore lock of b.xml is removed
# Where there is a template, a missing one can be made from it, whole or not at all. What is there, or appears meanwhile,
# stays.
kvio_open_config n.xml {0,65} = null 4: ftok(~n.xml) failed
file /etc/__system_default.xml 644 <kavex>
kvio_open_config n.xml 64 = null 4: n.xml <template> / ftok(~n.xml) failed
file /etc/__system_default.xml 644 <kavex><default/></kavex>
with pwrite 1+ ENOSPC kvio_open_config n.xml 64 = null 4: n.xml <template> / ftok(~n.xml) failed
with fdatasync 1+ ENOSPC kvio_open_config n.xml 64 = null 4: n.xml <template> / ftok(~n.xml) failed
kvio_open_config n.xml 64 = ~n.xml; +lock of n.xml +n.xml: n.xml <template> / @ success. (~n.xml, lock of n.xml)
kvio_open_config {n*255} 64 = ~{n*255}; +lock of {n*255} +{n*255}: {n*255} <template> / @ success. (~{n*255}, lock of
    {n*255})
kvio_remove_config {n*255} = 0; -{n*255}
with ftok 1 ENOENT kvio_open_config b.xml 64 = ~b.xml; +lock of b.xml: b.xml <template> / @ success. (~b.xml, lock of
    b.xml)
# The lock is on the file that has the name then.
with ftok 2 ENOENT kvio_open_config b.xml 0 = ~b.xml; +lock of b.xml: @ success. (~b.xml, lock of b.xml)
# Key 0 would be IPC_PRIVATE, which excludes nobody.
file k.xml 600 <kavex/>
key k.xml 0 0
b = kvio_open_config k.xml 0 = ~k.xml; +lock of k.xml: @ success. (~k.xml, lock of k.xml)
kvio_open_config k.xml 0 = null 1: k.xml is locked.
kvio_close_config b = -1; -lock of k.xml: Semaphore lock of k.xml is removed

# Saved under another name, a handle moves there with its lock.
> <t name="e"/>
file b.xml 640 old
kvio_save_as c {b.xml,c.xml} = 70; -lock of a.xml ~b.xml(640) +lock of b.xml | 70; -lock of b.xml +c.xml +lock of c.xml
kvio_define c s t f = 1
kvio_save_config c = 88; ~c.xml
kvio_save_as c {c.xml,none/x.xml,NULL,""} = -1 1: system error message: File exists / c.xml is opened by other instance
    | -1 4: ftok(~none/x.xml) failed | -1 4: ftok(~) failed
with semget 1 ENOSPC kvio_save_as c new.xml = -1 1; +new.xml: system error message: No space left on device / new.xml is
    opened by other instance
with ftok 1 EACCES kvio_save_as c new2.xml = -1 4: ftok(~new2.xml) failed
with pwrite 1+ EIO kvio_save_as c b.xml = -1 5: Problem occurred on saving XML to b.xml
with pwrite 1+ EIO kvio_save_as c fresh.xml = -1 5; +fresh.xml: Problem occurred on saving XML to fresh.xml
with linkat 1 EEXIST kvio_save_as c fresh2.xml = -1 1: system error message: File exists / fresh2.xml is opened by other
    instance
remove c.xml
kvio_save_config c = 88; +c.xml
kvio_save_as c a.xml = 88; -lock of  ~a.xml +lock of a.xml
kvio_save_as NULL b.xml = -1 6: @ error: passing NULL argument
{kvio_save_config,kvio_close_config} NULL = -1 6: @ error: passing NULL argument
< <t name="e"/><t name="f"/>

# What cannot be opened. Nothing stays locked.
> <t name="held"/>
file b.xml 600 <kavex/>
file bad.xml 600 <kavex>
directory dir
kvio_open_config {none/a.xml,none.xml,"",NULL,{/*4074}b.xmlX} 0 = null 4: ftok(~none/a.xml) failed | null 4:
    ftok(~none.xml) failed | null 4: ftok(~) failed | ^ | null 4: ftok(/etc/kavex/conf{/*4075}b.xmlX) failed
kvio_open_config {bad.xml,bad.xml,dir} 0 = null 3: ~bad.xml is not well-formed | ^ | null 3: ~dir is not well-formed
with ftok 1 EACCES kvio_open_config b.xml 0 = null 4: ftok(~b.xml) failed
with semget 1 ENOSPC kvio_open_config b.xml 0 = null 1: error on semget()
with open 1+ EACCES kvio_open_config b.xml 0 = null 3: ~b.xml is not well-formed
with pread 1+ EIO kvio_open_config b.xml 0 = null 3: ~b.xml is not well-formed
kvio_open_config {/*4074}b.xml 0 = /etc/kavex/conf{/*4075}b.xml; +lock of b.xml: @ success.
    (/etc/kavex/conf{/*4075}b.xml, lock of b.xml)

# A copy overwrites in place and leaves the old file where it fails; a new file is for its owner alone.
> <t name="held"/>
file b.xml 640 old
file big 600 {a*4095}{b*4097}{c*4096}{d*9000}
file bigger 640 {z*30000}
pipe pipe
directory dir
kvio_copy_config big {b.xml,bigger,fresh} = 0; ~b.xml(640) | 0; ~bigger(640) | 0; +fresh
with pread 1 EINTR kvio_copy_config b.xml fresh = 0
file old 600 old
kvio_copy_config {none,none/b,NULL,"",a.xml,old,./old} old = -1 21: copy: none is not existed | -1 21: copy: none/b is
    not existed | -1 4: ftok(~) failed | ^ | -1 1: a.xml is being opened | -1 1: old is being opened
kvio_copy_config old {none/b,dir,pipe,NULL,a.xml} = -1 4: ftok(~none/b) failed | -1 5: copy: dir: Is a directory | -1 5:
    copy: pipe: Invalid argument | -1 4: ftok(~) failed | -1 1: a.xml is being opened
kvio_copy_config {dir,pipe} old = -1 5: copy: dir: Is a directory | -1 5: copy: pipe: Invalid argument
with ftok 1 EACCES kvio_copy_config big old = -1 4: ftok(~big) failed
with ftok 3 EACCES kvio_copy_config big old = -1 4: ftok(~old) failed
with semget 2 ENOSPC kvio_copy_config big old = -1 1: old is being opened
with pread 1+ EIO kvio_copy_config big old = -1 5: copy: big: Input/output error
with pwrite 1+ EDQUOT kvio_copy_config big old = -1 5: copy: old: Disk quota exceeded
# Renamed, a file replaces none. Where there is no semaphore for the empty one that takes its place first, this one stays.
kvio_rename_config b.xml x = 0; -b.xml(640) +x(640)
kvio_rename_config x {a.xml,x,none/x,small/x,NULL} = -1 10: rename: target file "a.xml" is already existed | -1 10:
    rename: target file "x" is already existed | -1 4: ftok(~none/x) failed | -1 5: rename: x: Invalid cross-device link
    | -1 4: ftok(~) failed
kvio_rename_config {none,NULL,"",a.xml,none/a} y = -1 21: rename: none is not existed | -1 4: ftok(~) failed | ^ | -1 1:
    a.xml is being opened | -1 21: rename: none/a is not existed
with rename 1 EIO kvio_rename_config x y = -1 5: rename: x: Input/output error
with fsync 1 EIO kvio_rename_config x y = -1 5: rename: x: Input/output error
with fsync 2+ EIO kvio_rename_config x y = 0; -x(640) +y(640)
kvio_rename_config y x = 0; -y(640) +x(640)
with ftok 2 EACCES kvio_rename_config x y = -1 4: ftok(~x) failed
with semget 1 ENOSPC kvio_rename_config x y = -1 1: x is being opened
with semget 2 ENOSPC kvio_rename_config x y = -1 1; +y: y is being opened
# Removed is what nobody has open.
kvio_remove_config {none,NULL,"",a.xml,none/a,dir} = -1 21: remove: none is not existed | -1 4: ftok(~) failed | ^ | -1
    1: a.xml is being opened | -1 21: remove: none/a is not existed | -1 5: remove: dir: Is a directory
with unlink 1 EROFS kvio_remove_config x = -1 5: remove: x: Read-only file system
kvio_remove_config x = 0; -x(640)
# Where a file system is full.
file small/full.xml 600 old
file large 600 {l*300000}
kvio_copy_config large small/full.xml = -1 5: copy: small/full.xml: No space left on device

# A document in an encoding of its own, which lacks a character.
> <?xml version="1.0" encoding="ISO-8859-1"?><kavex><s><t name="e"><f>{x*9000}&#8364;</f></t></s></kavex>
kvio_dump c /tmp/dump.xml = 9121; +/tmp/dump.xml(644)
kvio_save_config c = 9121; ~a.xml
