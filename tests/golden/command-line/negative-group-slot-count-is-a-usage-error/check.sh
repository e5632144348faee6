test ! -e output.ldif
test ! -e trace.txt
