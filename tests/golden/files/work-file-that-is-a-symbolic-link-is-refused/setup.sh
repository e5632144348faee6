echo kept >target
ln -s target input.ldif.tmp
