mkdir input.ldif.tmp
