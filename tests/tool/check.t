$ $EXAMPLES/make-configuration >/etc/kavex/conf/good.xml; kvio check good.xml
$ cat >/etc/kavex/conf/a.xml <<'XML'
> <kavex><s><t name="x" reference="1"/><t name="x"/><t name="y" reference="0"/><t name="z" reference="5"/><u name="x" reference="many"/>
> <group name="g" type="t" reference="-1"><entity>x</entity><entity>ghost</entity><entity>y</entity><entity/><container>nowhere</container><entity>y</entity><other>y</other></group>
> <group name="h" type="t"><container>g</container><container>i</container><entity>y</entity></group>
> <group name="i" type="t" reference="0"><container>h</container></group>
> <group name="self" type="u"><container>self</container><entity>x</entity></group>
> <group name="self" type="t"/>
> <list name="l" type="t"><entity>y</entity><entity>y</entity><container>g</container></list>
> <table name="twice" type="t"><entity>ghost</entity></table><table name="twice" type="t"/>
> <list name="untyped" type=""><entity>y</entity></list><list type="t"/>
> <group name="users" type="user_group_object_t"><entity>alice</entity></group>
> </s><two><t name="a" reference="0"/><group name="g" type="t"><entity>a</entity><entity>b</entity></group></two><two/></kavex>
> XML
$ cp /etc/kavex/conf/a.xml /tmp/a.xml
$ kvio check a.xml
two: the scope occurs 2 times
s: t x occurs 2 times
s: group g: member 2 names no t: ghost
s: group g: member 4 has no name
s: group g: member 5 names no group: nowhere
s: group g: member 6 is there already: y
s: group g: member 7 is neither entity nor container: other
s: list untyped has no type
s: list of t has no name
s: list l: member 3 names no list: g
s: table twice of t occurs 2 times
s: table twice: member 1 names no t: ghost
s: group h contains itself: h > i > h
s: group self contains itself: self > self
s: t y: reference is 0, groups that name it: 2
s: t z: reference is 5, groups that name it: 0
s: u x: reference is many, no number, groups that name it: 1
s: group g: reference is -1, groups that name it: 1
two: group g: member 2 names no t: b
two: t a: reference is 0, groups that name it: 1 [4]
$ kvio check -R a.xml | grep -c '(repair: '
9
! kvio: nothing is repaired; --yes repairs it without a question
$ kvio check --yes a.xml  => ! kvio: --yes goes with --repair [2]
$ cmp /tmp/a.xml /etc/kavex/conf/a.xml
$ kvio check --repair --yes a.xml | grep repaired
s: group g: member 2 names no t: ghost (repaired: remove the member)
s: group g: member 4 has no name (repaired: remove the member)
s: group g: member 5 names no group: nowhere (repaired: remove the member)
s: group g: member 6 is there already: y (repaired: remove the member)
s: list l: member 3 names no list: g (repaired: remove the member)
s: table twice: member 1 names no t: ghost (repaired: remove the member)
s: t y: reference is 0, groups that name it: 2 (repaired: set it to 2)
s: u x: reference is many, no number, groups that name it: 1 (repaired: set it to 1)
s: group g: reference is -1, groups that name it: 1 (repaired: set it to 1)
! kvio: 9 repaired, 11 left
$ kvio check a.xml
two: the scope occurs 2 times
s: t x occurs 2 times
s: group g: member 3 is neither entity nor container: other
s: list untyped has no type
s: list of t has no name
s: table twice of t has an identical duplicate
s: group h contains itself: h > i > h
s: group self contains itself: self > self
s: t z: reference is 5, groups that name it: 0
two: group g: member 2 names no t: b
two: t a: reference is 0, groups that name it: 1 [4]
$ kvio show a.xml s | sed -n '/group g/,/group i/p'
  group g of t [reference=1]
    x
    y
    y (other)
  group h of t
    g (container)
    i (container)
    y
  group i of t [reference=0]

$ $EXAMPLES/make-configuration | sed 's/ reference="1"/ reference="0"/' >/etc/kavex/conf/counts.xml; kvio check -R counts.xml | head -2; kvio check -Ry counts.xml >/dev/null && kvio check counts.xml && kvio refs counts.xml object/address address_object_t floor-10 && kvio attr get counts.xml object/address address_object_t floor-10 reference
object/address: address_object_t floor-10: reference is 0, groups that name it: 1 (repair: set it to 1)
object/address: address_object_t floor-11: reference is 0, groups that name it: 1 (repair: set it to 1)
group	address_object_t	lower-floors
1
! kvio: nothing is repaired; --yes repairs it without a question
! kvio: 14 repaired, 0 left

A repair needs the lock; looking does not. Nothing to repair, nothing written.

$ python3 $TESTS/tool/hold.py a.xml; kvio check a.xml >/dev/null; kvio check -R a.xml >/dev/null; kvio check -Ry a.xml; kvio lock clear -y a.xml; kvio check -Ry a.xml >/dev/null
! kvio: nothing is repaired; --yes repairs it without a question
! kvio: /etc/kavex/conf/a.xml: another process holds it (see kvio lock status)
! kvio: 1 repaired, 10 left [4]
$ kvio check -q broken.xml; echo '<kavex>' >/etc/kavex/conf/broken.xml; kvio check broken.xml; echo '<x/>' >/etc/kavex/conf/broken.xml; kvio check broken.xml
the root element is x, not kavex
! kvio: /etc/kavex/conf/broken.xml:2: not well-formed: Premature end of data in tag kavex line 1 [4]

What is offered is done, and what cannot be addressed or is not clear is not offered.

$ echo '<kavex><s><group type="t" reference="x"/><t name="web" reference="1"/><list name="l" type="t"><entity>gone</entity></list><group name="web" type="t" reference="1"/><group name="o" type="t"><entity>web</entity><container>web</container></group></s></kavex>' >/etc/kavex/conf/a.xml; kvio check -R a.xml; kvio check -Ry a.xml | grep repaired; kvio check a.xml
s: group of t has no name
s: group o: member 2 is there already: web
s: list l: member 1 names no t: gone (repair: remove the member)
s: list l: member 1 names no t: gone (repaired: remove the member)
s: group of t has no name
s: group o: member 2 is there already: web
! kvio: nothing is repaired; --yes repairs it without a question
! kvio: 1 repaired, 2 left [4]

A name that two things have; counts that are none; members with a default name, which name nothing.

$ echo '<kavex><s><t name="x"/><deep name="y"/><deep/><t name="n" reference="12x"/><t name="m" reference="-1"/><list name="l" type="t"><entity>#1</entity><entity>#x</entity></list><group name="g" type="t"><entity>x</entity></group><group name="h" type="t"><entity>x</entity></group><group name="u" type="user_group_object_t"><container>v</container></group><group name="v" type="user_group_object_t"/></s></kavex>' >/etc/kavex/conf/a.xml; kvio check -R a.xml; kvio check -Ry a.xml >/dev/null; kvio check a.xml
s/deep: the scope has the name of a type beside it
s: list l: member 2 names no t: #x (repair: remove the member)
s: t m: reference is -1, groups that name it: 0 (repair: set it to 0)
s: t n: reference is 12x, no number, groups that name it: 0 (repair: set it to 0)
s: t x: reference is missing, groups that name it: 2 (repair: set it to 2)
s/deep: the scope has the name of a type beside it
! kvio: nothing is repaired; --yes repairs it without a question
! kvio: 4 repaired, 1 left [4]

Duplicates that are identical; the question on a terminal.

$ echo '<kavex><s><t name="x" a="1" b="2"><f>1</f></t><t name="x" b="2" a="1"><f>1</f></t><t name="y"/><t name="y"><f/></t><list name="l" type="t"><entity>gone</entity></list><list name="l" type="t"><entity>gone</entity></list></s></kavex>' >/etc/kavex/conf/a.xml; kvio check --format json -R a.xml
[
  {"problem": "s: t x has an identical duplicate", "repair": "remove it"},
  {"problem": "s: t y occurs 2 times"},
  {"problem": "s: list l of t has an identical duplicate", "repair": "remove it"},
  {"problem": "s: list l: member 1 names no t: gone", "repair": "remove the member"}
]
! kvio: nothing is repaired; --yes repairs it without a question [4]
$ echo n | script -qec 'kvio check -R a.xml; echo status $?' /dev/null | tr -d '\r' | tail -3; echo y | script -qec 'kvio check -R a.xml; echo status $?' /dev/null | tr -d '\r' | tail -2; kvio show a.xml; kvio check -q a.xml
s: list l: member 1 names no t: gone (repair: remove the member)
Repair what can be repaired (3)? [y/N] kvio: nothing is repaired; --yes repairs it without a question
status 4
Repair what can be repaired (3)? [y/N] kvio: 3 repaired, 1 left
status 4
s/
  t x [a=1, b=2]
    f = 1
  t y
  t y
    f = 
  list l of t [4]

Thirty thousand nested groups.

$ (echo '<kavex><s><t name="x"/>'; seq 30000 | awk '{ print "<group name=\"g" $1 "\" type=\"t\"><container>g" $1 + 1 "</container></group>" }'; echo '<group name="g30001" type="t"><entity>x</entity></group></s></kavex>') >/etc/kavex/conf/a.xml; kvio check a.xml && kvio members -r a.xml s group t g1 && kvio dispose -f a.xml s group t g30001 && kvio check a.xml; kvio lock status a.xml
x
s: group g30000: member 1 names no group: g30001
a.xml: free
$ sed -i 's/"t"/"user_group_object_t"/' /etc/kavex/conf/a.xml; kvio members -r a.xml s group user_group_object_t g1
