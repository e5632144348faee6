test ! -e in.ldif.tmp
