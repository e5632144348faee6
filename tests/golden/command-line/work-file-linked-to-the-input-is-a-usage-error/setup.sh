cp input.ldif before
ln -s input.ldif input.ldif.tmp
