$ # Every kind of element; names that need care, one of them to be kept from terminals.
> name=$'\e[1mb\xc2\x85\xc2\x9f\x7f\\\r'; cd /etc/kavex/conf; mkdir dir; touch .kavex-redo-1 b; cat >a <<'XML'
> <kavex version="7"><s n="&#9;\&quot;"><t name="x" a="1&#10;"><f>a "b" \	c
> d</f><f>2</f><g><below>x</below></g></t><list name="l" type="t" b="2"><entity>x</entity></list><u>text</u></s>
> <o note="n"><a><host name="lan" colour="r"><ip>10.0.0.1</ip><ip>twice</ip><none/></host><host name="wän">
> <ip>10.9.0.1</ip></host><host name="&quot;2's&quot;"/><net name="lan"/><net name="two"><ip>1</ip></net>
> <net name="two"/><group name="in" type="host" reference="1"><entity>lan</entity><entity>"2's"</entity></group>
> <group name="all" type="host"><container>in</container><entity>lan</entity></group><list name="order" type="host">
> <entity>wän</entity><entity>lan</entity><entity>wän</entity></list><table name="o&#127;&#155;" type="net">
> <entity>lan</entity></table><table type="net"/><list name="a: b" type="net"/></a></o><many/><many/></kavex>
> XML
> kvio show -F json a s | fold -w 118; kvio show -Fxml a s/u; kvio get a s t x f; kvio show -Fjson a | grep -c '^  {"s'
> on() { TERM=$1 script -qec "$2" /dev/null | tr -d '\r' | sed 's/\x1b/^/g'; }; on xterm 'kvio show a s'; NO_COLOR=1 \
> on xterm 'kvio show a s/u'; on dumb 'kvio show a s/u'; all ls 'ls a' 'ls a o' 'ls a o/a host' 'ls a o/a group' \
> 'ls a o/a'; PAGER='cat -n' on dumb 'kvio ls --pager a o/a net; kvio find a "1*"; kvio ls a o/a' | sed '3,6b;13b;d'
> h='a o/a host'; kvio get $h "\"2's\""; kvio get $h "\"2's\"" ip; kvio get $h "lan'] | host[@name='wän"
[|  {"scope": "s", "attributes": {"n": "\t\\\""}, "entities": [|    {"type": "t", "name": "x", "attributes": {"a":
 "1\n"}, "fields": {"f": "a \"b\" \\\tc\nd", "g": "x"}}], "container|s": [|    {"kind": "list", "type": "t", "name":
 "l", "attributes": {"b": "2"}, "members": [{"entity": "x"}]}], "scopes": [|    {"scope": "s/u", "attributes": {},
 "text": "text", "entities": [], "containers": [], "scopes": []}]}|]|<?xml version="1.0"?>|<kavex>|  <s
 n="&#9;\&quot;">|    <u>text</u>|  </s>|</kavex>|a "b" \	c|d|4|^[1;34ms/^[0m^[2m [n=\t\\"]^[0m|├─ ^[32mt^[0m
 ^[1mx^[0m^[2m [a=1\n]^[0m|│  ├─ f = a "b" \\\tc\nd|│  ├─ f = 2|│  └─ g = x|├─ ^[1;35mlist l^[0m of t^[2m [b=2]^[0m|│
  └─ x|└─ ^[1;34mu/^[0m text|u/ text|u/ text|a|b|s|s/u|o|o/a|many|many|a/|lan|wän|"2's"|host	lan|host	wän|host	"2's"
|net	lan|net	two|net	two|group	host	in|group	host	all|list	host	order|table	net	o\u007f\u009b|table	net	|list	net	a: b
|     3	two|o/a  host  lan  ip  10.0.0.1|o/a  host  wän  ip  10.9.0.1|o/a  net   two  ip  1|group  host  in|! field ip
 of host "2's": not found [1]|! no host lan'] | host[@name='wän in o/a [1]
$ all "get $h lan" "get $h lan none" 'get a o/a host[1] lan' "get -d D $h no ip" 'get -dD a no host lan' \
> 'get --default D ghost s t e' 'get -d D a o/a net two' "attr get $h lan colour" "attr get $h lan x" \
> 'attr get -k group a o/a host in reference' "attr get -dD -k list $h in x" "attr get -dD -k heap $h in x" \
> 'members a o/a group host all' 'members -r a o/a group host all' 'members -r a o/a list host order'; kvio find a '1*'
> kvio find --type net a '*lan*'; kvio find -e ip -t host a '*'; kvio find -q a '1*'; all 'find -e entity a lan' \
> 'find a lan o' 'find -q a none' 'find -Fjson a 1' 'ls -Fjson a o' 'ls -Fjson a o/a list' "get -Fjson $h lan none" \
> 'members -Fjson a o/a group host all' "refs $h in" 'refs -q a o/a net lan' 'refs -Fjson a o/a net lan' \
> "refs -k group $h in" "count $h" 'count a o/a group'
ip	10.0.0.1|ip	twice|none	||! type host[1] is not an XML name [2]|D|D|! ~ghost: No such file or directory [1]|! net
 two in o/a: the name is not unique [4]|r|! no attribute x of host lan [1]|1|D|! KIND is table, list or group, not
 heap [2]|container	in|entity	lan|lan|"2's"|wän|lan|o/a	host	lan	ip	10.0.0.1|o/a	host	wän	ip	10.9.0.1|o/a	net	two	ip	1
|o/a	net	lan|o/a	table of net	o\u007f\u009b	entity	lan|o/a	host	lan	ip	10.0.0.1|o/a	host	lan	ip	twice
|o/a	host	wän	ip	10.9.0.1 [1]|o/a	host	lan|o/a	net	lan|o/a	group of host	in	entity	lan|o/a	group of
 host	all	entity	lan|o/a	list of host	order	entity	lan|o/a	table of net	o\u007f\u009b	entity	lan [1]|[|  {"scope":
 "o/a", "type": "net", "name": "two", "field": "ip", "value": "1"}|]|[|  {"scope": "a"}|]|[|]|[|  {"field": "none",
 "value": ""}|]|[|  {"member": "container", "name": "in"},|  {"member": "entity", "name": "lan"}|] [1]|[|  {"kind":
 "table", "type": "net", "name": "o\u007f\u009b"}|]|group	host	all|3|0
$ # Proposals for the last word, and what bash makes of them: from the line, and its pieces. Nothing of it is run.
> odd='odd names'; cp a "$odd"; echo '<kavex><o>' >broken; offer() { kvio --complete "$@" | paste -sd ' '; }
> in_a() { offer $1 "$odd" o/a "${@:2}"; }; offer re; offer attr ''; offer attr no ''; offer u; offer get ''
> offer get no ''; offer copy broken o; offer find --type=h; offer show --; offer show a -- --; offer attr set --kind ''
> offer --; offer dump a ''; in_a get; in_a ls ''; in_a get host ''; in_a 'members -r' ''; in_a members table net ''
> in_a rename-container group host ''; in_a rename-entity host l; in_a 'attr set --kind group' host a
> in_a 'attr get' host lan ''; in_a join group host x y l; in_a set host lan a 1 b 2 n; in_a leave group host in ''
> in_a define host new i; source $TESTS/../tools/kvio.bash; compopt() { echo compopt "$@"; }
> typed() { COMP_LINE=$1 COMP_WORDS=("${@:2}") COMP_POINT=${#1} COMP_CWORD=$(($# - 2)) COMPREPLY=(); _kvio
> (IFS=,; echo "${COMPREPLY[*]}"); }; at='kvio get odd\ names o/a' of=(kvio get 'odd\ names' o/a); 
> touch 'some file'; typed 'kvio get od' kvio get od; typed "$at host " "${of[@]}" host ''
> typed "$at host \"l" "${of[@]}" host '"l'; typed 'kvio members a o/a list net a:' kvio members a o/a list net a :
> typed 'kvio show --format=j' kvio show --format = j; typed 'kvio get `touch run` ' kvio get '`touch' 'run`' ''
> typed 'kvio dump a so' kvio dump a so; ls | grep run
refs remove rename rename-container rename-entity rename-member restore|decrease get increase set unset||undefine
 unset user|a b broken odd names||odd names||--format --help --pager --quiet --verbose||group list table|--help
 --quiet --verbose||o/a|host net|"2's" lan wän|group list table||all in|lan|all|colour name|lan|none|"2's" lan|ip|odd\
 names|\"2\'s\",lan,$'w\303\244n'||\ b|json||compopt -o bashdefault -o default|
$ # What is not there, or nearly so; usage. Of several mistakes the first one is told.
> for scope in many '//a' '' 'o/a/net[1]'; do kvio count a "$scope" host; done; kvio; all 'ls -- -q' \
> 'get a o/a hots lan' 'members a o/a group host inn' shwo gets u attr 'count a 1' 'count a 1 2 3' 'show -Z --frob a' \
> 'show a --format' 'show --pager=x a' 'ls -F xml' '-q gets' 'set -q --frob'; kvio help count | head -5
> command kvio get a o/a net two ip 2>/dev/null; (all -V --version version; kvio -v set a s t x f 1) | tr -s 0-9 N
> (kvio -h; for verb in $(kvio --complete ''); do kvio $verb -h; done) | grep -v Example | grep '.\{80\}'
! there are 2 scopes many [4]|! no scope //a in ~a; did you mean o/a? [1]|! the scope is empty [2]|! o/a/net[1] is an
 entity or container, no scope [1]|! no verb; see kvio --help [2]|! ~-q: No such file or directory [1]|! no hots lan
 in o/a; did you mean host? [1]|! no group inn of host in o/a; did you mean in? [1]|! no verb shwo; did you mean show?
 [2]|! no verb gets; did you mean get? [2]|! no verb u; kvio --help lists them [2]|! the verb is one of attr get, attr
 set, attr unset, attr increase, attr decrease [2]|! usage: kvio count NAME SCOPE TYPE [2]|! usage: kvio count NAME
 SCOPE TYPE [2]|! no option -Z; see kvio show --help [2]|! no argument for --format; see kvio show --help [2]|! no
 option --pager; see kvio show --help [2]|! FORMAT is text or json, not xml [2] [2] [2]|Usage: kvio count NAME SCOPE
 TYPE||Count the entities of a type||  -h, --help            describe the verb|kvio N.N.N|kvio N.N.N|kvio N.N.N
|kvio_open_config success. (~a, N)|Semaphore N is removed
$ # Files that are none, or too much; short memory is never told as a fault of the file. Nothing that gives orders to a
> # terminal gets there; what does not get to standard output is missed.
> echo '<kavex><a>' >broken; echo '<other/>' >other; touch closed; chmod 0 closed
> (echo '<!DOCTYPE kavex [<!ENTITY e "'; head -c 99999 /dev/zero | tr '\0' x; echo '">]><kavex><s><t name="x"><f>'
> yes '&e;' | head -600; echo '</f></t></s></kavex>') >bomb; all 'ls broken' 'ls other' 'ls closed' 'ls dir' 'ls a/b' \
> 'ls bomb'; for room in $(seq 30000 2000 60000); do (ulimit -v $room; kvio show a) 2>&1; done | grep -c formed
> echo '<kavex><s><t name="&#155;m&#127;"/><list name="&#127;" type="t"/></s></kavex>' >"$name"; kvio ls | head -1
> kvio show "$name" s | tail -2; kvio get "$name" s t "$name"; kvio lock status "$name"; echo '<kavex><s/></kavex>' >d
> kvio diff "$name" d; for call in 'show a' 'show -F json a' 'show -F xml a' 'dump a' 'backup a s' 'user types' \
> '--complete u'; do command kvio $call 2>&1 >/dev/full; echo $?; done | sort | uniq -c
! ~broken:2: not well-formed: Premature end of data in tag a line 1 [4]|! ~other: no configuration, its root element
 is not kavex [4]|! ~closed: Permission denied [6]|! ~dir: Is a directory [5]|! ~a/b: Not a directory [1]|! ~bomb: its
 entities expand to too much text [4]|0|\u001b[1mb\u0085\u009f\u007f\\\r|  t \u009bm\u007f|  list \u007f of t|! no t
 \u001b[1mb\u0085\u009f\u007f\\r in s [1]|\u001b[1mb\u0085\u009f\u007f\\\r: free|- s list of t \u007f|- s t
 \u009bm\u007f [1]|      7 5|      6 kvio: standard output: No space left on device
