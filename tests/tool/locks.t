$ # One process died with a open, another one holds b and has the library mapped: who only looks does not mind.
> cd /etc/kavex/conf; echo "root:x:0:0::/:/bin/sh" >/etc/passwd; echo >/tmp/libkavex.so.1; mkdir dir
> hold() { exec 9< <(exec python3 $TESTS/tool/hold.py $1 /tmp/libkavex.so.1); holder=$!; read -u 9; }
> tidy() { sed -E 's/since 2[0-9-]* [0-9:]*/since DATE/; s/(semaphore"?:?|process|"pid":) [0-9]+/\1 N/g
> s/: "2[0-9: -]*"/: DATE/'; }; for name in a b c; do echo '<kavex><s/></kavex>' >$name; done
> hold b; python3 $TESTS/tool/hold.py a; kvio lock status --all | tidy; kvio lock status c no dir
> kvio lock status -q a c; kvio lock status b c >/dev/null; kvio lock status a | grep -c "since $(date +%F)"; kvio ls b
> all 'check b' 'copy c b' '-q set b s t x f 1' '-q copy b d' '-q remove b' '-q save-as c b' '-q restore b a' \
> '-q rename b d' 'check -R b'; ls; all 'lock clear -y a' 'lock clear -fq a' 'lock clear -fy a' 'lock status a' \
> 'lock clear -y a' 'lock clear no' | tidy
a: held since DATE by uid 0 (root), semaphore N|  process N (python3)|b: held since DATE by uid 0 (root), semaphore N|
  process N (python3)|c: free [3]|! ~no: No such file or directory|! ~dir: Is a directory|c: free [1] [3]|1|s|! c to
 b: another process holds it (see kvio lock status) [3] [3] [3] [3] [3] [3] [3]|a|b|c|dir|small|! process N (python3)
 may hold a; --force removes the lock nevertheless [3] [2]|! process N (python3) may hold a|a: free|! a is free|! ~no:
 No such file or directory [1]
$ # The holder ends, its lock stays until somebody who is asked says yes.
> kill $holder; wait $holder 2>/dev/null; kvio lock clear b </dev/null; tty() { echo $1 | script -qec "kvio lock clear \
> $2 b; echo status \$?" /dev/null | grep -o 'status .'; }; tty n; tty x; tty ''; tty y -q
> kvio lock status -q b; tty y; kvio lock status b
! no terminal to ask on; --yes answers in advance [2]|status 1|status 1|status 1|status 2 [3]|status 0|b: free
$ # A process that started after the lock was taken does not stop `lock clear`; what is not the store's needs --force.
> python3 $TESTS/tool/hold.py a; sleep 3.1; hold b; kvio lock status a b | tidy; kvio lock status -Fjson a c | tidy
> kvio lock clear -y a; kill $holder; wait $holder 2>/dev/null; kvio lock clear -y b
> MODE=600 python3 $TESTS/tool/hold.py c; MANY=2 python3 $TESTS/tool/hold.py a; kvio lock status a | tail -2
> all 'lock clear -y a' 'lock clear -qy c' 'lock clear -fqy a' 'lock clear -fqy c'
a: held since DATE by uid 0 (root), semaphore N|  process N (python3) started later: no holder unless forked from it|
  no process can hold it: left by one that died (see kvio lock clear)|b: held since DATE by uid 0 (root), semaphore N|
  process N (python3) [3]|[|  {"name": "a", "held": true, "since": DATE, "uid": 0, "semaphore": N, "processes":
 [{"pid": N, "name": "python3", "younger": true}]},|  {"name": "c", "held": false}|] [3]|  no process can hold it:
 left by one that died (see kvio lock clear) [3]|! the semaphore with the key of a is not the store's; --force removes
 the lock nevertheless [3] [3]
