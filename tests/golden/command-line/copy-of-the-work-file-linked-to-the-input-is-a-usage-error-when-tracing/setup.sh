cp input.ldif before
ln input.ldif TEMPORARY_INPUT_LDIF_FILE
