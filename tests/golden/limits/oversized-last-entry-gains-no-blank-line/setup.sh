cat >before-big <<'END'
dn: ou=before,o=example
ou: before

END
: >after-big
(cat before-big
awk 'BEGIN {
  print "# first"; print "dn: cn=big,o=example"; print "# comment"; print "xoq-entryuuid: 1"; print "XOQ-ENTRYUUID: 2"; print "Xoq-EntryUuid: 3";
  print "aci: x"; print "description: abc"; print " def";
  for (i = 1; i <= 249993; i++) print "a: " i;
}'
cat after-big) >input.ldif
