cat >keep/expected <<'END'
dn: cn=gold,cn=Groups,secAuthority=default
objectClass: secGroup
cn: gold
secDN: cn=gold,o=example

END
cmp keep/expected './out my in put.ldif' || exit 1
test ! -e 'my in put.ldif.tmp' || exit 1
# The two files and the folder keep, nothing else.
set -- * 
test $# = 3
