$ cd /etc/kavex/conf; $EXAMPLES/make-configuration >good; kvio check good; cat >a <<'XML'; cp a /tmp/a
> <kavex><s><t name="x" reference="1"/><t name="x"/><t name="y" reference="0"/><t name="z" reference="5"/><t name="v"/>
> <t name="w" reference="-1"/><t name="o" reference="0"/><u name="x" reference="many"/><t name="q"/>
> <t name="d" a="1" b="2"><f>1</f></t><t name="d" b="2" a="1"><f>1</f></t><t name="e" a="1"/><t name="e" a="2"/>
> <t name="f"><f>1</f></t><t name="f"><f>2</f></t><t name="g"/><list name="d" type="t"><entity>no</entity></list>
> <list name="d" type="t"><entity>no</entity></list><table name="2" type="t"/><table name="2" type="u"/><list type="t"/>
> <group name="g" type="t" reference="-1"><entity>x</entity><entity>no</entity><entity>y</entity><entity/>
> <container>no</container><entity>y</entity><other>y</other><entity>g</entity><container>g</container></group>
> <group name="h" type="t" reference="0"><container>g</container><container>i</container><entity>y</entity>
> <entity>v</entity><entity>#1</entity><entity>#</entity></group><group name="i" type="t" reference="0">
> <container>j</container></group><group name="j" type="t" reference="0"><entity>v</entity><entity>q</entity></group>
> <group name="k" type="u"><container>k</container></group><list name="n" type=""><entity>y</entity></list>
> <group name="p" type="t"><container>i</container><container>r</container></group><group name="r" type="t">
> <container>p</container></group><group name="m" type="user_group_object_t"><entity>al</entity></group><deep name="x"/>
> <deep/></s><two><group name="g" type="t"><entity>b</entity></group></two><two/></kavex>
> XML
$ kvio check -R a | sed 's/(repair: remove the member/(-/; s/(repair: set it to/(=/; s/, groups that name it: / : /'
> cmp /tmp/a a; kvio check --yes a; kvio check -RFjson a | sed -n 5p; tty() { echo $1 | script -qec "kvio check -R a
> echo status \$?" /dev/null | grep -o -e 'status .' -e 'Rep.*?' -e '[0-9]* rep.*left'; }; tty n; kvio check -q a
> kvio check -Ry a | grep -c '(repaired: '; cp a b; cp /tmp/a a; tty Y; cmp a b; kvio diff /tmp/a a; echo '<kavex/>' >d
> kvio check -qyR d; cat d
! nothing is repaired; --yes repairs it without a question|s/deep: the scope has the name of a type beside it|two: the
 scope occurs 2 times|s: t d has an identical duplicate (repair: remove it)|s: t e occurs 2 times|s: t f occurs 2
 times|s: t x occurs 2 times|s: group g: member 2 names no t: no (-)|s: group g: member 4 has no name (-)|s: group g:
 member 5 names no group: no (-)|s: group g: member 6 is there already: y (-)|s: group g: member 7 is neither entity
 nor container: other|s: group g: member 9 is there already: g|s: group h: member 6 names no t: # (-)|s: list n has no
 type|s: list of t has no name|s: list d of t has an identical duplicate (repair: remove it)|s: list d: member 1 names
 no t: no (-)|s: group g contains itself: g > g|s: group k contains itself: k > k|s: group p contains itself: p > r >
 p|s: t v: reference is missing : 2 (= 2)|s: t w: reference is -1 : 0 (= 0)|s: t y: reference is 0 : 2 (= 2)|s: t z:
 reference is 5 : 0|s: u x: reference is many, no number : 0 (= 0)|s: group g: reference is -1 : 2 (= 2)|s: group i:
 reference is 0 : 2 (= 2)|two: group g: member 1 names no t: b [4]|! --yes goes with --repair [2]|  {"problem": "s: t
 d has an identical duplicate", "repair": "remove it"},|Repair what can be repaired (14)?|status 4 [4]|14|Repair what
 can be repaired (14)?|14 repaired, 14 left|status 4|~ s group of t g @reference: -1 -> 2|- s group of t g member |- s
 group of t g member no|- s group of t g member no (container)|- s group of t g member y (2)|- s group of t h member #
|~ s group of t i @reference: 0 -> 2|~ s list of t d members: no -> |- s list of t d (2)|- s t d (2)|+ s t v
 @reference: 2|~ s t w @reference: -1 -> 0|~ s t y @reference: 0 -> 2|~ s u x @reference: many -> 0 [1]|<kavex/>
$ # Thirty thousand nested groups; what is no configuration.
> (echo '<kavex><s><t name="x"/>'; paste <(seq 0 29999) <(seq 30000) | sed 's|\(.*\)\t\(.*\)|<group name="g\1" type="t"\
> ><container>g\2</container></group>|'; echo '</s></kavex>') >b; kvio create -f b s group t g30000; kvio check b
> kvio join -f b s group t g30000 x; kvio members -r b s group t g0; echo '<x><s/></x>' >c; kvio check c
> sed -i 's/"t"/"user_group_object_t"/; s/>g30000</>g5</; s|<container>g[12]<|<entity>al</entity>&|' b
> kvio members -r b s group user_group_object_t g0; kvio check -q no
x|the root element is x, not kavex [4]|al [1]
