test ! -e nosuch.ldif.tmp
