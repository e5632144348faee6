mkfifo in.ldif
