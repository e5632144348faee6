awk 'BEGIN {
  print "dn: cn=big,o=example"; print "description: abcdef";
  for (i = 1; i <= 249996; i++) print "a: " i;
  print "";
}' >expected
cmp expected output.ldif
