cp input.ldif before
echo left >input.ldif.tmp
