cp input.ldif before
mkdir d
