test -s TEMPORARY_INPUT_LDIF_FILE && test ! -e trace.txt
