# The section headings of the dumps after the writing do not occur.
test "$(grep -c 'BEGIN NEW USER' trace.txt)" = 1 && test "$(grep -c 'BEGIN NEW GROUP' trace.txt)" = 1
