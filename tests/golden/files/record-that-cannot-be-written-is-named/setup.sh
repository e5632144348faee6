awk 'BEGIN {
  for (i = 1; i <= 4000; i++) value = value "x";
  print "dn: secAuthority=Default,cn=gold,o=example"; print "objectClass: secGroup"; print "cn: gold";
  for (i = 1; i <= 45; i++) printf "a%02d: %s\n", i, value;
  print ""; print "dn: cn=map-gold,cn=Groups,secAuthority=Default"; print "objectClass: secMap"; print "secDN: cn=gold,o=example";
  for (i = 1; i <= 45; i++) printf "b%02d: %s\n", i, value;
}' >input.ldif
