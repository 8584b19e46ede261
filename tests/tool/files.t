$ cd /etc/kavex/conf; $EXAMPLES/make-configuration >a; cp a /tmp/a; mkfifo pipe; touch closed; chmod 0 closed
> echo '<kavex><t><x/></t></kavex>' >/etc/__system_default.xml; all 'copy a b' 'rename b c' 'save-as a d' \
> 'dump a /tmp/dump'; kvio dump a - | cmp a; cmp a c; cmp a d; cmp a /tmp/dump; stat -c %a c d /tmp/dump
> all 'copy a a' 'copy closed b' 'copy pipe b' 'copy a pipe' 'rename a c' 'save-as a a' 'save-as a pipe' \
> 'restore pipe a' 'dump a closed' 'dump a /dev/null' 'dump a pipe'; chmod 400 a; lan='interface interface_t lan'
> all "set a $lan mtu 9"; chmod 600 a; all 'remove c' 'remove --wait 1 d'; rm pipe closed; ls
600|600|600|! a twice [2]|! closed to b: Permission denied [6]|! ~pipe: it is no regular file [5]|! ~pipe: it is no
 regular file [5]|! a to c: it exists already [1]|! a twice [2]|! ~pipe: it is no regular file [5]|! ~pipe: it is no
 regular file [5]|! closed: Permission denied [6]|! /dev/null: it is no regular file [5]|! pipe: No such device or
 address [5]|! ~a: Permission denied [6]|a|small
$ # What is written is private and complete; no link is followed where others may write. Pipes need a reader.
> mkdir /tmp/own /tmp/others; chmod 770 /tmp/others; ln -s a /tmp/own/link; ln -s $PWD/a /tmp/others/link
> ln -s $PWD/a /tmp/link; touch /tmp/own/a; umask 0; for file in own/link link others/link own/new
> do kvio dump a /tmp/$file; done; (cd /tmp/own; stat -c '%a %F %n' $(ls -A)); mkfifo /tmp/pipe
> cmp /tmp/pipe a & until kvio -q dump a /tmp/pipe >/dev/null; do sleep 0.05; done; wait; kvio dump a >(cmp - a)
> timeout 0.5 kvio restore a /tmp/pipe; kvio lock status
! /tmp/link: it is a symbolic link in a directory that others may write in [6]|! /tmp/others/link: it is a symbolic
 link in a directory that others may write in [6]|600 regular file a|777 symbolic link link|600 regular file new|a:
 free
$ # Differences. Order counts in lists and tables alone; what looks alike in a line is told apart.
> cat >/tmp/1 <<'XML'; cat >3 <<'XML'
> <kavex><s a="1"><t name="x"><f>1</f><g>2</g><e/></t><t name="y"/><group name="g" type="t"><entity>x</entity>
> <entity>y (container)</entity></group><list name="l" type="t"><entity>x</entity><entity>y</entity></list>
> <list name="m" type="t"><entity>a, b</entity></list><v><t name="d"/></v></s><text>one</text></kavex>
> XML
> <kavex><text>two</text><s b="3" a="2"><group name="g" type="t"><container>y</container><entity>x</entity></group>
> <list name="l" type="t"><entity>y</entity><entity>x</entity></list><t name="y" n="1"/><t name="yy"/><t name="x"><g>4
> 5</g><e/><h/></t><t name="z"><f>new</f></t><t name="zz"/><u/>
> <list name="m" type="t"><entity>a</entity><entity>b</entity></list><t name="x"><i/></t></s></kavex>
> XML
> all 'diff 3 /tmp/1' 'diff -q 3 /tmp/1' 'diff __system_default.xml 3' 'diff 3 no' 'diff -F json /tmp/1 /tmp/1'
> kvio diff -F json 3 /tmp/1 | grep -e '(2)' -e '"m"' -e text; cd /tmp; cp 1 3; kvio diff 3 1 | wc -l
> kvio diff ./3 - <1; cd /etc/kavex/conf
~ s @a: 2 -> 1|- s @b: 3|- s group of t g member y (container)|+ s group of t g member y (container)|~ s list of t l
 members: y, x -> x, y|~ s list of t m members: a, b -> a, b|+ s t x f: 1|~ s t x g: 4\n5 -> 2|- s t x h|- s t x (2)|-
 s t y @n: 1|- s t yy|- s t z|- s t zz|- s/u|+ s/v|~ text text: two -> one [1] [1]|+ s|- t|+ text [1]|! ~no: No such
 file or directory [2]|[|]|  {"change": "changed", "place": ["s", "list of t", "m", "members"], "old": "a, b", "new":
 "a, b"},|  {"change": "removed", "place": ["s", "t", "x (2)"], "old": ""},|  {"change": "changed", "place": ["text",
 "text"], "old": "two", "new": "one"}|18
$ # Restoring. What a scope had is gone; what else changed stays; what would be lost needs --force.
> kvio backup a object/user_group /tmp/groups; sed -i 's/<object>/<object note="n">/' a
> kvio backup a object/user_group | head -4; all "set a $lan mtu 9000" "unset a $lan description"; grep -c '^ *$' a
> all 'create a object/user_group list t new' 'restore a /tmp/groups object/user_group' 'diff /tmp/a a'
> echo '<other/>' >/tmp/other; echo '<' >/tmp/cut; all 'restore a /tmp/groups object/address' 'restore a /tmp/groups' \
> 'restore a /tmp/groups object' 'restore a /tmp/cut' 'restore -f a /tmp/other'; kvio restore a - </etc
> head -c 3000 /tmp/a | kvio restore a -; kvio restore a <(sleep 0.2; cat /tmp/a) object; kvio diff /tmp/a a
<?xml version="1.0"?>|<kavex>|  <object note="n">|    <user_group>|0|- interface interface_t lan description: offices
|~ interface interface_t lan mtu: 1500 -> 9000|+ object @note: n [1]|! no scope object/address in /tmp/groups [1]|!
 /tmp/groups has no scope interface, which a would lose; name the scope to restore, or use --force [4]|! /tmp/groups
 has no scope object/address, which a would lose; name the scope to restore, or use --force [4]|! /tmp/cut:1: not
 well-formed: StartTag: invalid element name [4]|! /tmp/other: no configuration, its root element is not kavex [4]|!
 -: Is a directory [5]|! -:97: not well-formed: Premature end of data in tag address line 71 [4]|- interface
 interface_t lan description: offices|~ interface interface_t lan mtu: 1500 -> 9000 [1]
$ echo '<!DOCTYPE kavex [<!ENTITY e "f">]><kavex><s>&e;</s></kavex>' >e; kvio backup e s; rm e; echo '<kavex><s' >cut
> echo '<kavex><new><v><t name="x"/></v></new></kavex>' >/tmp/new; all 'restore -f a /tmp/groups' 'ls a' \
> 'restore -n a /tmp/new new/v' 'restore a /tmp/new new/v' 'ls a new/v' 'restore -f a /tmp/a'; cmp a /tmp/a
> all 'restore -n no /tmp/a' 'restore cut /tmp/groups' 'restore -n -f cut /tmp/groups'; cat cut
> all 'restore cut /tmp/a' 'restore no /tmp/a'; cat cut.broken; cmp cut a; cmp no a; kvio lock status
! ~e: scope s uses entities, which a dump alone keeps [2]|object|object/user_group|+ new|t	x|! no is missing: all is
 new|! cut is not well-formed, and /tmp/groups has one scope alone; --force restores it and keeps the old file as
 cut.broken [4]|! cut is not well-formed: all is new|<kavex><s|! the old file is kept as cut.broken|<kavex><s|3: free
|a: free|cut: free|cut.broken: free|no: free
$ # Editing: nothing is saved that is broken, or that has changed meanwhile.
> cp /tmp/1 d; mkdir /tmp/edit; export TMPDIR=/tmp/edit EDITOR='sed -i s/2/two/'
> edit() { VISUAL=$1 kvio edit d "${@:2}" | sed 's|/tmp/edit/[^/]*|DIR|'; }; edit '' -n; edit '' -y s; edit '' -y
> edit '' s/v; edit 'sed -i s/two/2/' </dev/null; edit 'sed -i s/two/cut\</' -y; edit false -y
> edit 'sed -i s/=.y./=\"z\"/' -y s; ls /tmp/edit; edit 'kvio set d s t x g 9; sed -i s/two/2/' -y
> cat /tmp/edit/*/d | tr '<' '\n' | grep ^g.; kvio get d s t x g; rm -r /tmp/edit/*
> export TERM=dumb VISUAL='edit() { grep -q cut "$1" && sed -i "s/cut<//" "$1" || sed -i "s/9/cut</" "$1"; }; edit'
> tty() { printf $1 | script -qec 'kvio edit d; echo status $?' /dev/null | grep -o 'status .'; }; tty 'y\nn\n'
> tty 'y\ny\n'; kvio get d s t x g; ls /tmp/edit
~ s t x g: 2 -> two|~ s t x g: 2 -> two|! nothing is changed|! nothing is changed|~ s t x g: two -> 2|! no terminal to
 ask on; --yes answers in advance [2]|! DIR/d:3: not well-formed: StartTag: invalid element name|! nothing is saved
 [4]|! the editor false failed; nothing is saved [5]|! s: list l: a member names no t: y; nothing is saved without
 --force|! nothing is saved [4]|~ s t x g: two -> 2|! d has changed meanwhile; your version is DIR/d [4]|g>2|group
 name="g" type="t">|9|status 1|status 0|
$ echo '<kavex><s/>' >d; end='echo "</kavex>" >>'; edit true -y; edit "$end" -y s; edit "cp /tmp/1 d; $end" -y
> cmp d /tmp/1; rm -r /tmp/edit/*; echo '<kavex><s/>' >d; edit "$end" -y; grep -c . d d.broken; rm d.broken
> export VISUAL='touch "$KVIO_EDITED.swap"; sleep 9; :'
> for signal in TERM HUP KILL; do env kvio edit d >/dev/null & until [ -e /tmp/edit/*/d.swap ]; do sleep 0.05; done
> kill -$signal $!; wait $!; while [ -e /tmp/edit/* ]; do sleep 0.05; done; done >/dev/null 2>&1
! DIR/d:2: not well-formed: Premature end of data in tag kavex line 1|! nothing is saved [4]|! ~d:2: not well-formed:
 Premature end of data in tag kavex line 1 [4]|! d is not well-formed: all is new|! d has changed meanwhile; your
 version is DIR/d [4]|! d is not well-formed: all is new|! the old file is kept as d.broken|d:3|d.broken:1
$ # A full disk leaves what was there as it was, and nothing that was not.
> head -c 150000 /dev/zero | tr '\0' x >/tmp/long; cp a small/a; for name in long longer
> do kvio define small/a interface t $name f - </tmp/long; done; kvio ls small/a interface t; cp small/a /tmp/before
> for name in huge huger; do kvio define a interface t $name f - </tmp/long; done; cmp /tmp/before small/a
> all 'copy a small/a' 'copy a small/n' 'save-as a small/n' 'restore small/n a' 'dump a small/n' \
> 'backup a interface small/n' | sort | uniq -c; ls -A small; cmp /tmp/before small/a
! ~small/a: No space left on device [5]|long|      6 [5]|      2 kvio: ~small/n: No space left on device|      1 kvio:
 a to small/a: No space left on device|      1 kvio: a to small/n: No space left on device|      2 kvio: small/n: No
 space left on device|a
