cp input.ldif before
