awk 'BEGIN {
  print "dn: cn=big,o=example"; print "# comment"; print "description: abc"; print " def";
  for (i = 1; i <= 249996; i++) print "a: " i;
}' >input.ldif
