mkdir out
