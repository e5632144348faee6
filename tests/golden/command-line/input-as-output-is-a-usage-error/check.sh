cmp before input.ldif || exit 1
