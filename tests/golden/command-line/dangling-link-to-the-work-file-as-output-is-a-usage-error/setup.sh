cp input.ldif before
ln -s input.ldif.tmp output.ldif
