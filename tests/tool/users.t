$ kvio user types; kvio user method al; kvio user groups staff al
> touch /lib/security/pam_unix.so /lib/security/pam_auth_admin.so  # now the authentication modules are at work
> echo 'al:x:500:500:A&admin&120&110&1440&480&1&0:/:/bin/sh
> radius-users:x:501:501:R&ext-user&80&80&60&30&0&1:/:/bin/false' >/etc/passwd
> echo 'host 127.0.0.1,port 9,base b,pam_login_attribute uid,binddn r,bindpw sesame' | tr , '\n' >/etc/http_ldap.conf
> auth_module start; auth_module login al local; auth_module login rob radius 4 720 240; auth_module login dora ldap
> auth_module login eve local; for user in al rob dora no; do kvio user method $user; done
> kvio user show rob; kvio user method -F json al; kvio user show eve; export KVLOG_STDERR=1
> kvio user show dora | grep -c sesame; kvio -v user show dora | grep -c sesame; kvio user release rob
> kvio user release rob; $EXAMPLES/make-configuration | sed 's|<entity>erin<|<container>office</container>&|' \
> >/tmp/template_group.xml; kvio user groups -Fjson staff; kvio user groups staff bob && echo yes
> for call in 'staff eve' no 'office bob'; do kvio user groups $call; done; auth_module stop
type	access	visibility	remote_admin	remote_access|admin	120	120	1	0|limited-admin	100	100	1	0|ext-user	80	80	1	1
|ext-group-user	80	80	1	1|! al has not logged in, or there is no authentication buffer [1]|! /tmp/template_group.xml:
 No such file or directory [1]|local	1|radius	2|ldap	3|! no has not logged in, or there is no authentication buffer
 [1]|name	rob|account	radius-users|type	limited-admin|access	100|visibility	100|lease_time	720|re_auth	240
|remote_admin	1|remote_access	0|[|  {"method": "local", "number": "1"}|]|! no profile of eve (the system log has the
 reason) [1]|0|0|! rob has not logged in, or there is no authentication buffer [1]|[|  {"user": "alice"},|  {"user":
 "bob"},|  {"user": "carol"},|  {"user": "dave"}|]|yes [1]|! no user group no [1]|! user group office cannot be read:
 its nesting loops or it is missing [4]
