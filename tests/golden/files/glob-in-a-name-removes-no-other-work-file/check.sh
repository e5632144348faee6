test -s in1.tmp && test ! -e 'in*.tmp'
