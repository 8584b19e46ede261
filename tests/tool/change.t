$ cat >/tmp/a.xml <<'XML'
> <kavex><s><t name="x" reference="1"><f>1</f></t><t name="y" n="4294967295"/><u name="x"/><group name="g" type="t" reference="1"><entity>x</entity></group><group name="h" type="t"><container>g</container></group><list name="l" type="t"><entity>x</entity><entity>y</entity><entity>x</entity></list></s><two/><two/></kavex>
> XML
$ cp /tmp/a.xml /etc/kavex/conf/a.xml

Values.

$ kvio set a.xml s t x f 2 g 'a<b>&"c"' && kvio get a.xml s t x
f	2
g	a<b>&"c"
$ printf 'one\ntwo\n' | kvio set a.xml s t x f - && kvio get a.xml s t x f
one
two
$ printf '' | kvio set a.xml s t x f - && kvio get a.xml s t x f  => ~


$ kvio set a.xml s t x -- f -5 && kvio get a.xml s t x f  => -5
$ kvio set a.xml s t x f -5  => ! kvio: no option -5; see kvio set --help [2]
$ kvio set a.xml s t x f 1 g; kvio get a.xml s t x f
-5
! kvio: the last field has no value
$ kvio set a.xml s t x f - g - </dev/null  => ! kvio: only one value can come from standard input [2]
$ printf 'a\0b' | kvio set a.xml s t x f -  => ! kvio: standard input has a zero byte [2]
$ kvio set a.xml s t x f - </etc  => ! kvio: standard input: Is a directory [5]
$ kvio batch a.xml <&-  => ! kvio: standard input: Bad file descriptor [5]
$ head -c 10000001 /dev/zero | tr '\0' x | kvio set a.xml s t x f -  => ! kvio: the value is too long to be read back [2]
$ kvio define a.xml s "$(head -c 50001 /dev/zero | tr '\0' t)" x  => ! kvio: type is too long to be read back [2]
$ kvio undefine a.xml s '*' x  => ! kvio: type * is not an XML name [2]
$ for value in $'a\001b' $'a\xffb' $'a\xef\xbf\xbfb'; do kvio set a.xml s t x f "$value"; done
! kvio: the value is not UTF-8 text, or has control characters
! kvio: the value is not UTF-8 text, or has control characters
! kvio: the value is not UTF-8 text, or has control characters [2]
$ kvio set a.xml s t x 'f g' 1  => ! kvio: field f g is not an XML name [2]
$ kvio set a.xml s t ghost f 1  => ! kvio: no t ghost in s [1]
$ kvio set a.xml two t x f 1  => ! kvio: there are 2 scopes two [4]
$ kvio set a.xml 's[' t x f 1  => ! kvio: no scope s[ in /etc/kavex/conf/a.xml [1]
$ kvio unset a.xml s t x new; kvio unset a.xml s t x g && kvio get a.xml s t x
f	-5
! kvio: no field new of t x

Entities.

$ kvio define a.xml s t 'z & "z"' f 1 g 2 && kvio get a.xml s t 'z & "z"'
f	1
g	2
$ kvio define a.xml s t x  => ! kvio: t x in s: it exists already [1]
$ kvio define a.xml nowhere t x  => ! kvio: no scope nowhere in /etc/kavex/conf/a.xml [1]
$ kvio define a.xml s group x  => ! kvio: group is a kind of container, no type of entities [2]
$ kvio define a.xml s 'a b' x  => ! kvio: type a b is not an XML name [2]
$ kvio undefine a.xml s t x  => ! kvio: group g names x; remove it from there first, or use --force [4]
$ kvio undefine a.xml s t 'z & "z"' && kvio undefine a.xml s u x && kvio ls a.xml s
t	x
t	y
group	t	g
group	t	h
list	t	l
$ kvio undefine a.xml s u x  => ! kvio: no u x in s [1]
$ kvio undefine --force a.xml s t x && kvio members a.xml s group t g && kvio members -r a.xml s group t g  => entity	x

Containers and members.

$ cp /tmp/a.xml /etc/kavex/conf/a.xml
$ kvio create a.xml s list t m && kvio create a.xml s list t m  => ! kvio: list m of t in s: it exists already [1]
$ kvio create a.xml s heap t m  => ! kvio: KIND is table, list or group, not heap [2]
$ kvio create a.xml s list 't t' m  => ! kvio: type t t is not an XML name [2]
$ kvio join a.xml s list t m x y && kvio join a.xml s list t m x  => ! kvio: member x of list m of t: it exists already [1]
$ kvio join a.xml s list t m ghost; kvio members a.xml s list t m
entity	x
entity	y
! kvio: no t ghost in s
$ kvio join -f a.xml s list t m ghost 'a&amp;b' 'c&d' && kvio join -f a.xml s list t m 'c&d'  => ! kvio: member c&d of list m of t: it exists already [1]
$ kvio members a.xml s list t m
entity	x
entity	y
entity	ghost
entity	a&amp;b
entity	c&d
$ kvio join -c a.xml s group t h h  => ! kvio: group h of t: nested containers form a loop [4]
$ kvio join -c a.xml s group t g h  => ! kvio: group g of t: nested containers form a loop [4]
$ kvio join -c a.xml s group t g ghost  => ! kvio: no group ghost of t in s [1]
$ kvio join -cf a.xml s group t g h && kvio members -r a.xml s group t g  => ! kvio: group g of t: nested containers form a loop [4]
$ kvio leave a.xml s group t g h && kvio members -r a.xml s group t h  => x
$ kvio append a.xml s list t m x && kvio append a.xml s list t m && kvio insert --force a.xml s list t m 1 'p&q' && kvio insert a.xml s list t m 3
$ kvio members a.xml s list t m
entity	p&q
entity	x
entity	#3
entity	y
entity	ghost
entity	a&amp;b
entity	c&d
entity	x
entity	#7
$ kvio insert a.xml s list t m 99 x  => ! kvio: list m of t: there is no such position [1]
$ kvio insert a.xml s list t m 0x1 x  => ! kvio: the position is a number from 1, not 0x1 [2]
$ kvio leave a.xml s list t m 'c&d' ghost '#3' && kvio leave --position 1 a.xml s list t m && kvio members a.xml s list t m
entity	x
entity	y
entity	a&amp;b
entity	x
entity	#7
$ kvio leave a.xml s list t m x ghost; kvio leave -p 9 a.xml s list t m; kvio leave -p 1 a.xml s list t m x; kvio leave a.xml s list t m
! kvio: member ghost of list m of t: not found
! kvio: list m of t: there is no such position
! kvio: either members or --position
! kvio: either members or --position [2]
$ kvio rename-member -f a.xml s list t m 'a&amp;b' 'r&d' && kvio rename-member a.xml s list t m ghost x
! kvio: member x of list m of t: it exists already [1]
$ kvio rename-member a.xml s list t m y x  => ! kvio: member x of list m of t: it exists already [1]
$ kvio members a.xml s list t m
entity	x
entity	y
entity	r&d
entity	x
entity	#7
$ kvio dispose a.xml s group t g  => ! kvio: group h names g; remove it from there first, or use --force [4]
$ kvio dispose -f a.xml s group t g && kvio dispose a.xml s list t m && kvio dispose a.xml s list t m  => ! kvio: no list m of t in s [1]
$ kvio show a.xml s
s/
  t x [reference=0]
    f = 1
  t y [n=4294967295]
  u x
  group h of t [reference=0]
    g (container)
  list l of t
    x
    y
    x

Attributes and counters.

$ kvio attr set a.xml s t y note 'a "b" <c>' && kvio attr get a.xml s t y note  => a "b" <c>
$ kvio attr set -k list a.xml s t l note n && kvio attr get -k list a.xml s t l note  => n
$ kvio attr unset a.xml s t y note && kvio attr get a.xml s t y note  => ! kvio: no attribute note of t y [1]
$ kvio attr unset -k list a.xml s t l note && kvio attr unset -k list a.xml s t l note && kvio attr get -k list a.xml s t l note
! kvio: no attribute note of list l of t [1]
$ kvio attr unset a.xml s t y name; kvio attr unset -k list a.xml s t l type
! kvio: the attribute name cannot be removed
! kvio: the attribute type cannot be removed [2]
$ kvio attr decrease a.xml s t y n; kvio attr increase a.xml s t y n; kvio attr increase a.xml s t y n; kvio attr increase a.xml s t y new; kvio attr decrease a.xml s t y new; kvio attr decrease a.xml s t y new; kvio attr get a.xml s t y n; kvio attr set a.xml s t y n 1x; kvio attr decrease a.xml s t y n; kvio attr set a.xml s t y n 1
4294967294
4294967295
1
0
0
4294967295
! kvio: attribute n is 4294967295, which cannot be counted on
! kvio: attribute n is 1x, which cannot be counted on
$ kvio attr set a.xml s t y 'a b' 1  => ! kvio: attribute a b is not an XML name [2]

Groups count what they name, and tables and lists do not.

$ echo '<kavex><s><t name="x"/><t name="y"/><group name="g" type="t"/><group name="h" type="t"/><list name="l" type="t"/></s></kavex>' >/etc/kavex/conf/a.xml
$ kvio join a.xml s group t g x && kvio append a.xml s group t h x && kvio insert a.xml s group t h 1 y && kvio join a.xml s list t l x && kvio join -c a.xml s group t g h
$ kvio check a.xml
$ for entity in x y; do kvio attr get a.xml s t $entity reference; done; kvio attr get -k group a.xml s t h reference
2
1
1
$ kvio rename-member a.xml s group t h y z  => ! kvio: s: group h: a member names no t: z; nothing is saved without --force [4]
$ kvio rename-member -f a.xml s group t h y z && kvio leave a.xml s group t g x h && kvio check a.xml  => s: group h: member 1 names no t: z [4]
$ for entity in x y; do kvio attr get a.xml s t $entity reference; done; kvio attr get -k group a.xml s t h reference
1
0
0
$ kvio leave -p 1 a.xml s group t h && kvio dispose a.xml s group t h && kvio attr get a.xml s t x reference && kvio check a.xml  => 0

What nobody counted so far is counted when a second group names it.

$ echo '<kavex><s><t name="x"/><t name="y" reference="0"/><group name="g" type="t"><entity>x</entity><entity>y</entity><container>i</container></group><group name="h" type="t"/><group name="i" type="t"/></s></kavex>' >/etc/kavex/conf/a.xml
$ kvio join a.xml s group t h x && kvio join a.xml s group t h y && kvio join -c a.xml s group t h i; kvio check a.xml; kvio attr get a.xml s t x reference; kvio attr get -k group a.xml s t i reference
s: t y: reference is 1, groups that name it: 2
2
2

A group that names a member twice counts once.

$ echo '<kavex><s><t name="x"/><group name="g" type="t"/></s></kavex>' >/etc/kavex/conf/a.xml; for change in join 'append -f' 'leave -p 1' leave; do kvio $change a.xml s group t g $([ "${change#* }" = '-p 1' ] || echo x); kvio attr get a.xml s t x reference; done | tr '\n' ' '
1 1 1 0 

The members of a user group are users, and no entities.

$ kvio create a.xml s group user_group_object_t u && kvio join a.xml s group user_group_object_t u zoe && kvio check a.xml
$ kvio create a.xml s group user_group_object_t v && kvio join a.xml s group user_group_object_t v adam zoe && kvio join -c a.xml s group user_group_object_t v u && kvio members -r a.xml s group user_group_object_t v
adam
zoe

Whoever is renamed, defined or of another type takes the counts along, in any order.

$ echo '<kavex><s><t name="x" reference="1"/><u name="x"/><u name="z"/><group name="g" type="t" reference="1"><entity>x</entity></group><group name="h" type="t"><container>g</container></group></s></kavex>' >/etc/kavex/conf/a.xml; cp /etc/kavex/conf/a.xml /tmp/before.xml
$ printf 'attr set s t x name y\nrename-member s group t g x y\n' | kvio batch a.xml && kvio check a.xml && kvio attr get a.xml s t y reference  => 1
$ printf 'rename-member s group t g y w\nattr set s t y name w\n' | kvio batch a.xml && kvio check a.xml && kvio attr get a.xml s t w reference  => 1
$ printf 'attr set -k group s t g name i\nrename-member s group t h g i\n' | kvio batch a.xml && kvio check a.xml && kvio attr get -k group a.xml s t i reference
1
$ printf 'append s group t i new\nappend s group t h new\ndefine s t new f 1\njoin -cf s group t h late\njoin -cf s group t i late\ncreate s group t late\n' | kvio batch a.xml && kvio check a.xml && kvio attr get a.xml s t new reference && kvio attr get -k group a.xml s t late reference
2
2
$ cp /tmp/before.xml /etc/kavex/conf/a.xml; printf 'attr set s t x name y\nleave s group t h g\ndispose s group t g\n' | kvio batch a.xml && kvio check a.xml && kvio attr get a.xml s t y reference
0
$ cp /tmp/before.xml /etc/kavex/conf/a.xml; printf 'leave s group t h g\nattr set -k group s t g type u\nattr set s t x name z\n' | kvio batch a.xml && kvio check a.xml && kvio show a.xml s
s/
  t z [reference=0]
  u x [reference=1]
  u z
  group g of u [reference=0]
    x
  group h of t

What `check` would call a fault is not made, unless it is wanted; what was one before is none of the change's.

$ echo '<kavex><s><t name="x"/><t name="y" reference="1"/><u name="x"><v/></u><group name="g" type="t"><entity>x</entity><entity>y</entity><container>h</container></group><group name="h" type="t"><container>i</container></group><group name="i" type="t"/><group name="j" type="t"><entity>lost</entity></group><list name="l" type="t"/><deep/></s></kavex>' >/etc/kavex/conf/a.xml; cp /etc/kavex/conf/a.xml /tmp/before.xml; kvio check a.xml
s: group j: member 1 names no t: lost [4]
$ kvio rename-member a.xml s group t g x ghost; kvio rename-member a.xml s group t h i g
! kvio: s: group g: a member names no t: ghost; nothing is saved without --force
! kvio: s: group g contains itself: g > h > g; nothing is saved without --force [4]
$ kvio append a.xml s group t g x; kvio insert a.xml s list t l 1 ghost; kvio append a.xml s list t l x && kvio append a.xml s list t l x
! kvio: s: group g: a member is there already: x; nothing is saved without --force
! kvio: s: list l: a member names no t: ghost; nothing is saved without --force
$ kvio join -cf a.xml s group t i ghost && kvio join -c a.xml s group t i g
! kvio: s: group g contains itself: g > h > i > g; nothing is saved without --force [4]
$ kvio attr set a.xml s t x name z; kvio attr set a.xml s t x name y; kvio attr set -k group a.xml s t h type u; kvio attr set a.xml s t x name ''; kvio attr set -k group a.xml s t h type 'a b'; kvio attr set a.xml s t x xmlns urn:a
! kvio: s: group g: a member names no t: x; nothing is saved without --force
! kvio: s: group g: a member names no t: x; nothing is saved without --force
! kvio: s: group g: a member names no group: h; nothing is saved without --force
! kvio: the name is empty
! kvio: type a b is not an XML name
! kvio: the attribute xmlns cannot be set: it would hide the element [2]
$ kvio attr set a.xml s t y reference 0; kvio attr decrease a.xml s t y reference; kvio attr unset a.xml s t y reference && kvio attr set a.xml s t y reference many; kvio attr set a.xml s t y reference 7
! kvio: s: t y: reference is too low, or no number; nothing is saved without --force
! kvio: s: t y: reference is too low, or no number; nothing is saved without --force
! kvio: s: t y: reference is too low, or no number; nothing is saved without --force
$ kvio define a.xml s deep x; kvio define a.xml s/u t x; kvio create a.xml s/group group t x; kvio define a.xml s t ''; kvio create a.xml s group t ''; kvio join a.xml s group t g ''; kvio append a.xml s group t g ''
! kvio: s/deep: the scope has the name of a type beside it; nothing is saved without --force
! kvio: s/u is an entity or container, no scope
! kvio: there are 4 scopes s/group
! kvio: the name is empty
! kvio: the name is empty
! kvio: the name is empty
! kvio: the name is empty [2]
$ printf 'append s list t l new\ndefine s t new\n' | kvio batch a.xml && kvio members a.xml s list t l
entity	x
entity	x
entity	new
$ printf 'undefine -f s t new\nappend s list t l newer\n' | kvio batch a.xml; printf 'append s list t l newer\nundefine -f s t new\n' | kvio batch a.xml; printf 'append s list t l newest\n' | kvio batch -f a.xml
! kvio: s: list l: a member names no t: new; nothing is saved without --force
! kvio: s: list l: a member names no t: new; nothing is saved without --force
$ kvio check a.xml; kvio diff /tmp/before.xml a.xml
s: group i: member 1 names no group: ghost
s: group j: member 1 names no t: lost
s: list l: member 4 names no t: newest
s: t y: reference is 7, groups that name it: 1
+ s group of t i member ghost (container)
~ s list of t l members:  -> x, x, new, newest
+ s t new
~ s t y @reference: 1 -> 7 [1]
$ cp /tmp/before.xml /etc/kavex/conf/a.xml; (seq 20 | sed 's/.*/define s t n&/'; echo 'append s list t l none'; seq 20 | sed 's/.*/join s list t l n&/'; echo 'join -f s list t l ghost'; echo 'set s t n1 f 1') | kvio batch a.xml; kvio lock status a.xml; kvio diff /tmp/before.xml a.xml
a.xml: free
! kvio: s: list l: a member names no t: ghost; nothing is saved without --force

A batch is saved as a whole or not at all.

$ cp /tmp/a.xml /etc/kavex/conf/a.xml
$ kvio batch a.xml <<'LINES'
> # a comment, and an empty line
>
> define s t "a b" f 'single "quoted"'   # behind a line
> join s group t g "a b"
> set s t a\ b g "x\"y" h ''
> attr increase s t "a b" reference
> leave s group t g x
> undefine -- s t y
> undefine --force s t x
> LINES
! kvio: line 8: list l names y; remove it from there first, or use --force; nothing is saved [4]
$ kvio diff /tmp/a.xml a.xml
$ printf 'set s t x f 9\nundefine s t x\n' | kvio batch a.xml; kvio get a.xml s t x f
1
! kvio: line 2: group g names x; remove it from there first, or use --force; nothing is saved
$ printf 'leave s group t g x\nleave s list t l x x\nundefine s t x' | kvio batch a.xml; kvio ls a.xml s t  => y
$ printf 'attr decrease s t y n\nget s t x f\n' | kvio batch a.xml  => ! kvio: line 2: get is no change; nothing is saved [2]
$ printf 'set s t x f "a\n' | kvio batch a.xml  => ! kvio: line 1: a quote is not closed; nothing is saved [2]
$ printf 'set s t y h "C:\\temp \\"q\\" \\$x"\n' | kvio batch a.xml && kvio get a.xml s t y h && kvio unset a.xml s t y h  => C:\temp "q" $x
$ (printf 'set s t y h '; head -c 1000000 /dev/zero | tr '\0' x) | timeout 30 kvio batch a.xml && kvio unset a.xml s t y h
$ printf 'set s t y f -\n' | kvio batch a.xml  => ! kvio: line 1: a batch has no value on standard input; nothing is saved [2]
$ printf 'set s t x\n' | kvio batch a.xml
! kvio: line 1: usage: kvio set [OPTION]... NAME SCOPE TYPE ENTITY FIELD VALUE [FIELD VALUE]...; nothing is saved [2]
$ kvio batch a.xml </dev/null && echo '<kavex' >/etc/kavex/conf/b.xml && kvio batch b.xml </dev/null
! kvio: /etc/kavex/conf/b.xml:2: not well-formed: Couldn't find end of Start Tag kavex line 1 [4]

Nothing of this left a lock behind, and a signal in the middle of a change does not either.

$ (seq 3000 | sed 's/.*/define s t n&/') >/tmp/lines; for signal in HUP INT TERM USR1 USR2 XCPU XFSZ ALRM VTALRM PROF POLL; do kvio -q batch a.xml </tmp/lines & sleep 0.05; kill -$signal $! 2>/dev/null; wait $!; done 2>/dev/null; kvio lock status a.xml
a.xml: free

Changes that wait for the lock all succeed; without waiting they succeed or report the lock, and nothing else.

$ kvio attr set a.xml s t y n 0; for i in $(seq 12); do kvio attr increase --wait 100 a.xml s t y n >/dev/null & done; wait; kvio attr get a.xml s t y n; for i in $(seq 12); do (KVIO_WAIT= kvio -q set a.xml s t y f $i; echo $?) & done | grep -v -e 0 -e 3; kvio lock status a.xml; kvio set -w soon a.xml s t x f 1; KVIO_WAIT=1x kvio set a.xml s t x f 1
12
a.xml: free
! kvio: SECONDS is a number, not soon
! kvio: SECONDS is a number, not 1x [2]

Names change together with what refers to them.

$ echo '<kavex><s><t name="x" reference="2"/><t name="y"/><group name="g" type="t" reference="1"><entity>x</entity><entity>gone</entity></group><group name="h" type="t"><entity>x</entity><container>g</container></group><list name="g" type="t"><entity>x</entity><entity>x</entity></list><group name="i" type="u"><entity>x</entity></group></s></kavex>' >/etc/kavex/conf/a.xml
$ kvio rename-entity a.xml s t y gone && kvio rename-entity a.xml s t x z && kvio rename-entity a.xml s t z 'a & b' && kvio rename-container a.xml s group t g j && kvio show a.xml s && kvio check a.xml
s/
  t a & b [reference=2]
  t gone [reference=1]
  group j of t [reference=1]
    a & b
    gone
  group h of t
    a & b
    j (container)
  list g of t
    a & b
    a & b
  group i of u
    x
s: group i: member 1 names no u: x [4]
$ kvio rename-entity a.xml s t ghost v; kvio rename-entity a.xml s t gone 'a & b'; kvio rename-entity a.xml s t gone ''; kvio rename-container a.xml s group t h j; kvio rename-container a.xml s table t h k
! kvio: no t ghost in s
! kvio: t a & b: it exists already
! kvio: the name is empty
! kvio: group j: it exists already
! kvio: no table h of t in s [1]

Scopes; what a change would do.

$ kvio create-scope a.xml new/deeper && kvio create-scope a.xml new; kvio create-scope a.xml new/group; kvio create-scope a.xml 'new/a b'; kvio create-scope a.xml s/t; kvio ls a.xml
s
new
new/deeper
! kvio: new: it exists already
! kvio: group is a kind of container, no scope
! kvio: scope a b is not an XML name
! kvio: s/t: the scope has the name of a type beside it; nothing is saved without --force
$ kvio set -n a.xml s t gone f 1; kvio dispose -n a.xml s list t g; kvio undefine -n a.xml s t gone; printf 'define s t w\r\n# with carriage returns\r\njoin s group t h w\r\n' | kvio batch --dry-run a.xml; printf 'one\r\n' | kvio set a.xml s t gone f - && kvio get a.xml s t gone f | od -c; kvio count a.xml s t
+ s t gone f: 1
- s list of t g
+ s group of t h member w
+ s t w
0000000   o   n   e  \n
0000004
2
! kvio: group j names gone; remove it from there first, or use --force
$ script -qec 'kvio set a.xml s t gone f 2 ff 3' /dev/null | tr -d '\r'; script -qec 'kvio set a.xml s t gone ff 3' /dev/null | tr -d '\r'
kvio: new field ff
