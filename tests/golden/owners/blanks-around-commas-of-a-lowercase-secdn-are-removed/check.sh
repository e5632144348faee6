grep -qx 'secdn: cn=anna,o=example' TEMPORARY_INPUT_LDIF_FILE
