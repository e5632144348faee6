test -s trace.txt
