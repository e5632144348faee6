test ! -e /dev/null.tmp
