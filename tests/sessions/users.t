# Sessions of the user functions, with ";;" between lines in one, and spaces where a line goes on. "/..." writes a file;
# "\n" is a line feed, "{n*31}" are 31 times "n". A call has its result behind " = ": the beginning of
# "RESULT NAME ACCOUNT type access visibility lease_time re_auth remote_admin remote_access|message|message", or the end
# where it begins with "...". There is no profile where none was written; in one, what was not shows as "-" and 7. A group
# shows as the number of its members and their names. "!semop:2" lets the second use of semop() fail.

# "profile USER METHOD" asks its source, and the local accounts where that fails; "answer USER TYPE LEASE_TIME RE_AUTH".
/tmp/domuser ;; /etc/http_ldap.conf host h\nport 389\nbase dc=x\npam_login_attribute uid\n
/tmp/entry type: admin\nleaseTime: 60\nreauthTime: 30\n
/tmp/answer type: admin\nleaseTime: 60\nreauthTime: 30\nsearch: 2\nresult: 0 Success\n
/bin/ldapsearch #!/bin/sh\ncat /tmp/answer
/etc/passwd radius-users:x&ext-user&1:x\nldap-users:x&ext-user&2:x\nu:x&ext-user&9:x\n{n*31}:x&user\n{n*32}:x&user\n
profile u 1 = 1 u u 1 9 80 10 180 1 1| ;; profile {n*31} 1 = 1 {n*31}
profile {n*32} 0 = 0|User:{n*32} has passed -1 authentication method. ;; profile u 2 = 1 u u 1 9 80 10 180 1 1|
answer u 3 5 6 = 0 u - 3 80 80 5 6 1 1 ;; profile u 2 = 1 u u 3 80 80 5 6 1 1|
profile u -7 = 1 u u 0 120 120 60 30 1 0|
/etc/passwd radius-users:x&ext-user&1:x\nldap-users:x&ext-user&2:x\nu:x&user&9:x\n
profile u 2 = 1 u radius-users 3 80 80 5 6 1 1| ;; /bin/ldapsearch #!/bin/sh\necho result: 32
profile u 0 = 1 u ldap-users 1 2 80 10 180 1 1|
/etc/passwd radius-users:x&ext-user:&1:x\nradius-users:x&ext-user&1&2&3&4:x\n ;; profile u 0 = 0|
profile w 2 = 1 w radius-users 1 1 2 3 4 1 1|User:w has passed 2 authentication method.|[get_info_from_radius]
profile w 2 = ...has been found in local database.|User:w, type=user, lease time=3, reauth time=4.
answer t 0 1 -2 = 0 t - 0 120 120 1 -2 1 0
answer t 5 0 60 = -1 t - 2 50 50 0 60 0 1|[get_info_from_radius]Cannot retrieve lease time/reauth time for RADIUS
answer t 0 60 0 = -1 t - 0 120 120 60 0 1 0|
answer t -1 1 2 = -1|[get_info_from_radius]RADIUS user:t does not have attributes.
answer {n*31} 4 11 12 = 0 {n*31} - 4 100 100 11 12 1 0
answer {n*32} 0 1 1 = -1|[get_info_from_radius]User name is too long:{n*32}.
answer {o*96} 111 1 1 = -1|[get_info_from_radius]User:{o*96} does not found in RADIUS database.
# "local USER TYPE"; -1 is any type. An absent field leaves the default, one without digits is 0, separators can repeat.
/etc/passwd al:&limited-admin&1&2&3&4&5&6:x\na:x&user&10& 9x&:rest\na:x&guest&-5&x&+7\n::a::x&admin&&130:x\n
    a:x&admin\n{x*254}end:x&admin&5:x\n&a:x&&&admin&&&1&&2&3&4&5&:/6:x\n
local al -1 = 0 al - 4 1 2 3 4 5 6| ;; local a 1 = 0 a - 1 10 9 0 180 1 1| ;; local a 2 = 0 a - 2 -5 0 7 180 0 1|
local a 0 = 0 a - 0 130 120 10 180 1 0| ;; local end 0 = 0 end - 0 5 120 10 180 1 0|
local &a 0 = 0 &a - 0 1 2 3 4 5 0|
# The first line with the wanted word, of which otherwise the beginning decides. Domain users have fixed numbers.
/tmp/domuser b:x&user&2:x\nb:x&admin&3&4&5&6&7&8:x\n
/etc/passwd a:x&administrator&1:x\na:x\na:x&admin&3:x\nbob:x:Bob&user:/h:/sh\n{n*32}:x\n
local a -1 = 0 a - 0 1 120 10 180 1 0| ;; local a 0 = 0 a - 0 3 120 10 180 1 0|
local bob -1 = 0 bob - 1 80 80 10 180 1 1| ;; local bob 1 = -1| ;; local b 0 = 0 b - 1 80 80 10 180 1 1|
local b 2 = -1| ;; local {n*32} -1 = -1|
# Refused steps are logged, and the lock is given back.
answer r 0 1 1 = 0 r ;; release r 2 !ftok:1 = -1|[release_auth_list]Get lock id has failed:Permission denied.
release r 2 !semop:1 = -1|[release_auth_list]Lock buffer has failed:Permission denied.
release r 2 !ftok:2 = -1|[release_auth_list]Get shared buffer has failed. User:r.
release r 2 !shmat:1 = -1|[release_auth_list]Attach shared buffer has failed. User:r.
release r 2 !shmget:2 = 0|[release_radius_db]Get shared buffer has failed. User:r.
release r 2 !semop:2 = -1|[release_auth_list]Unlock buffer has failed:Permission denied.
release r 2 = 0|[release_radius_db]User:r does not found in RADIUS database.
profile r 2 !shmget:1 = 0|[get_auth_module]Get shared buffer has failed. User:r.
group g: !semop:1 = 0|[retrieve_user_group]Lock buffer has failed:Permission denied. ;; group g: !semop:2 = 1
verify r !semget:1 = -1|[verify_user_group]Get lock id has failed.
verify r !semop:2 = -1|[verify_user_group]Unlock buffer has failed:Permission denied.
# "conf SETTINGS", and at the end what the tool was called with: 511 bytes at most, without what begins no argument.
/bin/ldapsearch #!/bin/sh\nprintf '<%s>' "$0" "$@" >&2\ncat /tmp/answer
conf host h\nport 1\nbase b\nuid = 0 a - 0 120 120 60 30 1 0|ldap info: h 1 b u   0 10\n|ldap cmd: /bin/ldapsearch -z 1
    -H ldap://h:1 -x -b "b" "(u=a)"\n|[do_ldapsearch]LDAP server h. Found user record.</bin/ldapsearch><-z><1>
conf ssl yes\nhost h\nport 1\nbase b\nuid\ntimelimit 3\nbinddn cn=a, b\nbindpw p w\n =
    ...</bin/ldapsearch><-z><1><-H><ldaps://h:1><-x><-b><b><-D><cn=a, b><-w><p w><(u=a)>
conf host h\nport 1  $=2\nbase a\"b\"\nuid\nbinddn \"\nssl yes\nssl no\n#{ *600}host y\nhost =
    ...<1><-H><ldap://h:1><2><-x><-b><a"b"><-D><"><-w><><(u=a)>
conf host h\nport 389\nbase {b*200}\nuid\nbinddn {d*126}\nbindpw {p*120} = ...p><(u=a)>
conf host h\nport 389\nbase {b*200}\nuid\nbinddn {d*126}\nbindpw {p*121} = ...|[do_ldapsearch]LDAP command line is too
    long. User:a.
conf port 389\nbase b\nuid = -1|Get LDAP server information has failed.
conf host { *127}\n = -1|LDAP setting host is too long.|Get LDAP server information has failed.
ldap {n*32} = -1|[get_info_from_ldap]User name is too long:{n*32}.
# Of an output the first of each marker counts, also in longer names, and one at the very end.
parse result: 4 type: limited-admin x leaseTime: -1x reauthTime: z = 1 a - 4 100 100 -1 0 1 0
parse type:admin mytype: x leaseTime: 1 leaseTime: 8 reauthTime: 2 result: 0 result: 32 = 1 a - 2 50 50 1 2 0 1
parse result: 0 leaseTime: 5 reauthTime: 6 type: = 1 a - 2 50 50 5 6 0 1
parse type: user = 0|LDAP search result does not found.
parse type: user result: 32 = 0|LDAP search result does not be zero:32.
parse result: 0 = 0 a - 7 7 7 7 7 7 7|Cannot find type in LDAP search result.
parse result: 0 type: user = 0 a - 1 80 80 7 7 1 1|Cannot find leaseTime in LDAP search result.
parse result: 0 type: user leaseTime: 5 = 0 a - 1 80 80 5 7 1 1|Cannot find reauthTime in LDAP search result.
# "tool COMMANDS" returns whatever the tool does; one that dawdles waits for ever, and "slow" does not wait so long.
conf host h\nport 1\nbase b\nuid = 0 ;; tool cat /tmp/entry; sleep .1; echo 'result: 0' = ...Found user record.
tool cat /tmp/answer; kill -9 $$ = ...Found user record.
tool printf '{#*1025}'; cat /tmp/answer = ...User:a does not exist.
tool exec >&-; dawdle = ...Read return: 0(Success).
ldap a !pipe2:1 = ...|[do_ldapsearch]Cannot create pipe for ldapsearch:Permission denied.
ldap a !fork:1 = ...|[do_ldapsearch]Cannot fork for ldapsearch:Permission denied.
ldap a !read:1 = ...|[do_ldapsearch]LDAP server h. Read return: -1(Permission denied).
slow cat /tmp/entry; dawdle; echo 'result: 0' = ...User:a does not exist.
slow trap '' TERM; cat /tmp/answer; exec >&-; dawdle = ...Found user record.
slow exec cat /dev/zero = ...User:a does not exist.
conf host h\nport 1\nbase b\nuid\ntimelimit -1 = ...Select error:Invalid argument.
/etc/http_ldap.conf host h\nport 1\nbase b\npam_login_attribute u\ntimelimit 1 ;; slow dawdle = ...Timeout 1 secs.
/bin/ldapsearch #!/bin/sh\nexit ;; conf host b c\nport 1\nbase b\nuid = ...server c. Read return: 0(Success).
tool case $* in *//c:*) cat /tmp/answer; esac = ...server c. Found user record. ;; /bin/ldapsearch #!/none
ldap a = ...Cannot execute command:/bin/ldapsearch -z 1 -H ldap://c:1 -x -b "b" "(u=a)" (No such file or directory).
# In a directory each user is found, and nobody else.
server a*b user 1;axb admin 2;x(y)\z"r_s user 3;twin limited-admin 8;twin limited-admin 9;
ldap dora = 0 dora - 1 80 80 720 240 1 1| ;; ldap twin = 0 twin - 4 100 100 8 1 1 0|
ldap a*b = 0 a*b - 1 80 80 1 1 1 1| ;; ldap x(y)\z"r_s = 0 x(y)\z"r_s - 1 80 80 3 1 1 1| ;; ldap d* = -1
ldap dora)(uid=* = -1 ;; ldap a" -H ldap://6.6.6.6 " = -1 ;; ldap ann = -1
bind a secret = 0 ann - 0 120 120 60 30 1 0|
# "group g: MEMBERS", "+" being a nested group and "%" u; "expand CAPACITY" of the first, which begins with so many
group g: c a +h b +i h: d i: e d = 1 6 c a d b e d ;; check g d = 1 ;; check h c = 0
check x d = -1|[retrieve_user_group]Open group has failed. ;; verify described = 1 ;; verify g = 0
group g: {n*31} {n*32} +{g*127} {g*127}: c = 1 2 {n*31} c|[retrieve_user_group]User name is too long:{n*32}.
group g: a +{g*128} {g*128}: c = 1 1 a|[retrieve_user_group]Group name is too long:{g*128}.
group g:{%*1023} +h h: z {n*32} = 1 1024 u
group g:{%*1023} +h h: y z = 0|[retrieve_user_group]Group:g has more than 1024 members.
expand 0 = 1 1024 u u u u u u u u u|[get_member]Group:g has more than 1024 members.
expand -5 = 1 -5|[get_member]Group:g has more than 1024 members.
group g: +h +i h: +j i: +j j: a = 0|[retrieve_user_group]Retrieve group's entities has failed. ;; expand 0 = 1 2 a a
group g:<entity/> a +h +absent c h: b +g +h = 0|[retrieve_user_group]Retrieve group's entities has failed.
expand 0 = 1 3 a b c
# Settings for new users: from the first missing one on everything is empty.
settings type=user access=1234567 visibility=x lease_time=123456789012 re_auth=-1234567890123 remote_admin=9x
    remote_access=12 = 0 a - 1 12345 0 2147483647 -1234567890 9 1
settings type=limited-admin-of-all access=1 visibility=2 re_auth=4 remote_admin=1 remote_access=0 = 0 a - 2 1 2 0 0 0 0
# "trusted": owners of a file and of the link to it, the caller, the mode. What others may have written is not read.
group g: d = 1 1 d ;; /etc/passwd ;; /tmp/domuser d:x&user&1 ;; trusted 0 0 5 0664 = 0 d ;; trusted 0 0 0 0646 = -3
trusted 5 5 0 0600 = -3 ;; trusted 5 5 5 0600 = 0 d ;; trusted 0 5 0 0600 = -3 ;; trusted 5 0 0 0600 = -3
