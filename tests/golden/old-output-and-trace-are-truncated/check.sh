test "$(head -n 1 trace.txt)" = 'main():  FUNCTION ENTRY  '
