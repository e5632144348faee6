cp input.ldif before
ln input.ldif output.ldif
