awk 'BEGIN { print "dn: cn=a"; print "objectClass: secMap"; for (i = 1; i < 250000; i++) print "a: " i; }' >input.ldif.tmp
