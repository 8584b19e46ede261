$ x='a s t x' y='a s t y' m='a s list t m' g='a s group t g' h='a s group t h'; cd /etc/kavex/conf; cat >/tmp/a <<'XML'
> <kavex><s><t name="x" reference="1"><f>1</f><f>2</f></t><t name="y"/><t name="m"/><t name="n" reference="0"/>
> <u name="x" type="v"/><u name="z"/><group name="g" type="t" reference="1"><entity>x</entity></group>
> <group name="h" type="t"><container>g</container><entity>m</entity><entity>n</entity></group><group name="i" type="u">
> <entity>x</entity></group><list name="l" type="t"/><group name="j" type="t"><entity>lost</entity></group></s></kavex>
> XML
> short() { sed 's/; nothing is saved without --force$/ .../'; }; cp /tmp/a a; kvio set $x -- f -5 g 'a<b>&"c"' h ''
> printf 'one\ntwo\r\n' | kvio set $x i -; kvio get $x
> for value in $'a\001b' $'a\rb' $'a\xffb' $'a\xef\xbf\xbf'; do kvio -q set $x f "$value"; done
> printf 'a\0b' | kvio set $x f -; kvio set $x f - g - </dev/null; kvio set $x f - </etc; kvio set $x f $'\xef\xbf\xbe'
> head -c 10000001 /dev/zero | tr '\0' x | kvio set $x f -; kvio define a s "$(head -c 50001 /dev/zero | tr '\0' t)" x
> all "set $x f 1 g" "set $x - 1" "unset $x g h j" "unset $x g" "unset $x f" "get $x"
f	-5|f	2|g	a<b>&"c"|h	|i	one\ntwo [2] [2] [2] [2]|! standard input has a zero byte [2]|! only one value can come from
 standard input [2]|! standard input: Is a directory [5]|! the value is not UTF-8 text, or has control characters [2]
|! the value is too long to be read back [2]|! type is too long to be read back [2]|! the last field has no value [2]
|! field - is not an XML name [2]|! no field j of t x [1]|h	|i	one\ntwo
$ # Entities and scopes.
> kvio define a s t 'z & "z"' f 1 g 2; kvio define a s 'a b' x; kvio define a s t ''; kvio get a s t 'z & "z"'
> kvio rename-entity $y 'z & "z"'; kvio undefine --force a s t 'z & "z"'; kvio undefine a s t 'z & "z"'
> all "define $x" 'define a s group x' "undefine $x" 'undefine a s u z' 'create-scope a new/v' 'create-scope a new' \
> 'create-scope a new/group' 'create-scope a s/t' 'ls a' | short
! type a b is not an XML name [2]|! the name is empty [2]|f	1|g	2|! t z & "z": it exists already [1]|! no t z & "z" in
 s [1]|! t x in s: it exists already [1]|! group is a kind of container, no type of entities [2]|! group g names x;
 remove it from there first, or use --force [4]|! new: it exists already [1]|! group is a kind of container, no scope
 [2]|! s/t: the scope has the name of a type beside it ... [4]|s|new|new/v
$ # Containers and members.
> cp /tmp/a a; kvio create a s list t ''; all "create $m" "create $m" 'create a s heap t m' "join $m x y" "join $m x" \
> "join $m no"; kvio join -f $m no 'a&amp;b' 'c&d'; kvio join -f $m 'c&d'; all "join -c $g no" "join -c $h h" \
> "join -cf $g h" "join -c $h g" "append $m x" "append $m"; kvio append $m ''; kvio insert -f $m 1 'p&q'
> all "insert $m 3" "insert $m 99 x" "insert $m 0 x" "members $m"; kvio leave $m 'c&d' no '#3'; kvio leave -p 3 $m
> kvio rename-member -f $m 'a&amp;b' 'r&d'; all "leave $m" "leave -p 9 $m" "leave $m x no" "members $m" "dispose $g" \
> "dispose $m" "create $m" "join -c $m l" 'dispose a s list t l' "join -f $h x" "rename-member $h x g" "leave -p 1 $h" \
> "members $h" "dispose $g"
! the name is empty [2]|! list m of t in s: it exists already [1]|! KIND is table, list or group, not heap [2]|!
 member x of list m of t: it exists already [1]|! no t no in s [1]|! member c&d of list m of t: it exists already [1]
|! no group no of t in s [1]|! group h of t: nested containers form a loop [4]|! member g of group h of t: it exists
 already [1]|! the name is empty [2]|! list m of t: there is no such position [1]|! the position is a number from 1,
 not 0 [2]|entity	p&q|entity	x|entity	#3|entity	y|entity	no|entity	a&amp;b|entity	c&d|entity	x|entity	#7|! either
 members or --position [2]|! list m of t: there is no such position [1]|! member no of list m of t: not found [1]
|entity	p&q|entity	x|entity	r&d|entity	x|entity	#7|! group h names g; remove it from there first, or use --force [4]|!
 list m names l; remove it from there first, or use --force [4]|! member g of group h of t: it exists already [1]
|entity	m|entity	n|entity	x
$ # Attributes and counters.
> kvio attr set $y note 'a "b" <c>'; l='list a s t l'; all "attr get $y note" "attr set -k $l note n" \
> "attr unset -k $l note" "attr get -k $l note" 'attr unset a s u x type' 'attr unset a s u x type' \
> "attr unset $y name" "attr set $y xmlns urn:a" "attr set $y n 4294967294" "attr increase $y n" "attr increase $y n"
a "b" <c>|! no attribute note of list l of t [1]|! the attribute name cannot be removed [2]|! the attribute xmlns
 cannot be set: it would hide the element [2]|4294967295|! attribute n is 4294967295, which cannot be counted on [4]
$ # Groups count whom they name, each once, and lists do not; renaming takes the counts along. What `check` would call a
> # fault is not made, unless it is wanted; what was one before is none of the change's.
> counts() { grep -o '<[tug][^/>]*name[^>]*>' a | tr -d '<>"/' | sed 's/name=//;s/reference=//;s/ type=.//' |
> paste -sd ' '; }; k='a s group t k' f='a s group t f'; cp /tmp/a a; all "append $h x" "insert $h 1 y" \
> "append $h x" "append -f $g x" 'append a s list t l x' 'append a s list t l x' | short; counts; all "leave -p 1 $g" \
> "leave $h m n" "rename-member $h y y" "rename-member $h y no" "rename-member -f $h y no" "create $k" "join -c $k g" |
> short; counts; kvio rename-entity $x 'a & b'; all "rename-container $g f" 'rename-entity a s t no v' \
> "rename-container $h f" 'rename-container a s list t l f'; kvio show a s | tr -s ' '
> kvio attr set a s t 'a & b' name z | short; kvio attr decrease a s t 'a & b' reference | short; u=user_group_object_t
> all 'rename-container a s group t j lo' 'append a s group t lo lost' 'attr set -k group a s t f type u' \
> "attr set $y reference 7" "join -cf $f no" "rename-member $f no h" 'create-scope a s/v' 'define a s v x' \
> 'define a s/u t x' "create a s group $u u" "join a s group $u u zoe" 'check a' | short
! s: group h: a member is there already: x ... [4]|t x 2 t y 1 t m t n 0 u x u z group g 1 group h group i group j|!
 s: group h: a member names no t: no ... [4]|t x 2 t y 0 t m t n 0 u x u z group g 2 group h group i group j group k|!
 no t no in s [1]|! group f of t: it exists already [1]|s/| t a & b [reference=2]| f = 1| f = 2| t y [reference=0]| t
 m| t n [reference=0]| u x [type=v]| u z| group f of t [reference=2]| a & b| group h of t| no| f (container)| a & b|
 group i of u| x| list f of t| a & b| a & b| group j of t| lost| group k of t| f (container)|! s: group f: a member
 names no t: a & b ... [4]|! s: t a & b: reference is too low, or no number ... [4]|! s: group lo: a member names no
 t: lost ... [4]|! s: group f: a member names no u: a & b ... [4]|! s: group f contains itself: f > h > f ... [4]|!
 s/v: the scope has the name of a type beside it ... [4]|! there are 2 scopes s/u [4]|s: group f: member 2 names no
 group: no|s: group h: member 1 names no t: no|s: group lo: member 1 names no t: lost|s: t y: reference is 7, groups
 that name it: 0 [4]
$ # A batch is saved as a whole or not at all. Its lines may name what comes later.
> batch() { cp /tmp/a a; printf "$@" | kvio batch a | short; counts; }; batch 'attr set s t x name w
> rename-member s group t g x w'; batch 'attr set -k group s t g name f\nrename-member s group t h g f'
> batch 'append s group t g w\nappend s group t h w\ndefine s t w\njoin -cf s group t h f\ncreate s group t f'
> batch 'leave s group t h g\nattr set -k group s t g type u\nattr set s t x name z'; batch 'undefine -f s t x
> define s t x\nleave s group t h g\ndispose s group t g'; batch 'append s group t g w\nleave s group t h m
> undefine s t m\ndefine s t w'; batch 'define s t v\nappend s list t l v\nundefine -f s t v'
t w 1 t y t m t n 0 u x u z group g 1 group h group i group j|t x 1 t y t m t n 0 u x u z group f 1 group h group i
 group j|t x 1 t y t m t n 0 u x u z group g 1 group h group i group j t w 2 group f 1|t z 0 t y t m t n 0 u x 2 u z
 group g 0 group h group i group j|t y t m t n 0 u x u z group h group i group j t x|t x 1 t y t n 0 u x u z group g 1
 group h group i group j t w 1|! s: list l: a member names no t: v ... [4]|t x 1 t y t m t n 0 u x u z group g 1 group
 h group i group j
$ cp /tmp/a a; kvio batch a <<'LINES'; kvio get a s t 'a b'; all 'join a s list t l x y' 'append a s list t l x'
> # a comment, and an empty line
>
> define s t "a b" f 'single "quoted"'   # behind a line
> set s	t a\ b g "x\"y\\" h '' i "C:\temp \$x" j v#1
> LINES
> cp a before; for line in 'set s t x f 9' 'get s t x f' 'set s t x f "a' 'set s t y f -' 'set -h' 'undefine s t x'
> do printf "set s t x f 2\n\n$line\n" | kvio batch -n a; done
> printf 'leave s list t l x x\r\nleave s group t g x\r\nundefine s t x\n' | kvio batch -n a; all \
> 'define a s t w f 1 -n' "undefine $x -n" "attr unset $x reference -n" "rename-entity $x w -n" \
> 'create-scope a w -n'; cmp a before; kvio batch a </dev/null; for line in 'f 2 ff 3' 'ff 3'; do
> script -qec "kvio set $x $line" /dev/null | tr -d '\r'; done
f	single "quoted"|g	x"y\\|h	|i	C:\\temp $x|j	v#1|~ s t x f: 1 -> 9|! line 3: get is no change; nothing is saved [2]|!
 line 3: a quote is not closed; nothing is saved [2]|! line 3: a batch has no value on standard input; nothing is
 saved [2]|! line 3: set is no change; nothing is saved [2]|! line 3: group g names x; remove it from there first, or
 use --force; nothing is saved [4]|- s group of t g member x|~ s list of t l members: x, y, x -> y|- s t x|+ s t w|!
 group g names x; remove it from there first, or use --force [4]|- s t x @reference: 1|+ s group of t g member w|- s
 group of t g member x|~ s list of t l members: x, y, x -> w, y, w|+ s t w|- s t x|+ w|! new field ff
$ # Changes that wait for the lock all succeed; the others succeed or tell of the lock; no signal leaves one behind.
> kvio attr set $y n 0; for i in $(seq 9); do kvio attr increase --wait 100 $y n >/dev/null & done; wait
> kvio attr get $y n; for i in $(seq 9); do KVIO_WAIT= kvio -q set $y f $i & done | grep -v '\[3]'; wait
> all 'set -w 1000 no s t x f 1' "set -w -1 $x f 1" "set -w nan $x f 1"; KVIO_WAIT=1x kvio set $x f 1
> seq 3000 | sed 's/.*/define s t n&/' >/tmp/lines
> for signal in HUP INT TERM USR1 USR2 XCPU XFSZ ALRM VTALRM PROF POLL; do env kvio -q batch a </tmp/lines & sleep 0.05
> kill -$signal $! 2>/dev/null; wait $!; done 2>/dev/null; kvio lock status a
9|! ~no: No such file or directory [1]|! SECONDS is a number, not -1 [2]|! SECONDS is a number, not nan [2]|! SECONDS
 is a number, not 1x [2]|a: free
