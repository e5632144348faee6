yes old-output | head -n 1000 >output.ldif
yes old-trace | head -n 20000 >trace.txt
