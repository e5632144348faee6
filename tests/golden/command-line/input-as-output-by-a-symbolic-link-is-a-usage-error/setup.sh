cp input.ldif before
ln -s input.ldif output.ldif
