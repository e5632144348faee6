cmp before input.ldif || exit 1
test ! -e trace.txt
