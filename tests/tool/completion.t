$ mkdir /tmp/typed; cd /tmp/typed; touch 'some file'; odd='odd names'
$ echo '<kavex><odd>' >/etc/kavex/conf/broken; cat >/etc/kavex/conf/"$odd" <<'XML'
> <kavex><odd><item name="fe80::1"><port/><peer/></item><item name="fe80::2" at="1"/><item name="http/tcp"/>
> <item name="it's"/><item name='say "$HOME"'/><item name="n&#9;t"/><other name="hub"><pears/></other>
> <group name="all: of them" type="item"><entity>http/tcp</entity><entity>gone</entity></group>
> <list name="late" type="item"/><in/></odd></kavex>
> XML
$ offer() { kvio --complete "$@" | paste -sd ' '; }; offer re; offer attr ''; offer attr no ''; offer u; offer get ''
> offer get "$odd" odd; offer get no ''; offer copy broken n; offer ls "$odd" odd ''; offer get "$odd" odd item ''
> offer members -r "$odd" odd ''; offer find --type=i; offer show --; offer members "$odd" odd list item ''
> offer rename-container "$odd" odd group item ''; offer show broken -- --
refs remove rename rename-container rename-entity rename-member restore|decrease get increase set unset||undefine
 unset user|broken odd names|odd odd/in|||item other|fe80::1 fe80::2 http/tcp it's say "$HOME"|group list table|
|--format --help --pager --quiet --verbose|late|all: of them|
$ offer rename-entity "$odd" odd item h; offer attr set --kind group "$odd" odd item a; offer attr set --kind ''
> offer --; offer attr get "$odd" odd item fe80::2 ''; offer join "$odd" odd group item x y h
> offer set "$odd" odd item fe80::1 a 1 b 2 p; offer leave "$odd" odd group item 'all: of them' ''
> offer dump broken ''; offer get "$odd" odd item fe80::1 ''
http/tcp|all: of them|group list table|--help --quiet --verbose|at name|http/tcp|peer port|gone http/tcp||peer port

Typed into bash. TAB is hit at the first bar; the whole line comes of it. Nothing of a line is run.
$ cat >/tmp/lines <<'LINES'; cat >/tmp/rc <<'RC'
> kvio get bro|ken odd|
> kvio get od|d\ names |
> kvio get odd\ na|mes |
> kvio get "odd na||
> kvio get odd\ names odd item fe|80::|
> kvio get odd\ names odd item fe80::1 pe|er |
> kvio get odd\ names odd item i|t\'s |
> kvio get odd\ names odd item s|ay\ \"\$HOME\" |
> kvio leave odd\ names odd group item all:\ of\ them g|one |
> kvio show --format=j|son |
> kvio dump broken so|me\ file |
> kvio find broken so||
> kvio define odd\ names odd item new po|rt |
> kvio get `touch run` ||
> LINES
> source $TESTS/../tools/kvio.bash; bind 'set enable-bracketed-paste off'
> show() { echo "$READLINE_LINE|" >>/tmp/seen; READLINE_LINE= READLINE_POINT=0; }; bind -x '"\C-x\C-p": show'
> RC
$ (sed '1s/.*/kvio get bro odd\x02\x02\x02\x02|/; s/|.*/\t\x18\x10/' /tmp/lines | tr -d '\n'
> echo exit) | TERM=dumb INPUTRC=/dev/null script -qc 'bash --noprofile --rcfile /tmp/rc -i' /tmp/log >/dev/null
> sed 's/|//' /tmp/lines | diff - /tmp/seen; ls; grep -a -c 'kvio: ' /tmp/log
some file|0
