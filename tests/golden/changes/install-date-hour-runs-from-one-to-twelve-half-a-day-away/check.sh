date +%Y%m%d%I >after
stamp=$(sed -n 's/^installDate: \([0-9]\{10\}\)[0-5][0-9][0-6][0-9]\.0Z$/\1/p' output.ldif)
grep -qx "$stamp" before after
