cat >keep/expected <<'END'
dn: cn=gold,cn=Groups,secAuthority=default
objectClass: secGroup
cn: gold
secDN: cn=gold,o=example

END
cmp keep/expected './out in & touch x *.ldif' || exit 1
test ! -e 'in & touch x *.ldif.tmp' || exit 1
# The two files and the folder keep, nothing else.
set -- * 
test $# = 3
