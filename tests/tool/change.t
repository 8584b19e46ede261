$ x='a s t x' y='a s t y' m='a s list t m' g='a s group t g' h='a s group t h'; cd /etc/kavex/conf
$ cat >/tmp/a <<'XML'; cp /tmp/a a
> <kavex><s><t name="x" reference="1"><f>1</f><f>2</f></t><t name="y" n="4294967294"/><u name="x" type="v"/>
> <group name="g" type="t" reference="1"><entity>x</entity></group><group name="h" type="t">
> <container>g</container></group><list name="l" type="t"><entity>x</entity><entity>y</entity><entity>x</entity></list>
> </s><two/><two/></kavex>
> XML

Values. One comes from standard input, without its last line feed; what XML cannot hold or read back is refused.
$ kvio set $x -- f -5 g 'a<b>&"c"' h ''; printf 'one\ntwo\r\n' | kvio set $x i -; kvio get $x | od -c | cut -c9-
> for value in $'a\001b' $'a\rb' $'a\xffb' $'a\xef\xbf\xbe' $'a\xef\xbf\xbf'; do kvio set $x f "$value"
> done | sort | uniq -c; printf 'a\0b' | kvio set $x f -; kvio set $x f - g - </dev/null; kvio set $x f - </etc
> head -c 10000001 /dev/zero | tr '\0' x | kvio set $x f -; kvio define a s "$(head -c 50001 /dev/zero | tr '\0' t)" x
> kvio set $x f 1 g; kvio set $x - 1; kvio unset $x g h j; kvio unset $x g; kvio unset $x f; kvio get $x
  f  \t   -   5  \n   f  \t   2  \n   g  \t   a   <   b   >   &|  "   c   "  \n   h  \t  \n   i  \t   o   n   e   \
   n   t   w|  o  \n||      5 [2]|      5 kvio: the value is not UTF-8 text, or has control characters|kvio: standard
 input has a zero byte [2]|kvio: only one value can come from standard input [2]|kvio: standard input: Is a directory
 [5]|kvio: the value is too long to be read back [2]|kvio: type is too long to be read back [2]|kvio: the last field
 has no value [2]|kvio: field - is not an XML name [2]|kvio: no field j of t x [1]|h	|i	one\ntwo

Entities and scopes.
$ kvio define a s t 'z & "z"' f 1 g 2; kvio define $x; kvio define a s group x; kvio define a s 'a b' x
> kvio define a s t ''; kvio undefine $x; kvio undefine a s u x; kvio get a s t 'z & "z"'
> kvio rename-entity $y 'z & "z"'; kvio undefine --force a s t 'z & "z"'; kvio undefine a s t 'z & "z"'
> for scope in new/v new new/group s/t; do kvio create-scope a "$scope"; done; kvio ls a
kvio: t x in s: it exists already [1]|kvio: group is a kind of container, no type of entities [2]|kvio: type a b is
 not an XML name [2]|kvio: the name is empty [2]|kvio: group g names x; remove it from there first, or use --force [4]
|f	1|g	2|kvio: t z & "z": it exists already [1]|kvio: no t z & "z" in s [1]|kvio: new: it exists already [1]|kvio:
 group is a kind of container, no scope [2]|kvio: s/t: the scope has the name of a type beside it; nothing is saved
 without --force [4]|s|two|two|new|new/v

Containers and members.
$ cp /tmp/a a; for call in 'list t m' 'list t m' 'heap t m'; do kvio create a s $call; done; kvio create a s list t ''
> kvio join $m x y; kvio join $m x; kvio join $m no; kvio join -f $m no 'a&amp;b' 'c&d'; kvio join -f $m 'c&d'
> kvio join -c $g no; kvio join -c $h h; kvio join -c $g h; kvio join -cf $g h; kvio join -c $h g; kvio append $m x
> kvio append $m; kvio append $m ''; kvio insert -f $m 1 'p&q'; kvio insert $m 3; for at in 99 0
> do kvio insert $m $at x; done
kvio: list m of t in s: it exists already [1]|kvio: KIND is table, list or group, not heap [2]|kvio: the name is empty
 [2]|kvio: member x of list m of t: it exists already [1]|kvio: no t no in s [1]|kvio: member c&d of list m of t: it
 exists already [1]|kvio: no group no of t in s [1]|kvio: group h of t: nested containers form a loop [4]|kvio: group
 g of t: nested containers form a loop [4]|kvio: member g of group h of t: it exists already [1]|kvio: the name is
 empty [2]|kvio: list m of t: there is no such position [1]|kvio: the position is a number from 1, not 0 [2]
$ kvio members $m; kvio leave $m 'c&d' no '#3'; kvio leave -p 3 $m; kvio leave $m; kvio leave -p 9 $m
> kvio leave $m x no; kvio rename-member -f $m 'a&amp;b' 'r&d'; kvio members $m; kvio dispose $g; kvio dispose $m
> kvio create $m; kvio join -c $m l; kvio dispose a s list t l; kvio join -f $h x; kvio rename-member $h x g
> kvio leave -p 1 $h; kvio members $h; kvio dispose $g
entity	p&q|entity	x|entity	#3|entity	y|entity	no|entity	a&amp;b|entity	c&d|entity	x|entity	#7|kvio: either members or
 --position [2]|kvio: list m of t: there is no such position [1]|kvio: member no of list m of t: not found [1]
|entity	p&q|entity	x|entity	r&d|entity	x|entity	#7|kvio: group h names g; remove it from there first, or use --force
 [4]|kvio: list m names l; remove it from there first, or use --force [4]|kvio: member g of group h of t: it exists
 already [1]|entity	x

Attributes and counters.
$ kvio attr set $y note 'a "b" <c>'; kvio attr set -k list a s t l note n; kvio attr unset -k list a s t l note
> kvio attr get -k list a s t l note; kvio attr get $y note; kvio attr unset a s u x type; kvio attr unset a s u x type
> kvio attr unset $y name; kvio attr set $y xmlns urn:a
kvio: no attribute note of list l of t [1]|a "b" <c>|kvio: the attribute name cannot be removed [2]|kvio: the
 attribute xmlns cannot be set: it would hide the element [2]

Groups count whom they name, each once, and lists do not; renaming takes the counts along. What `check` would call a
fault is not made, unless it is wanted; what was one before is none of the change's.
$ cat >/tmp/c <<'XML'; cp /tmp/c a
> <kavex><s><t name="x" reference="1"/><t name="y"/><t name="m"/><t name="n" reference="0"/><u name="x"/><u name="z"/>
> <group name="g" type="t" reference="1"><entity>x</entity></group><group name="h" type="t"><container>g</container>
> <entity>m</entity><entity>n</entity></group><group name="i" type="u"><entity>x</entity></group>
> <list name="l" type="t"/><group name="j" type="t"><entity>lost</entity></group></s></kavex>
> XML
$ counts() { grep -o '<[tug][^/>]*name[^>]*>' a | tr -d '<>"/' | sed 's/name=//;s/reference=//;s/ type=.//' |
> paste -sd ' '; }; kvio append $h x; kvio insert $h 1 y; kvio append $h x; kvio append -f $g x
> kvio append a s list t l x; kvio append a s list t l x; counts; kvio leave -p 1 $g; kvio leave $h m n
> kvio rename-member $h y y; kvio rename-member $h y no; kvio rename-member -f $h y no; kvio create a s group t k
> kvio join -c a s group t k g; counts; kvio rename-entity $x 'a & b'; kvio rename-container $g f
kvio: s: group h: a member is there already: x; nothing is saved without --force [4]|t x 2 t y 1 t m t n 0 u x u z
 group g 1 group h group i group j|kvio: s: group h: a member names no t: no; nothing is saved without --force [4]|t x
 2 t y 0 t m t n 0 u x u z group g 2 group h group i group j group k
$ kvio rename-entity a s t no v; kvio rename-container $h f; kvio rename-container a s list t l f; kvio show a s
> kvio rename-container a s group t j lo; kvio append a s group t lo lost; kvio attr set a s t 'a & b' name z
> kvio attr set -k group a s t f type u; kvio attr decrease a s t 'a & b' reference; kvio attr set $y reference 7
> kvio join -cf a s group t f no; kvio rename-member a s group t f no h; kvio create-scope a s/v; kvio define a s v x
> kvio define a s/u t x; kvio create a s group user_group_object_t u; kvio join a s group user_group_object_t u zoe
> kvio check a
kvio: no t no in s [1]|kvio: group f of t: it exists already [1]|s/|  t a & b [reference=2]|  t y [reference=0]|  t m|
  t n [reference=0]|  u x|  u z|  group f of t [reference=2]|    a & b|  group h of t|    no|    f (container)|    a &
 b|  group i of u|    x|  list f of t|    a & b|    a & b|  group j of t|    lost|  group k of t|    f (container)
|kvio: s: group lo: a member names no t: lost; nothing is saved without --force [4]|kvio: s: group f: a member names
 no t: a & b; nothing is saved without --force [4]|kvio: s: group f: a member names no u: a & b; nothing is saved
 without --force [4]|kvio: s: t a & b: reference is too low, or no number; nothing is saved without --force [4]|kvio:
 s: group f contains itself: f > h > f; nothing is saved without --force [4]|kvio: s/v: the scope has the name of a
 type beside it; nothing is saved without --force [4]|kvio: there are 2 scopes s/u [4]|s: group f: member 2 names no
 group: no|s: group h: member 1 names no t: no|s: group lo: member 1 names no t: lost|s: t y: reference is 7, groups
 that name it: 0 [4]

A batch is saved as a whole or not at all. Its lines may name what comes later.
$ batch() { cp /tmp/c a; printf "$@" | kvio batch a && counts; }
> batch 'attr set s t x name w\nrename-member s group t g x w\n'
> batch 'attr set -k group s t g name f\nrename-member s group t h g f\n'
> batch 'append s group t g w\nappend s group t h w\ndefine s t w\njoin -cf s group t h f\ncreate s group t f'
> batch 'leave s group t h g\nattr set -k group s t g type u\nattr set s t x name z\n'
> batch 'undefine -f s t x\ndefine s t x\nleave s group t h g\ndispose s group t g\n'
t w 1 t y t m t n 0 u x u z group g 1 group h group i group j|t x 1 t y t m t n 0 u x u z group f 1 group h group i
 group j|t x 1 t y t m t n 0 u x u z group g 1 group h group i group j t w 2 group f 1|t z 0 t y t m t n 0 u x 2 u z
 group g 0 group h group i group j|t y t m t n 0 u x u z group h group i group j t x
$ batch 'append s group t g w\nleave s group t g x\nundefine s t x\ndefine s t w\n'
> batch 'define s t v\nappend s list t l v\nundefine -f s t v\n'
t y t m t n 0 u x u z group g 1 group h group i group j t w 1|kvio: s: list l: a member names no t: v; nothing is
 saved without --force [4]
$ cp /tmp/a a; cat >/tmp/lines <<'LINES'; kvio batch a </tmp/lines; kvio get a s t 'a b'; cp a before
> # a comment, and an empty line
>
> define s t "a b" f 'single "quoted"'   # behind a line
> set s	t a\ b g "x\"y\\" h '' i "C:\temp \$x" j v#1
> LINES
f	single "quoted"|g	x"y\\|h	|i	C:\\temp $x|j	v#1
$ for line in 'set s t x f 9' 'get s t x f' 'set s t x f "a' 'set s t y f -' 'set -h' 'undefine s t x'
> do printf "set s t x f 2\n\n$line\n" | kvio batch -n a; done
> printf 'leave s list t l x x\r\nleave s group t g x\r\nundefine s t x\n' | kvio batch -n a; (printf 'set s t y h '
> head -c 1000000 /dev/zero | tr '\0' x) | kvio batch -n a | wc -c
~ s t x f: 1 -> 9|kvio: line 3: get is no change; nothing is saved [2]|kvio: line 3: a quote is not closed; nothing is
 saved [2]|kvio: line 3: a batch has no value on standard input; nothing is saved [2]|kvio: line 3: set is no change;
 nothing is saved [2]|kvio: line 3: group g names x; remove it from there first, or use --force; nothing is saved [4]
|- s group of t g member x|~ s list of t l members: x, y, x -> y|- s t x|1000012
$ for call in "define a s t w f 1" "undefine $x" "attr unset $x reference" "rename-entity $x w" "create-scope a w"
> do kvio $call -n; done; cmp a before; kvio batch a </dev/null; for line in 'f 2 ff 3' 'ff 3'
> do script -qec "kvio set $x $line" /dev/null | tr -d '\r'; done
+ s t w|kvio: group g names x; remove it from there first, or use --force [4]|- s t x @reference: 1|+ s group of t g
 member w|- s group of t g member x|~ s list of t l members: x, y, x -> w, y, w|+ s t w|- s t x|+ w|kvio: new field ff

Changes that wait for the lock all succeed; the others succeed or tell of the lock; no signal leaves one behind.
$ kvio attr set $y n 0; for i in $(seq 9); do kvio attr increase --wait 100 $y n >/dev/null & done; wait
> kvio attr get $y n; for i in $(seq 9); do KVIO_WAIT= kvio -q set $y f $i & done | grep -v '\[3]'; wait
> kvio set -w 1000 no s t x f 1; for wait in -1 nan; do kvio set -w "$wait" $x f 1; done; KVIO_WAIT=1x kvio set $x f 1
9|kvio: /etc/kavex/conf/no: No such file or directory [1]|kvio: SECONDS is a number, not -1 [2]|kvio: SECONDS is a
 number, not nan [2]|kvio: SECONDS is a number, not 1x [2]
$ (seq 3000 | sed 's/.*/define s t n&/') >/tmp/lines
> for signal in HUP INT TERM USR1 USR2 XCPU XFSZ ALRM VTALRM PROF POLL; do env kvio -q batch a </tmp/lines & sleep 0.05
> kill -$signal $! 2>/dev/null; wait $!; done 2>/dev/null; kvio lock status a
a: free
