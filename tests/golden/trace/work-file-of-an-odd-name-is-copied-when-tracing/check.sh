cat >keep/expected <<'END'
dn: secAuthority=Default,cn=gold,o=example
objectClass: secGroup
cn: gold

dn: cn=map-gold,cn=Groups,secAuthority=Default
objectClass: secMap
secDN: cn=gold,o=example

END
cmp keep/expected TEMPORARY_INPUT_LDIF_FILE || exit 1
test -e 'it'"'"'s "in"; touch x $(touch x).ldif.tmp' || exit 1
test -s 'the trace; $(touch x)' || exit 1
set -- *
test $# = 6
