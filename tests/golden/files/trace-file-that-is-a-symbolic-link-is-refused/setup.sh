echo kept >target
ln -s target trace
