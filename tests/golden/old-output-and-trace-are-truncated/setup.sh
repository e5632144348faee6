echo old-output >output.ldif
echo old-trace >trace.txt
