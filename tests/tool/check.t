$ cd /etc/kavex/conf; $EXAMPLES/make-configuration >good; kvio check good; cat >a <<'XML'; cp a /tmp/a
> <kavex><s><t name="x" reference="1"/><t name="x"/><t name="y" reference="0"/><t name="z" reference="5"/><t name="v"/>
> <t name="w" reference="-1"/><t name="o" reference="0"/><u name="x" reference="many"/><t name="q"/>
> <t name="d" a="1" b="2"><f>1</f></t><t name="d" b="2" a="1"><f>1</f></t><t name="e" a="1"/><t name="e" a="2"/>
> <t name="f"><f>1</f></t><t name="f"><f>2</f></t><t name="g"/><list name="d" type="t"><entity>no</entity></list>
> <list name="d" type="t"><entity>no</entity></list><table name="2" type="t"/><table name="2" type="u"/><list type="t"/>
> <group name="g" type="t" reference="-1"><entity>x</entity><entity>no</entity><entity>y</entity><entity/>
> <container>no</container><entity>y</entity><other>y</other><entity>g</entity><container>g</container></group>
> <group name="h" type="t" reference="0"><container>g</container><container>i</container><entity>y</entity>
> <entity>v</entity><entity>#1</entity><entity>#</entity></group>
> <group name="i" type="t" reference="0"><container>j</container></group>
> <group name="j" type="t" reference="0"><entity>v</entity><entity>q</entity></group>
> <group name="k" type="u"><container>k</container></group><list name="n" type=""><entity>y</entity></list>
> <group name="p" type="t"><container>i</container><container>r</container></group>
> <group name="r" type="t"><container>p</container></group>
> <group name="m" type="user_group_object_t"><entity>al</entity></group><deep name="x"/><deep/></s>
> <two><group name="g" type="t"><entity>b</entity></group></two><two/></kavex>
> XML
$ kvio check -R a | sed 's/(repair: remove the member/(-/; s/(repair: set it to/(=/'; kvio check --yes a
> cmp /tmp/a a; kvio check -F json a | tail -3; tty() { echo $1 | script -qec "kvio check -R a
> echo status \$?" /dev/null | grep -o -e 'status .' -e 'Rep.*?' -e '[0-9]* rep.*left'; }; tty n; kvio check -q a
> kvio check -Ry a | grep -c '(repaired: '; tty Y; kvio check --repair --yes a | tail -1; echo '<kavex/>' >d
> kvio check -qyR d; cat d; kvio show a s; cp /tmp/a a; tty Y
kvio: nothing is repaired; --yes repairs it without a question|s/deep: the scope has the name of a type beside it|two:
 the scope occurs 2 times|s: t d has an identical duplicate (repair: remove it)|s: t e occurs 2 times|s: t f occurs 2
 times|s: t x occurs 2 times|s: group g: member 2 names no t: no (-)|s: group g: member 4 has no name (-)|s: group g:
 member 5 names no group: no (-)|s: group g: member 6 is there already: y (-)|s: group g: member 7 is neither entity
 nor container: other|s: group g: member 9 is there already: g|s: group h: member 6 names no t: # (-)|s: list n has no
 type|s: list of t has no name|s: list d of t has an identical duplicate (repair: remove it)|s: list d: member 1 names
 no t: no (-)|s: group g contains itself: g > g|s: group k contains itself: k > k|s: group p contains itself: p > r >
 p|s: t v: reference is missing, groups that name it: 2 (= 2)|s: t w: reference is -1, groups that name it: 0 (= 0)|s:
 t y: reference is 0, groups that name it: 2 (= 2)|s: t z: reference is 5, groups that name it: 0|s: u x: reference is
 many, no number, groups that name it: 0 (= 0)|s: group g: reference is -1, groups that name it: 2 (= 2)|s: group i:
 reference is 0, groups that name it: 2 (= 2)|two: group g: member 1 names no t: b [4]|kvio: --yes goes with --repair
 [2]|  {"problem": "two: group g: member 1 names no t: b"}|] [4]|Repair what can be repaired (14)?|status 4 [4]|14
|status 4 [4]|<kavex/>|s/|  t x [reference=1]|  t x|  t y [reference=2]|  t z [reference=5]|  t v [reference=2]|  t w
 [reference=0]|  t o [reference=0]|  u x [reference=0]|  t q|  t d [a=1, b=2]|    f = 1|  t e [a=1]|  t e [a=2]|  t f|
    f = 1|  t f|    f = 2|  t g|  list d of t|  table 2 of t|  table 2 of u|  list  of t|  group g of t [reference=2]|
    x|    y|    y (other)|    g|    g (container)|  group h of t [reference=0]|    g (container)|    i (container)|
    y|    v|    #1|  group i of t [reference=2]|    j (container)|  group j of t [reference=0]|    v|    q|  group k
 of u|    k (container)|  list n of |    y|  group p of t|    i (container)|    r (container)|  group r of t|    p
 (container)|  group m of user_group_object_t|    al|  deep x|  deep/|Repair what can be repaired (14)?|14 repaired,
 14 left|status 4

Thirty thousand nested groups; what is no configuration.
$ awk 'BEGIN { print "<kavex><s><t name=\"x\"/>"; for (i = 0; i < 30000; ++i)
> print "<group name=\"g" i "\" type=\"t\"><container>g" i + 1 "</container></group>"
> print "<group name=\"g30000\" type=\"t\"><entity>x</entity></group></s></kavex>" }' >b; kvio check b
> kvio members -r b s group t g0; kvio dispose -f b s group t g30000; kvio check b
> sed -i 's/"t"/"user_group_object_t"/; s/>g30000</>g5</; s|<container>g[12]<|<entity>al</entity>&|' b
> kvio members -r b s group user_group_object_t g0; echo '<x><s/></x>' >c; kvio check c; kvio check -q no
x|s: group g29999: member 1 names no group: g30000 [4]|al|the root element is x, not kavex [4] [1]
