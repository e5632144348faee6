cat >expected <<'END'
dn: cn=gold,cn=Groups,secAuthority=default
objectClass: secGroup
cn: gold
secDN: cn=gold,o=example

END
cmp expected out/b.ldif && test -s out/trace && test -e in/a.ldif.tmp && test -s TEMPORARY_INPUT_LDIF_FILE
