(cat before-big
awk 'BEGIN {
  print "dn: cn=big,o=example"; print "Xoq-EntryUuid: 3"; print "aci: x"; print "description: abc"; print " def";
  for (i = 1; i <= 249993; i++) print "a: " i;
}'
cat after-big) >expected
cmp expected output.ldif
