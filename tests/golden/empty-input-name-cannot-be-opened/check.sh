test ! -e .tmp
