cat >keep/expected <<'END'
dn: cn=gold,cn=Groups,secAuthority=default
objectClass: secGroup
cn: gold
secDN: cn=gold,o=example

END
cmp keep/expected './out it'"'"'s "in".ldif' || exit 1
test ! -e 'it'"'"'s "in".ldif.tmp' || exit 1
# The two files and the folder keep, nothing else.
set -- * 
test $# = 3
