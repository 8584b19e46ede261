let template = is not existed. Creating from template
let large = /etc/kavex/conf{/*4075}b.xml
# The first lock in the life of a system has the number 0.
file a.xml 600 <kavex><s/></kavex>
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_save_as c b.xml = 46; -lock of a.xml +b.xml +lock of b.xml
kvio_close_config c = -1; -lock of b.xml: Semaphore lock of b.xml is removed
kvio_remove_config b.xml = 0; -b.xml
# The lock on a file is a semaphore for its key, of one semaphore and without permissions. Whoever closes saves nothing.
c = kvio_open_config ././a.xml 64 = ~././a.xml; +lock of a.xml: @ success. (~././a.xml, lock of a.xml)
kvio_open_config a.xml {0,64} = null 1: a.xml is locked.
kvio_define c s t e = 1
kvio_close_config c = -1; -lock of a.xml: Semaphore lock of a.xml is removed
# Key 0 would be IPC_PRIVATE, which excludes nobody.
key a.xml 0 0
c = kvio_open_config a.xml 0 = ~a.xml; +lock of a.xml: @ success. (~a.xml, lock of a.xml)
kvio_open_config a.xml 0 = null 1: a.xml is locked.
# A name is looked for in the configuration directory, but for one, and only when it is opened. A missing one is made
# from that, whole or not at all. What is there, or appears meanwhile, stays.
file b.xml 640 <kavex/>
kvio_open_config n.xml {0,64} = null 4: ftok(~n.xml) failed | null 4: n.xml <template> / ftok(~n.xml) failed
file /etc/__system_default.xml 644 <kavex>
{kvio_copy_config,kvio_rename_config} __system_default.xml n.xml = -1 21: copy: __system_default.xml is not existed | -1
    21: rename: __system_default.xml is not existed
kvio_copy_config b.xml __system_default.xml = 0; +__system_default.xml
kvio_remove_config __system_default.xml = 0; -__system_default.xml
kvio_open_config __system_default.xml 0 = null 3: /etc/__system_default.xml is not well-formed
kvio_open_config n.xml 64 = null 4: n.xml <template> / ftok(~n.xml) failed
file /etc/__system_default.xml 644 <kavex><default/></kavex>
with pwrite 1+ ENOSPC kvio_open_config n.xml 64 = null 4: n.xml <template> / ftok(~n.xml) failed
kvio_open_config n.xml {65,64} = null 4: ftok(~n.xml) failed | ~n.xml; +lock of n.xml +n.xml: n.xml <template> / @
    success. (~n.xml, lock of n.xml)
with ftok 1 ENOENT kvio_open_config b.xml 64 = ~b.xml; +lock of b.xml: b.xml <template> / @ success. (~b.xml, lock of
    b.xml)
# The lock is on the file that has the name then.
with ftok 2+ ENOENT kvio_open_config b.xml 0 = null 4: ftok(~b.xml) failed
with ftok 2 ENOENT kvio_open_config b.xml 0 = ~b.xml; +lock of b.xml: @ success. (~b.xml, lock of b.xml)

# Saved under another name, a handle moves there with its lock.
> <t name="e"/>
file b.xml 640 old
kvio_save_as c {b.xml,c.xml} = 70; -lock of a.xml ~b.xml(640) +lock of b.xml | 70; -lock of b.xml +c.xml +lock of c.xml
kvio_define c s t f = 1
kvio_save_config c = 88; ~c.xml
kvio_save_as c {c.xml,none/x.xml,NULL,""} = -1 1: system error message: File exists / c.xml is opened by other instance
    | -1 4: ftok(~none/x.xml) failed | -1 4: ftok(~) failed
with pwrite 1+ EIO kvio_save_as c b.xml = -1 5: Problem occurred on saving XML to b.xml
with pwrite 1+ EIO kvio_save_as c fresh.xml = -1 5; +fresh.xml: Problem occurred on saving XML to fresh.xml
with linkat 1 EEXIST kvio_save_as c new.xml = -1 1: system error message: File exists / new.xml is opened by other
    instance
remove c.xml
kvio_save_config c = 88; +c.xml
kvio_save_as c a.xml = 88; -lock of  ~a.xml +lock of a.xml
{kvio_save_config,kvio_close_config} NULL = -1 6: @ error: passing NULL argument
kvio_save_as NULL b.xml = -1 6: @ error: passing NULL argument
< <t name="e"/><t name="f"/>

# What cannot be opened leaves no lock.
> <s/>
file b.xml 640 <kavex/>
file bad.xml 600 <kavex>
directory dir
kvio_open_config {none/a.xml,"",NULL,{/*4074}b.xmlX} 0 = null 4: ftok(~none/a.xml) failed | null 4: ftok(~) failed | ^ |
    null 4: ftok(<large>X) failed
kvio_open_config {bad.xml,bad.xml,dir} 0 = null 3: ~bad.xml is not well-formed | ^ | null 3: ~dir is not well-formed
with semget 1 ENOSPC kvio_open_config b.xml 0 = null 1: error on semget()
kvio_open_config {/*4074}b.xml 0 = <large>; +lock of b.xml: @ success. (<large>, lock of b.xml)
# A copy overwrites in place and leaves the old file where it fails; a new file is for its owner alone.
file big 640 {a*4095}{b*4097}{c*4096}{d*9000}
file bigger 640 {z*30000}
pipe pipe
kvio_copy_config big {b.xml,bigger,new} = 0; ~b.xml(640) | 0; ~bigger(640) | 0; +new
with linkat 1 EEXIST kvio_copy_config big other = -1 1: other is being opened
file old 600 old
kvio_copy_config {none/b,NULL,a.xml,old,./old,dir,pipe} old = -1 21: copy: none/b is not existed | -1 4: ftok(~) failed
    | -1 1: a.xml is being opened | -1 1: old is being opened | ^ | -1 5: copy: dir: Is a directory | -1 5: copy: pipe:
    Invalid argument
kvio_copy_config old {none/b,dir,pipe,a.xml} = -1 4: ftok(~none/b) failed | -1 5: copy: dir: Is a directory | -1 5:
    copy: pipe: Invalid argument | -1 1: a.xml is being opened
with ftok 1 EACCES kvio_copy_config big old = -1 4: ftok(~big) failed
with semget 2 ENOSPC kvio_copy_config big old = -1 1: old is being opened
with pread 1+ EIO kvio_copy_config big old = -1 5: copy: big: Input/output error
with pwrite 1+ EDQUOT kvio_copy_config big old = -1 5: copy: old: Disk quota exceeded
# Renamed, a file replaces none. Where the empty one that takes its place first gets no semaphore, this one stays.
kvio_rename_config b.xml {a.xml,none/x,small/x,NULL,x} = -1 10: rename: target file "a.xml" is already existed | -1 4:
    ftok(~none/x) failed | -1 5: rename: b.xml: Invalid cross-device link | -1 4: ftok(~) failed | 0; -b.xml(640)
    +x(640)
kvio_rename_config {none,NULL,a.xml} y = -1 21: rename: none is not existed | -1 4: ftok(~) failed | -1 1: a.xml is
    being opened
with rename 1 EIO kvio_rename_config x y = -1 5: rename: x: Input/output error
with fsync 1 EIO kvio_rename_config x y = -1 5: rename: x: Input/output error
with fsync 3 EIO kvio_rename_config x y = 0; -x(640) +y(640)
with linkat 1 EEXIST kvio_rename_config y new2 = -1 10: rename: target file "new2" is already existed
with semget 2 ENOSPC kvio_rename_config y x = -1 1; +x: x is being opened
# Removed is what nobody has open.
kvio_remove_config {none,NULL,a.xml,dir} = -1 21: remove: none is not existed | -1 4: ftok(~) failed | -1 1: a.xml is
    being opened | -1 5: remove: dir: Is a directory
with fsync 1 EIO kvio_remove_config y = -1 5; -y(640): remove: y: Input/output error

# A document in an encoding of its own, which lacks a character.
> <?xml version="1.0" encoding="ISO-8859-1"?><kavex><s><t name="e"><f>{x*9000}&#8364;</f></t></s></kavex>
kvio_dump c /tmp/dump.xml = 9121; +/tmp/dump.xml(644)
