mkdir keep
cat >'in; touch x;.ldif' <<'END'
dn: secAuthority=Default,cn=gold,o=example
objectClass: secGroup
cn: gold

dn: cn=map-gold,cn=Groups,secAuthority=Default
objectClass: secMap
secDN: cn=gold,o=example

END
