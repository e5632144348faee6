test ! -e output.ldif
