test "$(grep -c '^processSecUserObjectFromTempInputLDIFFile():  FUNCTION ENTRY' trace.txt)" = 2
