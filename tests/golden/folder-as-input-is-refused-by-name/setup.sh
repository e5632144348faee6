mkdir in.ldif
