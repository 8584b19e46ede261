$ echo "root:x:0:0::/:/bin/sh" >/etc/passwd; for name in a b c; do echo '<kavex/>' >/etc/kavex/conf/$name.xml; done; echo >/tmp/libkavex.so.1
$ kvio lock status
a.xml: free
b.xml: free
c.xml: free
$ mkdir /etc/kavex/conf/dir; kvio lock status a.xml ghost.xml '' dir c.xml; echo status $?; kvio lock clear -y dir; rmdir /etc/kavex/conf/dir
a.xml: free
c.xml: free
status 1
! kvio: /etc/kavex/conf/ghost.xml: No such file or directory
! kvio: /etc/kavex/conf/: Is a directory
! kvio: /etc/kavex/conf/dir: Is a directory
! kvio: /etc/kavex/conf/dir: Is a directory
$ kvio lock status a.xml && kvio lock status ghost.xml
a.xml: free
! kvio: /etc/kavex/conf/ghost.xml: No such file or directory [1]

A process died with a.xml open, another one holds b.xml and has the library mapped.

$ python3 $TESTS/tool/hold.py b.xml 600 /tmp/libkavex.so.1 >/tmp/held 2>&1 & until grep -qs held /tmp/held; do sleep 0.05; done
$ python3 $TESTS/tool/hold.py a.xml
$ kvio lock status --all | sed 's/since 2[0-9-]* [0-9:]* by/since DATE by/; s/semaphore [0-9]*/semaphore N/; s/process [0-9]*/process N/'
a.xml: held since DATE by uid 0 (root), semaphore N
  process N (python3)
b.xml: held since DATE by uid 0 (root), semaphore N
  process N (python3)
c.xml: free
$ kvio lock status c.xml; kvio lock status a.xml >/dev/null  => c.xml: free [3]
$ kvio lock status ghost.xml b.xml >/dev/null  => ! kvio: /etc/kavex/conf/ghost.xml: No such file or directory [1]
$ kvio lock status -a a.xml  => ! kvio: either names or --all [2]
$ test "$(date +%F)" = "$(kvio lock status a.xml | sed -n 's/.*since \([0-9-]*\) .*/\1/p')" && echo today  => today
$ kvio lock clear -y a.xml 2>&1 | sed 's/process [0-9]*/process N/'; echo ${PIPESTATUS[0]}
kvio: process N (python3) may hold a.xml; --force removes the lock nevertheless
3
$ kvio set b.xml s t x f 1; kvio copy b.xml d.xml; kvio copy c.xml b.xml; kvio remove b.xml; kvio batch b.xml </dev/null
! kvio: /etc/kavex/conf/b.xml: another process holds it (see kvio lock status)
! kvio: b.xml to d.xml: another process holds it (see kvio lock status)
! kvio: c.xml to b.xml: another process holds it (see kvio lock status)
! kvio: b.xml: another process holds it (see kvio lock status)
! kvio: /etc/kavex/conf/b.xml: another process holds it (see kvio lock status) [3]

The live one ends, the dead one's lock is removed; the terminal is asked.

$ pid=$(kvio lock status b.xml | sed -n 's/.*process \([0-9]*\).*/\1/p'); kill $pid; while [ -e /proc/$pid/maps ] && grep -q kavex /proc/$pid/maps; do sleep 0.05; done 2>/dev/null
$ kvio lock clear a.xml </dev/null  => ! kvio: no terminal to ask on; --yes answers in advance [2]
$ kvio lock clear a.xml extra  => ! kvio: usage: kvio lock clear [OPTION]... NAME [2]
$ echo n | script -qec 'kvio lock clear a.xml; echo status $?' /dev/null | tr -d '\r' | grep -o "status [0-9]"  => status 1
$ kvio lock status a.xml >/dev/null  => [3]
$ echo y | script -qec 'kvio lock clear a.xml; echo status $?' /dev/null | tr -d '\r' | grep -o "status [0-9]"  => status 0
$ kvio lock status a.xml; kvio lock clear a.xml
a.xml: free
! kvio: a.xml is free
$ python3 $TESTS/tool/hold.py c.xml 600 /tmp/libkavex.so.1 >/tmp/held2 2>&1 & until grep -qs held /tmp/held2; do sleep 0.05; done
$ kvio lock clear --force -y c.xml 2>&1 | sed 's/process [0-9]*/process N/'; kvio lock clear -qfy b.xml; kvio lock clear -fy b.xml; kvio lock status
kvio: process N (python3) may hold c.xml
a.xml: free
b.xml: free
c.xml: free
! kvio: b.xml is free
$ kvio lock clear ghost.xml  => ! kvio: /etc/kavex/conf/ghost.xml: No such file or directory [1]

A process that started after the lock was taken does not stop `lock clear`; what is not the store's needs --force.

$ kill $(sed -n 's/^pid //p' /tmp/held2); python3 $TESTS/tool/hold.py a.xml; sleep 3.1; python3 $TESTS/tool/hold.py b.xml 600 /tmp/libkavex.so.1 >/tmp/held3 2>&1 & until grep -qs held /tmp/held3; do sleep 0.05; done
$ kvio lock status a.xml | sed '1d; s/process [0-9][0-9]*/process N/'; kvio lock status -F json a.xml b.xml c.xml | sed 's/"since": "2[0-9: -]*"/"since": "DATE"/; s/"semaphore": [0-9]*/"semaphore": N/; s/"pid": [0-9]*/"pid": N/'; kvio lock clear -y a.xml; kvio lock clear -fqy b.xml; kvio lock status
  process N (python3) started later: no holder unless forked from it
  no process can hold it: left by one that died (see kvio lock clear)
[
  {"name": "a.xml", "held": true, "since": "DATE", "uid": 0, "semaphore": N, "processes": [{"pid": N, "name": "python3", "younger": true}]},
  {"name": "b.xml", "held": true, "since": "DATE", "uid": 0, "semaphore": N, "processes": [{"pid": N, "name": "python3", "younger": false}]},
  {"name": "c.xml", "held": false}
]
a.xml: free
b.xml: free
c.xml: free
$ kill $(sed -n 's/^pid //p' /tmp/held3); sleep 0.2; MODE=600 python3 $TESTS/tool/hold.py c.xml; kvio lock status c.xml | tail -2; kvio lock clear -y c.xml; kvio lock clear -fy c.xml
  this semaphore is not the store's
  no process can hold it: left by one that died (see kvio lock clear)
! kvio: the semaphore with the key of c.xml is not the store's; --force removes the lock nevertheless
! kvio: the semaphore with the key of c.xml is not the store's

Two configurations with one key share a lock.

$ echo '<kavex/>' >/etc/kavex/conf/one.xml; cd /etc/kavex/conf; python3 -c $'import os\nwhile not os.path.exists("two.xml"):\n open("new", "w").close(); same = (os.stat("new").st_ino - os.stat("one.xml").st_ino) % 65536 == 0\n os.rename("new", "two.xml") if same else os.unlink("new")'; cd /
$ python3 $TESTS/tool/hold.py two.xml; kvio lock status one.xml | sed -n 2p; kvio lock clear -fqy one.xml; kvio lock status two.xml; rm /etc/kavex/conf/one.xml /etc/kavex/conf/two.xml
  two.xml has the same key: the lock may be that configuration's
two.xml: free
