cmp 'it'"'"'s "in"; touch x $(touch x).ldif' TEMPORARY_INPUT_LDIF_FILE && test -s 'the trace; $(touch x)'
