$ $EXAMPLES/make-configuration >/etc/kavex/conf/a.xml
$ echo '<kavex><interface><interface_t name="lan"><mtu>1</mtu></interface_t></interface></kavex>' >/etc/__system_default.xml

Files. The order of arguments is that of cp and mv.

$ kvio copy a.xml b.xml && cmp /etc/kavex/conf/a.xml /etc/kavex/conf/b.xml && stat -c %a /etc/kavex/conf/b.xml  => 600
$ kvio copy a.xml a.xml  => ! kvio: a.xml twice [2]
$ kvio copy ghost.xml b.xml  => ! kvio: ghost.xml to b.xml: No such file or directory [1]
$ kvio rename a.xml b.xml  => ! kvio: a.xml to b.xml: it exists already [1]
$ kvio rename b.xml c.xml && kvio ls
a.xml
c.xml
$ kvio rename b.xml d.xml  => ! kvio: b.xml to d.xml: No such file or directory [1]
$ kvio remove c.xml && kvio remove c.xml  => ! kvio: c.xml: No such file or directory [1]
$ kvio copy a.xml small/a.xml && kvio ls small/a.xml object/user_group
group_description_t	office
group_description_t	staff
group	user_group_object_t	staff
group	user_group_object_t	guests
group	user_group_object_t	office
$ kvio save-as a.xml tidy.xml && cmp /etc/kavex/conf/a.xml /etc/kavex/conf/tidy.xml && stat -c %a /etc/kavex/conf/tidy.xml  => 600
$ kvio save-as a.xml a.xml  => ! kvio: a.xml twice [2]
$ kvio save-as a.xml nowhere/b.xml  => ! kvio: /etc/kavex/conf/nowhere/b.xml: No such file or directory [1]
$ chmod 0 /etc/kavex/conf/a.xml; kvio copy a.xml unread.xml; chmod 600 /etc/kavex/conf/a.xml; ls /etc/kavex/conf
a.xml
small
tidy.xml
! kvio: a.xml to unread.xml: Permission denied
$ mkfifo /etc/kavex/conf/pipe; kvio copy small n.xml; kvio copy pipe n.xml; rm /etc/kavex/conf/pipe; ls /etc/kavex/conf/n.xml
! kvio: /etc/kavex/conf/small: Is a directory
! kvio: /etc/kavex/conf/pipe: it is no regular file
! ls: cannot access '/etc/kavex/conf/n.xml': No such file or directory [2]
$ kvio remove tidy.xml; kvio ls  => a.xml
$ chmod 400 /etc/kavex/conf/a.xml; kvio set a.xml interface interface_t lan mtu 9; chmod 600 /etc/kavex/conf/a.xml
! kvio: /etc/kavex/conf/a.xml: Permission denied

Dumps and backups, to files and into pipes.

$ kvio dump a.xml /tmp/dump.xml && kvio dump a.xml | cmp - /tmp/dump.xml && cmp /etc/kavex/conf/a.xml /tmp/dump.xml
$ kvio dump a.xml - | head -2
<?xml version="1.0" encoding="UTF-8"?>
<kavex>
$ kvio dump a.xml /nowhere/dump.xml  => ! kvio: /nowhere/dump.xml: No such file or directory [1]
$ kvio dump a.xml /usr/dump.xml  => ! kvio: /usr/dump.xml: Read-only file system [5]
$ touch /tmp/shut.xml; chmod 0 /tmp/shut.xml; kvio dump a.xml /tmp/shut.xml; kvio restore a.xml /tmp/shut.xml
! kvio: /tmp/shut.xml: Permission denied
! kvio: /tmp/shut.xml: Permission denied [6]
$ kvio backup a.xml object/user_group | head -4
<?xml version="1.0"?>
<kavex>
  <object>
    <user_group>
$ kvio backup a.xml object/user_group /tmp/groups.xml && kvio backup a.xml nowhere /tmp/groups.xml  => ! kvio: no scope nowhere in /etc/kavex/conf/a.xml [1]

Nothing is written but regular files and pipes with a reader; what is written is private and complete.

$ mkdir /tmp/own; ln -s /etc/kavex/conf/a.xml /tmp/link; ln -s kept.xml /tmp/own/link; touch /tmp/own/kept.xml; (umask 0; kvio dump a.xml /tmp/own/link; kvio dump a.xml /tmp/link; kvio backup a.xml object /tmp/own/new.xml); cd /tmp/own; stat -c '%a %F %n' *; kvio dump a.xml ..; kvio dump a.xml /dev/null
600 regular file kept.xml
777 symbolic link link
600 regular file new.xml
! kvio: /tmp/link: it is a symbolic link in a directory that others may write in
! kvio: ..: Is a directory
! kvio: /dev/null: it is no regular file [5]
$ mkfifo /tmp/own/pipe /etc/kavex/conf/pipe; kvio dump a.xml /tmp/own/pipe; cmp /tmp/own/pipe /tmp/dump.xml & kvio dump a.xml >(cmp - /tmp/dump.xml); until kvio -q dump a.xml /tmp/own/pipe; do sleep 0.05; done; wait; kvio save-as a.xml pipe; kvio copy a.xml pipe; kvio restore pipe /tmp/dump.xml; rm /etc/kavex/conf/pipe
! kvio: /tmp/own/pipe: No such device or address
! kvio: /etc/kavex/conf/pipe: it is no regular file
! kvio: /etc/kavex/conf/pipe: it is no regular file
! kvio: /etc/kavex/conf/pipe: it is no regular file

Differences. Order counts in lists and tables alone.

$ kvio diff /tmp/dump.xml a.xml
$ cat >/tmp/1.xml <<'XML'
> <kavex><s a="1"><t name="x"><f>1</f><g>2</g></t><t name="y"/><group name="g" type="t"><entity>x</entity><entity>y</entity></group><list name="l" type="t"><entity>x</entity><entity>y</entity></list><deep><t name="d"/></deep></s><text>one</text></kavex>
> XML
$ cat >/tmp/2.xml <<'XML'
> <kavex><text>one</text><s a="1"><group name="g" type="t"><entity>y</entity><entity>x</entity></group><list name="l" type="t"><entity>x</entity><entity>y</entity></list><t name="y"/><t name="x"><g>2</g><f>1</f></t><deep><t name="d"/></deep></s></kavex>
> XML
$ cat >/tmp/3.xml <<'XML'
> <kavex><text>two</text><s a="2" b="3"><group name="g" type="t"><entity>y</entity><container>h</container></group><list name="l" type="t"><entity>y</entity><entity>x</entity></list><t name="y" n="1"/><t name="x"><g>4
> 5</g><h/></t><t name="z"><f>new</f></t></s></kavex>
> XML
$ cp /tmp/1.xml /etc/kavex/conf/d.xml
$ kvio diff /tmp/2.xml d.xml
$ kvio diff /tmp/3.xml d.xml
~ s @a: 2 -> 1
- s @b: 3
- s group of t g member h (container)
+ s group of t g member x
~ s list of t l members: y, x -> x, y
+ s t x f: 1
~ s t x g: 4\n5 -> 2
- s t x h
- s t y @n: 1
- s t z
+ s/deep
~ text text: two -> one [1]
$ kvio diff /tmp/3.xml tidy.xml; kvio diff /tmp/4.xml d.xml
! kvio: /etc/kavex/conf/tidy.xml: No such file or directory
! kvio: /tmp/4.xml: No such file or directory [2]
$ kvio diff __system_default.xml d.xml
- interface
+ s
+ text [1]
$ kvio -q diff /tmp/3.xml d.xml; kvio diff /tmp/3.xml d.xml | wc -l  => 12

Members that look alike in a line are different ones.

$ printf '<kavex><s><list name="l" type="t"><entity>a, b</entity></list><group name="g" type="t"><entity>a (container)</entity></group></s></kavex>' >/etc/kavex/conf/d.xml; printf '<kavex><s><list name="l" type="t"><entity>a</entity><entity>b</entity></list><group name="g" type="t"><container>a</container></group></s></kavex>' >/tmp/5.xml; kvio diff /tmp/5.xml d.xml
- s group of t g member a (container)
+ s group of t g member a (container)
~ s list of t l members: a, b -> a, b [1]

Ten thousand equal names; JSON.

$ (echo '<kavex><s>'; seq 10000 | sed 's|.*|<t name="x"><f>&</f></t>|'; echo '</s></kavex>') >/tmp/6.xml; sed 's/5000/changed/' /tmp/6.xml >/tmp/7.xml; timeout 20 kvio diff /tmp/6.xml /tmp/7.xml; kvio diff -F json /tmp/5.xml d.xml; kvio diff -F json d.xml d.xml
~ s t x (5000) f: 5000 -> changed
[
  {"change": "removed", "place": ["s", "group of t", "g", "member a (container)"], "old": ""},
  {"change": "added", "place": ["s", "group of t", "g", "member a (container)"], "new": ""},
  {"change": "changed", "place": ["s", "list of t", "l", "members"], "old": "a, b", "new": "a, b"}
]
[
]

Restoring. What a scope had is gone; what else changed stays.

$ kvio set a.xml interface interface_t lan mtu 9000 && kvio create a.xml object/user_group list t new && kvio diff /tmp/dump.xml a.xml
~ interface interface_t lan mtu: 1500 -> 9000
+ object/user_group list of t new [1]
$ kvio restore a.xml /tmp/groups.xml object/user_group && kvio diff /tmp/dump.xml a.xml  => ~ interface interface_t lan mtu: 1500 -> 9000 [1]
$ kvio restore a.xml /tmp/groups.xml object/address  => ! kvio: no scope object/address in /tmp/groups.xml [1]
$ kvio restore a.xml /tmp/dump.xml && cmp /etc/kavex/conf/a.xml /tmp/dump.xml
$ echo '<other/>' >/tmp/other.xml; kvio restore a.xml /tmp/other.xml; kvio restore a.xml /tmp/ghost.xml; echo '<' >/tmp/other.xml; kvio restore a.xml /tmp/other.xml
! kvio: /tmp/other.xml: no configuration, its root element is not kavex
! kvio: /tmp/ghost.xml: No such file or directory
! kvio: /tmp/other.xml:1: not well-formed: StartTag: invalid element name [4]
$ cmp /etc/kavex/conf/a.xml /tmp/dump.xml

A file that lacks a scope of the configuration is most likely the backup of another one.

$ kvio restore a.xml /tmp/groups.xml
! kvio: /tmp/groups.xml has no scope interface, which a.xml would lose; name the scope to restore, or use --force [4]
$ kvio restore a.xml /tmp/groups.xml object
! kvio: /tmp/groups.xml has no scope object/address, which a.xml would lose; name the scope to restore, or use --force [4]
$ kvio restore a.xml /tmp/dump.xml object && cmp /etc/kavex/conf/a.xml /tmp/dump.xml
$ cmp /etc/kavex/conf/a.xml /tmp/dump.xml && kvio restore --force a.xml /tmp/groups.xml && kvio ls a.xml && kvio restore a.xml /tmp/dump.xml && cmp /etc/kavex/conf/a.xml /tmp/dump.xml
object
object/user_group

Files may come from a pipe, and from standard input.

$ (sleep 0.2; cat /tmp/dump.xml) | kvio diff - a.xml && kvio diff <(sleep 0.2; cat /tmp/3.xml) a.xml | wc -l  => 5
$ (sleep 0.2; cat /tmp/dump.xml) | kvio restore a.xml - && (sleep 0.2; cat /tmp/groups.xml) | kvio restore a.xml /dev/stdin object/user_group && cmp /etc/kavex/conf/a.xml /tmp/dump.xml
$ head -c 3000 /tmp/dump.xml | kvio restore a.xml -; kvio diff - a.xml <&-; kvio restore a.xml - </etc; cmp /etc/kavex/conf/a.xml /tmp/dump.xml
! kvio: -:97: not well-formed: Premature end of data in tag address line 71
! kvio: -: Bad file descriptor
! kvio: -: Is a directory

What is restored may be missing, or broken: then a backup of one scope is refused, and the old file is kept.

$ echo '<kavex><s' >/etc/kavex/conf/cut.xml; kvio restore cut.xml /tmp/dump.xml && kvio restore gone.xml /tmp/dump.xml && cat /etc/kavex/conf/cut.xml.broken && cmp /etc/kavex/conf/cut.xml /tmp/dump.xml && cmp /etc/kavex/conf/gone.xml /tmp/dump.xml
<kavex><s
! kvio: the old file is kept as cut.xml.broken
$ echo '<kavex><t' >/etc/kavex/conf/cut.xml; kvio restore cut.xml /tmp/groups.xml; kvio restore -n -f cut.xml /tmp/groups.xml; kvio restore -f cut.xml /tmp/groups.xml; kvio ls cut.xml; cat /etc/kavex/conf/cut.xml.broken; for name in cut.xml cut.xml.broken gone.xml; do kvio remove $name; done
object
object/user_group
<kavex><t
! kvio: cut.xml is not well-formed, and /tmp/groups.xml has one scope alone; --force restores it and keeps the old file as cut.xml.broken
! kvio: cut.xml is not well-formed: all is new
! kvio: the old file is kept as cut.xml.broken
$ echo '<kavex><new><deep><t name="x"/></deep></new></kavex>' >/tmp/new.xml; kvio restore -n a.xml /tmp/new.xml new/deep; kvio restore a.xml /tmp/new.xml new/deep && kvio ls a.xml new/deep && kvio restore -fn a.xml /tmp/groups.xml object | head -2; kvio restore a.xml /tmp/dump.xml; kvio restore -f a.xml /tmp/dump.xml
+ new
t	x
- object/address
- object/service
! kvio: /tmp/dump.xml has no scope new, which a.xml would lose; name the scope to restore, or use --force
$ kvio lock status
a.xml: free
d.xml: free

A pipe that nothing is written to is waited for, and a signal ends that.

$ mkfifo /tmp/pipe; timeout 0.5 kvio restore a.xml /tmp/pipe; kvio lock status a.xml  => a.xml: free

Editing: nothing is saved that is broken, or that has changed meanwhile.

$ cp /tmp/1.xml /etc/kavex/conf/d.xml; export EDITOR='sed -i s/2/two/'; kvio edit -n d.xml; kvio edit -y d.xml s; kvio edit -y d.xml; kvio edit d.xml s/deep; kvio get d.xml s t x g
~ s t x g: 2 -> two
~ s t x g: 2 -> two
two
! kvio: nothing is changed
! kvio: nothing is changed
$ EDITOR='sed -i s/two/2/' kvio edit d.xml; VISUAL='sed -i /entity/d\;s/two/cut\</' kvio edit -y d.xml 2>&1 | sed 's|/tmp/[^:]*|FILE|'; VISUAL=false kvio edit -y d.xml; VISUAL='sed -i s/=.y./=\\x27z\\x27/' kvio edit -y d.xml s
~ s t x g: two -> 2
kvio: FILE:6: not well-formed: StartTag: invalid element name
kvio: nothing is saved
! kvio: no terminal to ask on; --yes answers in advance
! kvio: the editor false failed; nothing is saved
! kvio: s: group g: a member names no t: y; nothing is saved without --force
! kvio: nothing is saved [4]
$ VISUAL='kvio set d.xml s t x g 9; sed -i s/two/2/' kvio edit -y d.xml 2>&1 | sed 's|/tmp/kvio[^/]*|DIRECTORY|'; grep -h '<g>' /tmp/kvio*/* /etc/kavex/conf/d.xml; rm -r /tmp/kvio*
~ s t x g: two -> 2
kvio: d.xml has changed meanwhile; your version is DIRECTORY/d.xml
      <g>2</g>
      <g>9</g>
$ echo 'grep -q cut "$1" && sed -i "s/cut<//" "$1" || sed -i "s/9/cut</" "$1"' >/tmp/editor; (echo y; sleep 0.5; echo y) | VISUAL='sh /tmp/editor' script -qec 'kvio edit d.xml; echo status $?' /dev/null | tr -d '\r' | sed 's|/tmp/kvio[^:]*|FILE|'; kvio get d.xml s t x g; ls /tmp | grep kvio
y
kvio: FILE:6: not well-formed: StartTag: invalid element name
Edit it again? [y/N] [33m~ s t x g: 9 -> [0m
Save this? [y/N] y
status 0
~ [1]

What does not get to standard output is missed.

$ for call in 'show' 'show -F json' 'show -F xml' dump; do kvio $call a.xml >/dev/full; done
! kvio: standard output: No space left on device
! kvio: standard output: No space left on device
! kvio: standard output: No space left on device
! kvio: standard output: No space left on device [5]
$ kvio backup a.xml object/address >/dev/full  => ! kvio: standard output: No space left on device [5]

A full disk leaves the file as it was.

$ head -c 150000 /dev/zero | tr '\0' x >/tmp/long; cp /etc/kavex/conf/small/a.xml /tmp/before.xml
$ kvio define small/a.xml interface interface_t long f - </tmp/long && kvio define small/a.xml interface interface_t longer f - </tmp/long
! kvio: /etc/kavex/conf/small/a.xml: No space left on device [5]
$ kvio ls small/a.xml interface | tail -2
interface_t	lan.15
interface_t	long

There is no room for a copy: what was there stays, and nothing is left that was not.

$ cp /etc/kavex/conf/small/a.xml /tmp/before.xml; kvio define a.xml interface interface_t huge f - </tmp/long; kvio define a.xml interface interface_t huger f - </tmp/long; for try in a.xml new.xml; do kvio copy a.xml small/$try; done; kvio save-as a.xml small/new.xml; kvio restore small/new.xml /etc/kavex/conf/a.xml; kvio dump a.xml /etc/kavex/conf/small/new.xml; kvio backup a.xml interface /etc/kavex/conf/small/new.xml
! kvio: a.xml to small/a.xml: No space left on device
! kvio: a.xml to small/new.xml: No space left on device
! kvio: /etc/kavex/conf/small/new.xml: No space left on device
! kvio: /etc/kavex/conf/small/new.xml: No space left on device
! kvio: /etc/kavex/conf/small/new.xml: No space left on device
! kvio: /etc/kavex/conf/small/new.xml: No space left on device [5]
$ ls /etc/kavex/conf/small; cmp /tmp/before.xml /etc/kavex/conf/small/a.xml  => a.xml
