echo old >output.ldif
