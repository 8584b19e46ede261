$ cd /etc/kavex/conf; mkdir dir; touch .kavex-redo-1; cat >b <<'XML'
> <kavex a="0"><s n="&#9;\&quot;"><t name="x" a="1&#10;"><f>a "b" \	c
> d</f><f>2</f><g><below>x</below></g></t><list name="l" type="t" b="2"><entity>x</entity></list><u>text</u></s></kavex>
> XML
$ kvio show b; kvio show --format json b | fold -w 118; kvio show -Fxml b s/u
> on() { TERM=$1 script -qec "$2" /dev/null | tr -d '\r' | sed 's/\x1b/^/g'; }; on xterm 'kvio show b'
> NO_COLOR=1 on xterm 'kvio show b s/u'; on dumb 'kvio show b s/u'
s/ [n=\t\\"]|  t x [a=1\n]|    f = a "b" \\\tc\nd|    f = 2|    g = x|  list l of t [b=2]|    x|  u/ text|[|
  {"scope": "s", "attributes": {"n": "\t\\\""}, "entities": [|    {"type": "t", "name": "x", "attributes": {"a":
 "1\n"}, "fields": {"f": "a \"b\" \\\tc\nd", "g": "x"}}], "container|s": [|    {"kind": "list", "type": "t", "name":
 "l", "attributes": {"b": "2"}, "members": [{"entity": "x"}]}], "scopes": [|    {"scope": "s/u", "attributes": {},
 "text": "text", "entities": [], "containers": [], "scopes": []}]}|]|<?xml version="1.0"?>|<kavex>|  <s
 n="&#9;\&quot;">|    <u>text</u>|  </s>|</kavex>|^[1;34ms/^[0m^[2m [n=\t\\"]^[0m|├─ ^[32mt^[0m ^[1mx^[0m^[2m
 [a=1\n]^[0m|│  ├─ f = a "b" \\\tc\nd|│  ├─ f = 2|│  └─ g = x|├─ ^[1;35mlist l^[0m of t^[2m [b=2]^[0m|│  └─ x|└─
 ^[1;34mu/^[0m text|u/ text|u/ text

Every kind of element; names that need care, one of them to be kept from terminals.
$ name=$(printf '\033[1mb\302\205\302\237\177\\\r'); cat >a <<'XML'
> <kavex version="7"><system><version>1.2</version></system><o note="n"><a>
> <host name="lan" colour="red"><ip>10.0.0.1</ip><ip>twice</ip><none/></host><host name="wän"><ip>10.9.0.1</ip></host>
> <host name="&quot;2's&quot;"/><net name="lan"/><net name="two"><ip>1</ip></net><net name="two"/>
> <group name="in" type="host" reference="1"><entity>lan</entity><entity>"2's"</entity></group>
> <group name="all" type="host"><container>in</container><entity>lan</entity></group>
> <list name="order" type="host"><entity>wän</entity><entity>lan</entity><entity>wän</entity></list>
> <table name="o&#127;&#155;" type="net"><entity>lan</entity></table><table type="net"/></a></o><many/><many/></kavex>
> XML
$ kvio ls; kvio ls a; kvio ls a o; kvio ls a o/a host; kvio ls a o/a group; kvio ls a o/a; on dumb 'kvio ls a o/a
> PAGER="cat -n" kvio ls --pager a o/a net; kvio find a "1*"' | sed '1d;4,6d;8d;11d;12d'; kvio get a o/a host lan
> kvio get a o/a host lan none; kvio get b s t x f; kvio get a o/a host "\"2's\""; kvio get a o/a host "\"2's\"" ip
> kvio get a o/a host "lan'] | host[@name='wän"; kvio get a o/a 'host[1]' lan
a|b|system|system/version|o|o/a|many|many|a/|lan|wän|"2's"|host	lan|host	wän|host	"2's"|net	lan|net	two|net	two
|group	host	in|group	host	all|list	host	order|table	net	o\u007f\u009b|table	net	|host   wän|host   "2's"|group  host
  in|list   host  order|table  net   o\u007f\u009b|     2	two|     3	two|o/a  host  lan  ip  10.0.0.1|o/a  host  wän
  ip  10.9.0.1|o/a  net   two  ip  1|ip	10.0.0.1|ip	twice|none	||a "b" \	c|d|kvio: field ip of host "2's": not found
 [1]|kvio: no host lan'] | host[@name='wän in o/a [1]|kvio: type host[1] is not an XML name [2]
$ for call in 'a o/a host no ip' 'a o/a host lan no' 'a no host lan' 'ghost s t e' 'a o/a net two'
> do kvio get --default D $call; done
> for call in 'a o/a host lan colour' '-k group a o/a host in reference' '-d D a no host lan x' 'a o/a host lan x'
> do kvio attr get $call; done; for kind in list heap; do kvio attr get -dD -k $kind a o/a host in x; done
D|D|D|kvio: /etc/kavex/conf/ghost: No such file or directory [1]|kvio: net two in o/a: the name is not unique [4]|red
|1|D|kvio: no attribute x of host lan [1]|D|kvio: KIND is table, list or group, not heap [2]
$ for call in 'group host all' '-r group host all' '-r list host order'; do kvio members a o/a $call; done
> kvio find a '1*'; kvio find --type net a '*lan*'; kvio find -e ip -t host a '*'; kvio find -e entity a lan
> kvio find a lan o; kvio find -q a '1*'; kvio find -q a none; kvio refs -q a o/a net lan; kvio count a o/a host
> kvio count a o/a group; kvio refs -k group a o/a host in; kvio refs a o/a host in
container	in|entity	lan|lan|"2's"|wän|lan|o/a	host	lan	ip	10.0.0.1|o/a	host	wän	ip	10.9.0.1|o/a	net	two	ip	1
|o/a	net	lan|o/a	table of net	o\u007f\u009b	entity	lan|o/a	host	lan	ip	10.0.0.1|o/a	host	lan	ip	twice
|o/a	host	wän	ip	10.9.0.1 [1]|o/a	host	lan|o/a	net	lan|o/a	group of host	in	entity	lan|o/a	group of
 host	all	entity	lan|o/a	list of host	order	entity	lan|o/a	table of net	o\u007f\u009b	entity	lan [1]|3|0
|group	host	all [1]
$ for call in 'get a o/a host lan none' 'get a o/a host wän' 'ls a o' 'ls a o/a list' 'refs a o/a net lan'
> do kvio $call --format=json; done; kvio find -Fjson a 1; kvio members -Fjson a o/a group host all
> kvio find -Fjson a nothing
[|  {"field": "none", "value": ""}|]|[|  {"field": "ip", "value": "10.9.0.1"}|]|[|  {"scope": "a"}|]|[|]|[|  {"kind":
 "table", "type": "net", "name": "o\u007f\u009b"}|]|[|  {"scope": "o/a", "type": "net", "name": "two", "field": "ip",
 "value": "1"}|]|[|  {"member": "container", "name": "in"},|  {"member": "entity", "name": "lan"}|]|[|] [1]

What is not there, or nearly so; usage. Of several mistakes the first one is told.
$ for scope in many '//a' '' 'o/a/net[1]'; do kvio count a "$scope" host; done; kvio get a o/a hots lan
> kvio members a o/a group host inn; kvio shwo; kvio gets; kvio u; kvio attr; kvio; kvio get a 1 2
> kvio get a 1 2 3 4 5; kvio show -Z --frob a; kvio show a --format; kvio show --pager=x a; kvio ls -- -q
> kvio ls -F xml
kvio: there are 2 scopes many [4]|kvio: no scope //a in /etc/kavex/conf/a; did you mean o/a? [1]|kvio: the scope is
 empty [2]|kvio: o/a/net[1] is an entity or container, no scope [1]|kvio: no hots lan in o/a; did you mean host? [1]
|kvio: no group inn of host in o/a; did you mean in? [1]|kvio: no verb shwo; did you mean show? [2]|kvio: no verb
 gets; did you mean get? [2]|kvio: no verb u; kvio --help lists them [2]|kvio: the verb is one of attr get, attr set,
 attr unset, attr increase, attr decrease [2]|kvio: no verb; see kvio --help [2]|kvio: usage: kvio get [OPTION]...
 NAME SCOPE TYPE ENTITY [FIELD] [2]|kvio: usage: kvio get [OPTION]... NAME SCOPE TYPE ENTITY [FIELD] [2]|kvio: no
 option -Z; see kvio show --help [2]|kvio: no argument for --format; see kvio show --help [2]|kvio: no option --pager;
 see kvio show --help [2]|kvio: /etc/kavex/conf/-q: No such file or directory [1]|kvio: FORMAT is text or json, not
 xml [2]
$ kvio -q gets; kvio get -q a; kvio set -q --frob; command kvio get a o/a net two ip 2>/dev/null; kvio help count
> (kvio -h; for verb in $(kvio --complete ''); do kvio $verb -h; done) | grep -v Example | grep '.\{80\}'
> for way in -V --version version; do kvio $way; done | tr -s 0-9 N; kvio -v set b s t x f 1 | tr -s 0-9 N
[2] [2] [2]|Usage: kvio count NAME SCOPE TYPE||Count the entities of a type||  -h, --help            describe the verb
|  -q, --quiet           print no messages and questions|  -v, --verbose         print the library's diagnostics too|
|Example: kvio count appliance.xml object/address address_object_t|kvio N.N.N|kvio N.N.N|kvio N.N.N|kvio_open_config
 success. (/etc/kavex/conf/b, N)|Semaphore N is removed

Files that are none, or too much; short memory is never told as a fault of the file.
$ echo '<kavex><a>' >broken; echo '<other/>' >other; touch closed; chmod 0 closed
> (echo '<!DOCTYPE kavex [<!ENTITY e "'; head -c 99999 /dev/zero | tr '\0' x; echo '">]><kavex><s><t name="x"><f>'
> yes '&e;' | head -600; echo '</f></t></s></kavex>') >bomb; for file in broken other closed ghost dir a/b bomb
> do kvio ls $file; done; for room in $(seq 30000 2000 60000); do (ulimit -v $room; kvio show a) 2>&1
> done | grep -c formed
kvio: /etc/kavex/conf/broken:2: not well-formed: Premature end of data in tag a line 1 [4]|kvio:
 /etc/kavex/conf/other: no configuration, its root element is not kavex [4]|kvio: /etc/kavex/conf/closed: Permission
 denied [6]|kvio: /etc/kavex/conf/ghost: No such file or directory [1]|kvio: /etc/kavex/conf/dir: Is a directory [5]
|kvio: /etc/kavex/conf/a/b: Not a directory [1]|kvio: /etc/kavex/conf/bomb: its entities expand to too much text [4]|0

Nothing that gives orders to a terminal gets there; what does not get to standard output is missed.
$ echo '<kavex><s><t name="&#155;m&#127;"/><list name="&#127;" type="t"/></s></kavex>' >"$name"; kvio ls | head -1
> kvio show "$name" s | tail -2; kvio get "$name" s t "$name"; kvio lock status "$name"; echo '<kavex><s/></kavex>' >d
> kvio diff "$name" d
> for call in 'show b' 'show -F json b' 'show -F xml b' 'dump b' 'backup b s' 'user types' '--complete u'
> do command kvio $call 2>&1 >/dev/full; echo $?; done | sort | uniq -c
\u001b[1mb\u0085\u009f\u007f\\\r|  t \u009bm\u007f|  list \u007f of t|kvio: no t \u001b[1mb\u0085\u009f\u007f\\r in s
 [1]|\u001b[1mb\u0085\u009f\u007f\\\r: free|- s list of t \u007f|- s t \u009bm\u007f [1]|      7 5|      6 kvio:
 standard output: No space left on device
