test "$(ls -A | tr '\n' ' ')" = 'input.ldif output.ldif '
