cmp before input.ldif
