date +%Y%m%d%I >before
