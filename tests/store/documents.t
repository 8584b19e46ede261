# The first lock in the life of a system has the number 0.
file a.xml 600 <kavex><s/></kavex>
$ c = kvio_open_config a.xml 0
    /etc/kavex/conf/a.xml 0
    err kvio_open_config success. (/etc/kavex/conf/a.xml, <lock of a.xml>)
    + lock a.xml
$ kvio_save_as c b.xml
    46 0
    - lock a.xml
    + file b.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s/>\n</kavex>\n
    + lock b.xml
$ kvio_close_config c
    -1 0
    err Semaphore <lock of b.xml> is removed
    - lock b.xml
$ kvio_remove_config b.xml
    0 0
    - file b.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s/>\n</kavex>\n

# The lock on a file is a semaphore for its key, of one semaphore and without permissions. Whoever closes saves nothing.
$ c = kvio_open_config a.xml 0
    /etc/kavex/conf/a.xml 0
    err kvio_open_config success. (/etc/kavex/conf/a.xml, <lock of a.xml>)
    + lock a.xml
$ kvio_open_config a.xml {0,64}
    0, 64: null 1
    err a.xml is locked.
$ kvio_define c s t e
    1 0
    + 1 <t name="e"/>
$ kvio_close_config c
    -1 0
    err Semaphore <lock of a.xml> is removed
    - lock a.xml
$ c = kvio_open_config a.xml 64
    /etc/kavex/conf/a.xml 0
    err kvio_open_config success. (/etc/kavex/conf/a.xml, <lock of a.xml>)
    + lock a.xml
$ kvio_define c s t e
    1 0
    + 1 <t name="e"/>
$ kvio_save_config c
    70 0
    - file a.xml 600 <kavex><s/></kavex>
    + file a.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n  </s>\n</kavex>\n
$ kvio_close_config c
    -1 0
    err Semaphore <lock of a.xml> is removed
    - lock a.xml
$ kvio_open_config n.xml {0,64}
    0: null 4
    err ftok(/etc/kavex/conf/n.xml) failed
    64: null 4
    err n.xml is not existed. Creating from template
    err ftok(/etc/kavex/conf/n.xml) failed

# A name is looked for in the configuration directory, but for one, and only when it is opened.
file b.xml 640 <kavex/>
file /etc/__system_default.xml 644 <kavex><default/></kavex>
$ d = kvio_open_config __system_default.xml 0
    /etc/__system_default.xml 0
    err kvio_open_config success. (/etc/__system_default.xml, <lock of /etc/__system_default.xml>)
    + lock /etc/__system_default.xml
$ kvio_copy_config __system_default.xml b.xml
    -1 21
    err copy: __system_default.xml is not existed
$ kvio_rename_config __system_default.xml b2.xml
    -1 21
    err rename: __system_default.xml is not existed
$ kvio_remove_config __system_default.xml
    -1 21
    err remove: __system_default.xml is not existed
$ kvio_copy_config b.xml __system_default.xml
    0 0
    + file __system_default.xml 600 <kavex/>
$ kvio_remove_config __system_default.xml
    0 0
    - file __system_default.xml 600 <kavex/>
$ kvio_close_config d
    -1 0
    err Semaphore <lock of /etc/__system_default.xml> is removed
    - lock /etc/__system_default.xml
$ b = kvio_open_config ././b.xml 0
    /etc/kavex/conf/././b.xml 0
    err kvio_open_config success. (/etc/kavex/conf/././b.xml, <lock of b.xml>)
    + lock b.xml
$ kvio_open_config b.xml 0
    null 1
    err b.xml is locked.
$ kvio_close_config b
    -1 0
    err Semaphore <lock of b.xml> is removed
    - lock b.xml

# Where there is a template, a missing one can be made from it, whole or not at all. What is there, or appears meanwhile,
# stays.
$ kvio_open_config n.xml {0,65}
    0, 65: null 4
    err ftok(/etc/kavex/conf/n.xml) failed
file /etc/__system_default.xml 644 <kavex>
$ kvio_open_config n.xml 64
    null 4
    err n.xml is not existed. Creating from template
    err ftok(/etc/kavex/conf/n.xml) failed
file /etc/__system_default.xml 644 <kavex><default/></kavex>
with pwrite 1+ ENOSPC
$ kvio_open_config n.xml 64
    null 4
    err n.xml is not existed. Creating from template
    err ftok(/etc/kavex/conf/n.xml) failed
with fdatasync 1+ ENOSPC
$ kvio_open_config n.xml 64
    null 4
    err n.xml is not existed. Creating from template
    err ftok(/etc/kavex/conf/n.xml) failed
$ n = kvio_open_config n.xml 64
    /etc/kavex/conf/n.xml 0
    err n.xml is not existed. Creating from template
    err kvio_open_config success. (/etc/kavex/conf/n.xml, <lock of n.xml>)
    + file n.xml 600 <kavex><default/></kavex>
    + lock n.xml
$ kvio_close_config n
    -1 0
    err Semaphore <lock of n.xml> is removed
    - lock n.xml
$ n = kvio_open_config {n*255} 64
    /etc/kavex/conf/{n*255} 0
    err {n*255} is not existed. Creating from template
    err kvio_open_config success. (/etc/kavex/conf/{n*255}, <lock of {n*255}>)
    + file {n*255} 600 <kavex><default/></kavex>
    + lock {n*255}
$ kvio_close_config n
    -1 0
    err Semaphore <lock of {n*255}> is removed
    - lock {n*255}
$ kvio_remove_config {n*255}
    0 0
    - file {n*255} 600 <kavex><default/></kavex>
with ftok 1 ENOENT
$ b = kvio_open_config b.xml 64
    /etc/kavex/conf/b.xml 0
    err b.xml is not existed. Creating from template
    err kvio_open_config success. (/etc/kavex/conf/b.xml, <lock of b.xml>)
    + lock b.xml
$ kvio_close_config b
    -1 0
    err Semaphore <lock of b.xml> is removed
    - lock b.xml

# The lock is on the file that has the name then.
with ftok 2 ENOENT
$ b = kvio_open_config b.xml 0
    /etc/kavex/conf/b.xml 0
    err kvio_open_config success. (/etc/kavex/conf/b.xml, <lock of b.xml>)
    + lock b.xml
$ kvio_close_config b
    -1 0
    err Semaphore <lock of b.xml> is removed
    - lock b.xml
# Key 0 would be IPC_PRIVATE, which excludes nobody.
file k.xml 600 <kavex/>
key k.xml 0 0
$ b = kvio_open_config k.xml 0
    /etc/kavex/conf/k.xml 0
    err kvio_open_config success. (/etc/kavex/conf/k.xml, <lock of k.xml>)
    + lock k.xml
$ kvio_open_config k.xml 0
    null 1
    err k.xml is locked.
$ kvio_close_config b
    -1 0
    err Semaphore <lock of k.xml> is removed
    - lock k.xml

# Saved under another name, a handle moves there with its lock.
> <t name="e"/>
file b.xml 640 old
$ kvio_save_as c b.xml
    70 0
    - file b.xml 640 old
    - lock a.xml
    + file b.xml 640 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n  </s>\n</kavex>\n
    + lock b.xml
$ kvio_save_as c c.xml
    70 0
    - lock b.xml
    + file c.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n  </s>\n</kavex>\n
    + lock c.xml
$ kvio_define c s t f
    1 0
    + 2 <t name="f"/>
$ kvio_save_config c
    88 0
    - file c.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n  </s>\n</kavex>\n
    + file c.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n    <t name="f"/>\n  </s>\n</kavex>\n
$ kvio_save_as c {c.xml,none/x.xml,NULL,""}
    c.xml: -1 1
    err system error message: File exists
    err c.xml is opened by other instance
    none/x.xml: -1 4
    err ftok(/etc/kavex/conf/none/x.xml) failed
    NULL, "": -1 4
    err ftok(/etc/kavex/conf/) failed
with semget 1 ENOSPC
$ kvio_save_as c new.xml
    -1 1
    err system error message: No space left on device
    err new.xml is opened by other instance
    + file new.xml 600
with ftok 1 EACCES
$ kvio_save_as c new2.xml
    -1 4
    err ftok(/etc/kavex/conf/new2.xml) failed
with pwrite 1+ EIO
$ kvio_save_as c b.xml
    -1 5
    err Problem occurred on saving XML to b.xml
$ kvio_save_as c a.xml
    88 0
    - file a.xml 600 <kavex><s><t name="e"/></s></kavex>
    - lock c.xml
    + file a.xml 600 <?xml version="1.0"?>\n<kavex>\n  <s>\n    <t name="e"/>\n    <t name="f"/>\n  </s>\n</kavex>\n
    + lock a.xml
$ kvio_save_as NULL b.xml
    -1 6
    err kvio_save_as error: passing NULL argument
$ {kvio_save_config,kvio_close_config} NULL
    kvio_save_config: -1 6
    err kvio_save_config error: passing NULL argument
    kvio_close_config: -1 6
    err kvio_close_config error: passing NULL argument

# What cannot be opened. Nothing stays locked.
> <t name="held"/>
file b.xml 600 <kavex/>
file bad.xml 600 <kavex>
directory dir
$ kvio_open_config {none/a.xml,none.xml,"",NULL,{/*4074}b.xmlX} 0
    none/a.xml: null 4
    err ftok(/etc/kavex/conf/none/a.xml) failed
    none.xml: null 4
    err ftok(/etc/kavex/conf/none.xml) failed
    "", NULL: null 4
    err ftok(/etc/kavex/conf/) failed
    {/*4074}b.xmlX: null 4
    err ftok(/etc/kavex/conf{/*4075}b.xmlX) failed
$ kvio_open_config {bad.xml,bad.xml,dir} 0
    bad.xml, bad.xml: null 3
    err /etc/kavex/conf/bad.xml is not well-formed
    dir: null 3
    err /etc/kavex/conf/dir is not well-formed
with ftok 1 EACCES
$ kvio_open_config b.xml 0
    null 4
    err ftok(/etc/kavex/conf/b.xml) failed
with semget 1 ENOSPC
$ kvio_open_config b.xml 0
    null 1
    err error on semget()
with open 1+ EACCES
$ kvio_open_config b.xml 0
    null 3
    err /etc/kavex/conf/b.xml is not well-formed
with pread 1+ EIO
$ kvio_open_config b.xml 0
    null 3
    err /etc/kavex/conf/b.xml is not well-formed
$ b = kvio_open_config {/*4074}b.xml 0
    /etc/kavex/conf{/*4075}b.xml 0
    err kvio_open_config success. (/etc/kavex/conf{/*4075}b.xml, <lock of b.xml>)
    + lock b.xml
$ kvio_close_config b
    -1 0
    err Semaphore <lock of b.xml> is removed
    - lock b.xml

# A copy overwrites in place and leaves the old file where it fails; a new file is for its owner alone.
> <t name="held"/>
file b.xml 640 old
file big 600 {a*4095}{b*4097}{c*4096}{d*9000}
file bigger 640 {z*30000}
pipe pipe
$ kvio_copy_config big b.xml
    0 0
    - file b.xml 640 old
    + file b.xml 640 {a*4095}{b*4097}{c*4096}{d*9000}
$ kvio_copy_config big bigger
    0 0
    - file bigger 640 {z*30000}
    + file bigger 640 {a*4095}{b*4097}{c*4096}{d*9000}
$ kvio_copy_config big fresh
    0 0
    + file fresh 600 {a*4095}{b*4097}{c*4096}{d*9000}
with pread 1 EINTR
$ kvio_copy_config b.xml fresh
    0 0
file old 600 old
$ kvio_copy_config {none,none/b,NULL,"",a.xml,old,./old} old
    none: -1 21
    err copy: none is not existed
    none/b: -1 21
    err copy: none/b is not existed
    NULL, "": -1 4
    err ftok(/etc/kavex/conf/) failed
    a.xml: -1 1
    err a.xml is being opened
    old, ./old: -1 1
    err old is being opened
$ kvio_copy_config old {none/b,dir,pipe,NULL,a.xml}
    none/b: -1 4
    err ftok(/etc/kavex/conf/none/b) failed
    dir: -1 5
    err copy: dir: Is a directory
    pipe: -1 5
    err copy: pipe: Invalid argument
    NULL: -1 4
    err ftok(/etc/kavex/conf/) failed
    a.xml: -1 1
    err a.xml is being opened
$ kvio_copy_config {dir,pipe} old
    dir: -1 5
    err copy: dir: Is a directory
    pipe: -1 5
    err copy: pipe: Invalid argument
with ftok 1 EACCES
$ kvio_copy_config big old
    -1 4
    err ftok(/etc/kavex/conf/big) failed
with ftok 3 EACCES
$ kvio_copy_config big old
    -1 4
    err ftok(/etc/kavex/conf/old) failed
with semget 2 ENOSPC
$ kvio_copy_config big old
    -1 1
    err old is being opened
with pread 1+ EIO
$ kvio_copy_config big old
    -1 5
    err copy: big: Input/output error
with pwrite 1+ EDQUOT
$ kvio_copy_config big old
    -1 5
    err copy: old: Disk quota exceeded

# Renamed, a file replaces none. Where there is no semaphore for the empty one that takes its place first, this one stays.
$ kvio_rename_config b.xml x
    0 0
    - file b.xml 640 {a*4095}{b*4097}{c*4096}{d*9000}
    + file x 640 {a*4095}{b*4097}{c*4096}{d*9000}
$ kvio_rename_config x {a.xml,x,none/x,small/x,NULL}
    a.xml: -1 10
    err rename: target file "a.xml" is already existed
    x: -1 10
    err rename: target file "x" is already existed
    none/x: -1 4
    err ftok(/etc/kavex/conf/none/x) failed
    small/x: -1 5
    err rename: x: Invalid cross-device link
    NULL: -1 4
    err ftok(/etc/kavex/conf/) failed
$ kvio_rename_config {none,NULL,"",a.xml,none/a} y
    none: -1 21
    err rename: none is not existed
    NULL, "": -1 4
    err ftok(/etc/kavex/conf/) failed
    a.xml: -1 1
    err a.xml is being opened
    none/a: -1 21
    err rename: none/a is not existed
with rename 1 EIO
$ kvio_rename_config x y
    -1 5
    err rename: x: Input/output error
with fsync 1 EIO
$ kvio_rename_config x y
    -1 5
    err rename: x: Input/output error
with fsync 2+ EIO
$ kvio_rename_config x y
    0 0
    - file x 640 {a*4095}{b*4097}{c*4096}{d*9000}
    + file y 640 {a*4095}{b*4097}{c*4096}{d*9000}
$ kvio_rename_config y x
    0 0
    - file y 640 {a*4095}{b*4097}{c*4096}{d*9000}
    + file x 640 {a*4095}{b*4097}{c*4096}{d*9000}
with ftok 2 EACCES
$ kvio_rename_config x y
    -1 4
    err ftok(/etc/kavex/conf/x) failed
with semget 1 ENOSPC
$ kvio_rename_config x y
    -1 1
    err x is being opened
with semget 2 ENOSPC
$ kvio_rename_config x y
    -1 1
    err y is being opened
    + file y 600

# Removed is what nobody has open.
$ kvio_remove_config {none,NULL,"",a.xml,none/a,dir}
    none: -1 21
    err remove: none is not existed
    NULL, "": -1 4
    err ftok(/etc/kavex/conf/) failed
    a.xml: -1 1
    err a.xml is being opened
    none/a: -1 21
    err remove: none/a is not existed
    dir: -1 5
    err remove: dir: Is a directory
with unlink 1 EROFS
$ kvio_remove_config x
    -1 5
    err remove: x: Read-only file system
$ kvio_remove_config x
    0 0
    - file x 640 {a*4095}{b*4097}{c*4096}{d*9000}

# Where a file system is full.
file small/full.xml 600 old
file large 600 {l*300000}
$ kvio_copy_config large small/full.xml
    -1 5
    err copy: small/full.xml: No space left on device

