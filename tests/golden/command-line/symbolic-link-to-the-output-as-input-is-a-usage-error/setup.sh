cp input.ldif before
ln -s input.ldif link.ldif
