mkdir input.ldif.tmp
echo old >output.ldif
