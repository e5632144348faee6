awk 'BEGIN {
  print "dn: cn=big,o=example"; for (i = 1; i <= 249999; i++) print "a: " i;
  print ""; print "dn: secAuthority=Default,cn=anna,o=example"; print "objectClass: secUser"; print "secAuthority: Default";
}' >input.ldif
