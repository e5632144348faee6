cp input.ldif before
echo old >output.ldif; ln output.ldif input.ldif.tmp
