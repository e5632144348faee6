test "$(head -n 1 trace.txt)" = 'main():  FUNCTION ENTRY  ' &&
! grep -q old-trace trace.txt
