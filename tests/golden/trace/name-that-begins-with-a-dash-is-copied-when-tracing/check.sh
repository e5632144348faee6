cmp ./-in.ldif TEMPORARY_INPUT_LDIF_FILE && test -s ./-in.ldif.tmp && test -s ./-trace && test -s ./-out.ldif
