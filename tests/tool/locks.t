$ cd /etc/kavex/conf; echo "root:x:0:0::/:/bin/sh" >/etc/passwd; for name in a b c
> do echo '<kavex><s/></kavex>' >$name; done; echo >/tmp/libkavex.so.1; mkdir dir
> hold() { exec 9< <(exec python3 $TESTS/tool/hold.py $1 /tmp/libkavex.so.1); holder=$!; read -u 9; }
> tidy() { sed -E 's/since 2[0-9-]* [0-9:]*/since DATE/; s/(semaphore|process) [0-9]+/\1 N/
> s/"(pid|semaphore)": [0-9]*/"\1": N/g; s/: "2[0-9: -]*"/: DATE/'; }

One process died with a open, another one holds b and has the library mapped: who only looks does not mind.
$ hold b; python3 $TESTS/tool/hold.py a; kvio lock status --all | tidy; kvio lock status c no dir
> kvio lock status -q a c; kvio lock status b c >/dev/null; kvio lock status a | grep -c "since $(date +%F)"; kvio ls b
> kvio check b; kvio copy c b
> for call in 'set b s t x f 1' 'copy b d' 'remove b' 'save-as c b' 'restore b a' 'rename b d'; do kvio -q $call; done
> kvio check -R b; ls; kvio lock clear -y a | tidy; kvio lock clear -fq a; kvio lock clear -fy a | tidy
> kvio lock status a; kvio lock clear -y a; kvio lock clear no
a: held since DATE by uid 0 (root), semaphore N|  process N (python3)|b: held since DATE by uid 0 (root), semaphore N|
  process N (python3)|c: free [3]|kvio: /etc/kavex/conf/no: No such file or directory|kvio: /etc/kavex/conf/dir: Is a
 directory|c: free [1] [3]|1|s|kvio: c to b: another process holds it (see kvio lock status) [3] [3] [3] [3] [3] [3]
 [3]|a|b|c|dir|small|kvio: process N (python3) may hold a; --force removes the lock nevertheless [3] [2]|kvio: process
 N (python3) may hold a|a: free|kvio: a is free|kvio: /etc/kavex/conf/no: No such file or directory [1]

The holder ends, its lock stays until somebody who is asked says yes.
$ kill $holder; wait $holder 2>/dev/null; kvio lock clear b </dev/null
> tty() { echo $1 | script -qec "kvio lock clear $2 b; echo status \$?" /dev/null | grep -o 'status .'; }; tty n; tty x
> tty ''; tty y -q; kvio lock status -q b; tty y; kvio lock status b
kvio: no terminal to ask on; --yes answers in advance [2]|status 1|status 1|status 1|status 2 [3]|status 0|b: free

A process that started after the lock was taken does not stop `lock clear`; what is not the store's needs --force.
$ python3 $TESTS/tool/hold.py a; sleep 3.1; hold b; kvio lock status a b | tidy
> kvio lock status -Fjson a c | tidy | fold -w 118; kvio lock clear -y a; kill $holder; wait $holder 2>/dev/null
> kvio lock clear -y b; MODE=600 python3 $TESTS/tool/hold.py c; MANY=2 python3 $TESTS/tool/hold.py a
> kvio lock status c | tail -2; kvio lock status a | tail -2; for name in a c; do kvio lock clear -y $name
> kvio lock clear -fy $name; done
a: held since DATE by uid 0 (root), semaphore N|  process N (python3) started later: no holder unless forked from it|
  no process can hold it: left by one that died (see kvio lock clear)|b: held since DATE by uid 0 (root), semaphore N|
  process N (python3) [3]|[|  {"name": "a", "held": true, "since": DATE, "uid": 0, "semaphore": N, "processes":
 [{"pid": N, "name": "python3", "yo|unger": true}]},|  {"name": "c", "held": false}|] [3]|  no process can hold it:
 left by one that died (see kvio lock clear) [3]|  no process can hold it: left by one that died (see kvio lock clear)
 [3]|kvio: the semaphore with the key of a is not the store's; --force removes the lock nevertheless [3]|kvio: the
 semaphore with the key of a is not the store's|kvio: the semaphore with the key of c is not the store's; --force
 removes the lock nevertheless [3]|kvio: the semaphore with the key of c is not the store's

Two configurations with one key share a lock.
$ python3 -c 'import os
> while os.mknod("two") or os.stat("two").st_ino - os.stat("a").st_ino & 65535: os.rename("two", "old")'
> python3 $TESTS/tool/hold.py two; kvio lock status a | sed -n 2p; kvio lock clear -fqy a; kvio lock status two
  two has the same key: the lock may be that configuration's|two: free
