$ $EXAMPLES/make-configuration >/etc/kavex/conf/a.xml; touch /etc/kavex/conf/'with blank.xml'
$ complete() { kvio --complete "$@" | tr '\n' ' '; echo; }; complete re; complete attr ''; complete lock s; complete attr nothing ''; complete u
refs remove rename rename-container rename-entity rename-member restore 
decrease get increase set unset 
status 
~
undefine unset user 
$ complete() { kvio --complete "$@" | tr '\n' ' '; echo; }; complete get ''; complete get a.xml object/; complete get a.xml object/address ''; complete get a.xml object/address address_object_t floor-; complete get a.xml interface interface_t lan m
a.xml with blank.xml 
object/address object/service object/user_group 
address_object_t 
floor-10 floor-11 floor-12 floor-13 floor-14 floor-15 
mode mtu 
$ complete() { kvio --complete "$@" | tr '\n' ' '; echo; }; complete members -r a.xml object/service ''; complete members a.xml object/service gr; complete members a.xml object/service group ''; complete members a.xml object/service list service_object_t ''; complete join a.xml object/address group address_object_t servers mail; complete join a.xml object/address group address_object_t servers x y prin
group list table 
group 
service_object_t 
recently-used 
mail-server 
printer 
$ complete() { kvio --complete "$@" | tr '\n' ' '; echo; }; complete attr set --kind group a.xml object/address ''; complete attr set --kind group a.xml object/address address_object_t s; complete attr set --kind ''; complete show --format ''; complete show --; complete show a.xml -- --; complete attr get a.xml interface interface_t lan ''
address_object_t 
servers 
group list table 
json text xml 
--format --help --pager --quiet --verbose 
~
name reference 
$ complete() { kvio --complete "$@" | tr '\n' ' '; echo; }; complete get ghost.xml ''; complete get a.xml ghost ''; complete copy a.xml new; complete set a.xml interface interface_t lan mtu 1 a; complete lock status a.xml w; complete user show a
~
~
~
address 
with blank.xml 
~
$ kvio --complete dump a.xml ''  => ~

Typed into bash.

$ python3 $TESTS/tool/typed.py
