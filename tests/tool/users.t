$ kvio user types
type	access	visibility	remote_admin	remote_access
admin	120	120	1	0
limited-admin	100	100	1	0
ext-user	80	80	1	1
ext-group-user	80	80	1	1
$ kvio user show alice; kvio user method alice; kvio user release alice; kvio user groups staff; kvio user groups staff alice
! kvio: alice has not logged in, or there is no authentication buffer
! kvio: alice has not logged in, or there is no authentication buffer
! kvio: alice has not logged in, or there is no authentication buffer
! kvio: /tmp/template_group.xml: No such file or directory
! kvio: /tmp/template_group.xml: No such file or directory [1]

The authentication modules are at work.

$ touch /lib/security/pam_unix.so /lib/security/pam_auth_admin.so
$ printf '%s\n' 'alice:x:500:500:Alice&admin&120&120&1440&480&1&0:/home/alice:/bin/sh' 'radius-users:x:501:501:R&ext-user&80&80&60&30&0&1:/:/bin/false' >/etc/passwd
$ printf '%s\n' 'host 127.0.0.1' 'port 9' 'base b' 'pam_login_attribute uid' 'binddn cn=reader' 'bindpw open-sesame' >/etc/http_ldap.conf
$ auth_module start; auth_module login alice local; auth_module login rob radius 4 720 240; auth_module login dora ldap; auth_module login eve local
$ kvio user show alice; kvio user show rob | head -3
name	alice
account	alice
type	admin
access	120
visibility	120
lease_time	1440
re_auth	480
remote_admin	1
remote_access	0
name	rob
account	radius-users
type	limited-admin
$ kvio user method alice; kvio user method rob; kvio user method dora; kvio user method mallory
local	1
radius	2
ldap	3
! kvio: mallory has not logged in, or there is no authentication buffer [1]
$ kvio user show mallory  => ! kvio: mallory has not logged in, or there is no authentication buffer [1]
$ kvio user show eve  => ! kvio: no profile of eve (the system log has the reason) [1]
$ KVLOG_STDERR=1 kvio -v user show dora 2>&1 | grep -c open-sesame  => 0 [1]
$ kvio user release rob; kvio user method rob  => ! kvio: rob has not logged in, or there is no authentication buffer [1]

Groups.

$ kvio user groups staff  => ! kvio: /tmp/template_group.xml: No such file or directory [1]
$ echo '<kavex><object><user_group><group_description_t name="staff"/><group_description_t name="loop"/><group name="staff" type="user_group_object_t"><entity>alice</entity><container>guests</container></group><group name="guests" type="user_group_object_t"><entity>dora</entity></group><group name="loop" type="user_group_object_t"><container>loop</container></group></user_group></object></kavex>' >/tmp/template_group.xml
$ kvio user groups staff
alice
dora
$ kvio user groups staff dora
$ kvio user groups staff eve  => [1]
$ kvio user groups ghosts  => ! kvio: no user group ghosts [1]
$ kvio user groups loop alice  => ! kvio: user group loop cannot be read: its nesting loops or it is missing [4]
$ auth_module stop
