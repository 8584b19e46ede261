The configuration of all the transcripts here: every kind of element, an order of each kind, texts that need care.

$ cat >/etc/kavex/conf/a.xml <<'XML'
> <kavex version="7"><system><version>1.2</version><empty/></system><object note="n"><address>
> <host_t name="lan" reference="2" colour="red"><ip>10.0.0.1</ip><note>a &lt; b &amp; c	tab
> line</note><ip>twice</ip><none/></host_t>
> <host_t name="wan" reference="0"><ip>10.9.0.1</ip></host_t>
> <host_t name="dmz &quot;2&quot;" reference="1"/>
> <net_t name="lan"><ip>10.0.0.0</ip></net_t>
> <group name="inside" type="host_t" reference="1"><entity>lan</entity><entity>dmz "2"</entity></group>
> <group name="all" type="host_t" reference="0"><container>inside</container><entity>lan</entity></group>
> <list name="order" type="host_t"><entity>wan</entity><entity>lan</entity><entity>wan</entity></list>
> <table name="order" type="net_t"><entity>lan</entity></table>
> </address></object></kavex>
> XML

$ kvio ls  => a.xml
$ kvio ls a.xml
system
system/version
system/empty
object
object/address
$ kvio ls a.xml object  => address/
$ kvio ls a.xml object/address
host_t	lan
host_t	wan
host_t	dmz "2"
net_t	lan
group	host_t	inside
group	host_t	all
list	host_t	order
table	net_t	order
$ kvio ls a.xml object/address host_t
lan
wan
dmz "2"
$ kvio ls a.xml object/address ghost_t
$ kvio ls a.xml object/nowhere  => ! kvio: no scope object/nowhere in /etc/kavex/conf/a.xml [1]
$ kvio ls b.xml  => ! kvio: /etc/kavex/conf/b.xml: No such file or directory [1]

$ kvio show a.xml
system/
  version/ 1.2
  empty/
object/ [note=n]
  address/
    host_t lan [reference=2, colour=red]
      ip = 10.0.0.1
      note = a < b & c\ttab\nline
      ip = twice
      none = 
    host_t wan [reference=0]
      ip = 10.9.0.1
    host_t dmz "2" [reference=1]
    net_t lan
      ip = 10.0.0.0
    group inside of host_t [reference=1]
      lan
      dmz "2"
    group all of host_t [reference=0]
      inside (container)
      lan
    list order of host_t
      wan
      lan
      wan
    table order of net_t
      lan
$ kvio show a.xml system
system/
  version/ 1.2
  empty/
$ kvio show --format json a.xml
[
  {"scope": "system", "attributes": {}, "entities": [], "containers": [], "scopes": [
    {"scope": "system/version", "attributes": {}, "text": "1.2", "entities": [], "containers": [], "scopes": []},
    {"scope": "system/empty", "attributes": {}, "entities": [], "containers": [], "scopes": []}]},
  {"scope": "object", "attributes": {"note": "n"}, "entities": [], "containers": [], "scopes": [
    {"scope": "object/address", "attributes": {}, "entities": [
      {"type": "host_t", "name": "lan", "attributes": {"reference": "2", "colour": "red"}, "fields": {"ip": "10.0.0.1", "note": "a < b & c\u0009tab\u000aline", "none": ""}},
      {"type": "host_t", "name": "wan", "attributes": {"reference": "0"}, "fields": {"ip": "10.9.0.1"}},
      {"type": "host_t", "name": "dmz \"2\"", "attributes": {"reference": "1"}, "fields": {}},
      {"type": "net_t", "name": "lan", "attributes": {}, "fields": {"ip": "10.0.0.0"}}], "containers": [
      {"kind": "group", "type": "host_t", "name": "inside", "attributes": {"reference": "1"}, "members": [{"entity": "lan"}, {"entity": "dmz \"2\""}]},
      {"kind": "group", "type": "host_t", "name": "all", "attributes": {"reference": "0"}, "members": [{"container": "inside"}, {"entity": "lan"}]},
      {"kind": "list", "type": "host_t", "name": "order", "attributes": {}, "members": [{"entity": "wan"}, {"entity": "lan"}, {"entity": "wan"}]},
      {"kind": "table", "type": "net_t", "name": "order", "attributes": {}, "members": [{"entity": "lan"}]}], "scopes": []}]}
]
$ kvio show -F json a.xml object/address | python3 -m json.tool >/dev/null && echo valid  => valid
$ kvio show -Fxml a.xml system
<?xml version="1.0"?>
<kavex>
  <system>
    <version>1.2</version>
    <empty/>
  </system>
</kavex>
$ kvio show --format=yaml a.xml  => ! kvio: FORMAT is text, json or xml, not yaml [2]
$ kvio show a.xml //address  => ! kvio: no scope //address in /etc/kavex/conf/a.xml [1]
$ kvio show a.xml '*'  => ! kvio: there are 2 scopes * [4]
$ TERM=xterm script -qec 'kvio show a.xml object/address' /dev/null | tr -d '\r' | sed 's/\x1b/^/g' | head -4
^[1;34maddress/^[0m
├─ ^[32mhost_t^[0m ^[1mlan^[0m^[2m [reference=2, colour=red]^[0m
│  ├─ ip = 10.0.0.1
│  ├─ note = a < b & c\ttab\nline
$ NO_COLOR=1 TERM=xterm script -qec 'kvio show a.xml system' /dev/null | tr -d '\r'
system/
  version/ 1.2
  empty/

$ kvio get a.xml object/address host_t lan
ip	10.0.0.1
note	a < b & c\ttab\nline
ip	twice
none	
$ kvio get a.xml object/address host_t lan note
a < b & c	tab
line
$ kvio get a.xml object/address host_t lan none  => ~
$ kvio get a.xml object/address net_t lan ip  => 10.0.0.0
$ kvio get a.xml object/address host_t 'dmz "2"'
$ kvio get a.xml object/address host_t 'dmz "2"' ip  => ! kvio: field ip of host_t dmz "2": not found [1]
$ kvio get a.xml object/address host_t nobody ip  => ! kvio: no host_t nobody in object/address [1]
$ kvio get a.xml object/address host_t nobody  => ! kvio: no host_t nobody in object/address [1]
$ kvio get a.xml nowhere host_t lan ip  => ! kvio: no scope nowhere in /etc/kavex/conf/a.xml [1]
$ kvio get -q a.xml nowhere host_t lan ip  => [1]
$ kvio get --default 0.0.0.0 a.xml object/address host_t nobody ip  => 0.0.0.0
$ kvio get -d '' a.xml object/address host_t lan mask  => ~
$ kvio get -d x b.xml object/address host_t lan mask  => ! kvio: /etc/kavex/conf/b.xml: No such file or directory [1]
$ kvio -v set a.xml object/address net_t lan ip 10.0.0.0 2>&1 | sed 's/[0-9][0-9]* is/N is/'
kvio_open_config success. (/etc/kavex/conf/a.xml, 0)
Semaphore N is removed

$ kvio members a.xml object/address group host_t all
container	inside
entity	lan
$ kvio members --recursive a.xml object/address group host_t all
lan
dmz "2"
$ kvio members -r a.xml object/address list host_t order
wan
lan
$ kvio members a.xml object/address list net_t order  => ! kvio: no list order of net_t in object/address [1]
$ kvio members a.xml object/address set host_t order  => ! kvio: KIND is table, list or group, not set [2]
$ kvio members -r a.xml object/address list net_t order  => ! kvio: no list order of net_t in object/address [1]

$ kvio find a.xml '10.*'
object/address	host_t	lan	ip	10.0.0.1
object/address	host_t	wan	ip	10.9.0.1
object/address	net_t	lan	ip	10.0.0.0
$ kvio find a.xml lan object
object/address	host_t	lan
object/address	net_t	lan
object/address	group of host_t	inside	entity	lan
object/address	group of host_t	all	entity	lan
object/address	list of host_t	order	entity	lan
object/address	table of net_t	order	entity	lan
$ kvio find -t net_t a.xml '*lan*'
object/address	net_t	lan
object/address	table of net_t	order	entity	lan
$ kvio find --field ip --type host_t a.xml '*'
object/address	host_t	lan	ip	10.0.0.1
object/address	host_t	lan	ip	twice
object/address	host_t	wan	ip	10.9.0.1
$ kvio find a.xml nothing  => [1]
$ kvio count a.xml object/address host_t  => 3
$ kvio count a.xml object/address ghost_t  => 0
$ kvio count a.xml '*' host_t  => ! kvio: there are 2 scopes * [4]
$ kvio count a.xml object address; kvio count a.xml object/address '*'; kvio count a.xml . object
0
! kvio: type * is not an XML name
! kvio: no scope . in /etc/kavex/conf/a.xml [1]
$ kvio refs a.xml object/address host_t lan
group	host_t	inside
group	host_t	all
list	host_t	order
$ kvio refs --kind group a.xml object/address host_t inside  => group	host_t	all
$ kvio refs a.xml object/address host_t inside  => [1]
$ kvio refs a.xml object/address net_t lan  => table	net_t	order
$ kvio attr get a.xml object/address host_t lan colour  => red
$ kvio attr get -k group a.xml object/address host_t inside reference  => 1
$ kvio attr get a.xml object/address host_t wan colour  => ! kvio: no attribute colour of host_t wan [1]
$ kvio attr get --default none a.xml object/address host_t wan colour  => none
$ kvio get -d none a.xml object/address host_t nobody; kvio get -d none a.xml nowhere host_t lan; kvio attr get -d none a.xml nowhere host_t lan colour; kvio attr get -d none -k list a.xml object/address host_t all colour; kvio attr get -d none -k heap a.xml object/address host_t all colour
none
none
none
none
! kvio: KIND is table, list or group, not heap [2]

JSON; names that are nearly right; quiet.

$ for call in 'get a.xml object/address net_t lan' 'get a.xml object/address net_t lan ip' ls 'ls a.xml object' 'refs a.xml object/address net_t lan' 'members a.xml object/address group host_t all' 'find a.xml 10.0.0.0'; do kvio $call --format=json | tr -d '\n'; echo; done; kvio ls -F xml
[  {"field": "ip", "value": "10.0.0.0"}]
[  {"field": "ip", "value": "10.0.0.0"}]
[  {"name": "a.xml"}]
[  {"scope": "address"}]
[  {"kind": "table", "type": "net_t", "name": "order"}]
[  {"member": "container", "name": "inside"},  {"member": "entity", "name": "lan"}]
[  {"scope": "object/address", "type": "net_t", "name": "lan", "field": "ip", "value": "10.0.0.0"}]
! kvio: FORMAT is text or json, not xml [2]
$ kvio shwo; kvio gets; kvio ls a.xml objekt/address; kvio get a.xml object/address hots_t lan; kvio get a.xml object/address host_t lam; kvio members a.xml object/address group host_t insid
! kvio: no verb shwo; did you mean show?
! kvio: no verb gets; did you mean get?
! kvio: no scope objekt/address in /etc/kavex/conf/a.xml; did you mean object/address?
! kvio: no hots_t lan in object/address; did you mean host_t?
! kvio: no host_t lam in object/address; did you mean lan?
! kvio: no group insid of host_t in object/address; did you mean inside? [1]
$ kvio -q gets; kvio get -q a.xml; kvio set -q --frob; kvio find -q a.xml '10.*'; kvio find -q a.xml nothing; kvio refs -q a.xml object/address net_t lan && kvio -V | sed 's/[0-9.]*$/N/'
kvio N
$ TERM=xterm script -qec "kvio ls a.xml object/address; PAGER='cat -n' kvio ls --pager a.xml object/address host_t" /dev/null | tr -d '\r'
host_t  lan
host_t  wan
host_t  dmz "2"
net_t   lan
group   host_t  inside
group   host_t  all
list    host_t  order
table   net_t   order
     1	lan
     2	wan
     3	dmz "2"

Types are names, not expressions; names are what they are.

$ kvio count a.xml object/address 'host_t | net_t'; kvio get a.xml object/address 'host_t[1]' lan; kvio get a.xml object/address 'host_t[1]' lan ip; kvio get a.xml object/address host_t "lan'] | host_t[@name='wan"
! kvio: type host_t | net_t is not an XML name
! kvio: type host_t[1] is not an XML name
! kvio: type host_t[1] is not an XML name
! kvio: no host_t lan'] | host_t[@name='wan in object/address [1]
$ cat >/etc/kavex/conf/names.xml <<'XML'
> <!DOCTYPE kavex [<!ENTITY e "expanded">]>
> <kavex><s><t name="it's"><f>1</f></t><t name="&quot;it&quot;"><f>2</f></t><t name="&quot;it's&quot;"><f>3</f></t><t name="e"><f>&e;</f></t><t name="twice"><f>4</f></t><t name="twice"><f>5</f></t></s>
> <many/><many><t name="one"><f/></t></many><many><t name="one"><below><x>7</x></below><f><x/>8</f></t></many></kavex>
> XML
$ for name in "it's" '"it"' "\"it's\"" e twice; do kvio get names.xml s t "$name"; done
f	1
f	2
f	3
f	expanded
! kvio: t twice in s: the name is not unique [4]
$ kvio get names.xml 'many[3]' t one; kvio get names.xml 'many[3]' t one below; kvio get names.xml many t one; kvio get names.xml many t two; kvio get names.xml s t "'\""; kvio get -d none names.xml s t "'\""; rm /etc/kavex/conf/names.xml
below	7
f	
7
none
! kvio: there are 3 scopes many
! kvio: there are 3 scopes many
! kvio: no t '" in s
$ kvio ls a.xml ''; kvio count a.xml '' host_t; kvio lock; kvio attr frobnicate; kvio frobnicate; kvio lock --help | head -1; kvio help count | head -1; kvio help | head -1; kvio --version | sed 's/[0-9.]*$/N/'
Usage: kvio VERB [OPTION]... [ARGUMENT]...
Usage: kvio count NAME SCOPE TYPE
Usage: kvio VERB [OPTION]... [ARGUMENT]...
kvio N
! kvio: the scope is empty
! kvio: the scope is empty
! kvio: the verb is one of lock status, lock clear
! kvio: the verb is one of attr get, attr set, attr unset, attr increase, attr decrease
! kvio: no verb frobnicate; kvio --help lists them

Somebody else holds the file: whoever only looks does not mind.

$ python3 $TESTS/tool/hold.py a.xml; kvio get a.xml object/address host_t wan ip; kvio count a.xml object/address net_t; kvio set a.xml object/address host_t wan ip x; kvio lock clear -y a.xml
10.9.0.1
1
! kvio: /etc/kavex/conf/a.xml: another process holds it (see kvio lock status)

Usage.

$ kvio  => ! kvio: no verb; see kvio --help [2]
$ kvio get a.xml  => ! kvio: usage: kvio get [OPTION]... NAME SCOPE TYPE ENTITY [FIELD] [2]
$ kvio get a.xml 1 2 3 4 5  => ! kvio: usage: kvio get [OPTION]... NAME SCOPE TYPE ENTITY [FIELD] [2]
$ kvio attr  => ! kvio: the verb is one of attr get, attr set, attr unset, attr increase, attr decrease [2]
$ kvio show --frobnicate a.xml  => ! kvio: no option --frobnicate; see kvio show --help [2]
$ kvio show -Z a.xml  => ! kvio: no option -Z; see kvio show --help [2]
$ kvio show a.xml --format  => ! kvio: no argument for --format; see kvio show --help [2]
$ kvio ls -- -q  => ! kvio: /etc/kavex/conf/-q: No such file or directory [1]
$ kvio attr get --help
Usage: kvio attr get [--kind KIND] [--default VALUE] NAME SCOPE TYPE ENTITY
       ATTRIBUTE
~
Print an attribute of an entity or container
~
  -k, --kind KIND       ENTITY is a container: a table, list or group
  -d, --default VALUE   print this, with success, if there is no such value
  -h, --help            describe the verb
  -q, --quiet           print no messages and questions
  -v, --verbose         print the library's diagnostics too
~
Example: kvio attr get appliance.xml interface interface_t lan reference
$ kvio user types >/dev/full; kvio ls a.xml >/dev/full
! kvio: standard output: No space left on device
! kvio: standard output: No space left on device [5]

Files that are none.

$ echo '<kavex><a>' >/etc/kavex/conf/broken.xml; kvio ls broken.xml
! kvio: /etc/kavex/conf/broken.xml:2: not well-formed: Premature end of data in tag a line 1 [4]
$ touch /etc/kavex/conf/closed.xml; chmod 0 /etc/kavex/conf/closed.xml; kvio ls closed.xml  => ! kvio: /etc/kavex/conf/closed.xml: Permission denied [6]
$ kvio set closed.xml a b c d e  => ! kvio: /etc/kavex/conf/closed.xml: Permission denied [6]
$ kvio set broken.xml a b c d e  => ! kvio: /etc/kavex/conf/broken.xml:2: not well-formed: Premature end of data in tag a line 1 [4]
$ kvio set ghost.xml a b c d e  => ! kvio: /etc/kavex/conf/ghost.xml: No such file or directory [1]
$ kvio ls .  => ! kvio: /etc/kavex/conf/.: Is a directory [5]
$ echo '<other><s><t name="x"/></s></other>' >/etc/kavex/conf/other.xml; kvio ls other.xml; kvio get other.xml s t x f; kvio show other.xml s; kvio restore a.xml - s </etc/kavex/conf/other.xml
! kvio: /etc/kavex/conf/other.xml: no configuration, its root element is not kavex
! kvio: /etc/kavex/conf/other.xml: no configuration, its root element is not kavex
! kvio: /etc/kavex/conf/other.xml: no configuration, its root element is not kavex
! kvio: -: no configuration, its root element is not kavex [4]

What would give orders to a terminal does not get there.

$ name=$(printf '\033[1mbold\302\205\177\\'); echo '<kavex><s><t name="&#155;m&#127;"/></s></kavex>' >"/etc/kavex/conf/$name"; kvio ls | grep bold; kvio show "$name"; kvio get "$name" s t "$name"; kvio lock status "$name"; kvio ls "$name$name"; rm "/etc/kavex/conf/$name"
\u001b[1mbold\u0085\u007f\\
s/
  t \u009bm\u007f
\u001b[1mbold\u0085\u007f\\: free
! kvio: no t \u001b[1mbold\u0085\u007f\ in s
! kvio: /etc/kavex/conf/\u001b[1mbold\u0085\u007f\\u001b[1mbold\u0085\u007f\: No such file or directory
