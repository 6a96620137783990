#!/usr/bin/env bash
# Checks that gena --help, the man page and the README's section on the gena
# command name the same commands and options, so none of them drifts.
# Usage: doc/check-gena-usage.sh GENA-EXECUTABLE MAN-PAGE README
set -euo pipefail
gena=$1
man=$2
readme=$3

# The commands ("gena demo") and options ("--json") a text names, one a line.
names() {
	grep -oE 'gena [a-z]+|--[a-z][a-z-]*' | sort -u
}

help=$("$gena" --help | names)
# In troff "\-" is a hyphen and "\fB" and the like switch fonts.
manual=$(sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' "$man" | names)
section=$(awk '/^## /{inside = /^## The `gena` command/} inside' "$readme" | names)

status=0
compare() {
	if [ "$help" != "$2" ]; then
		echo "gena --help and $1 disagree (<: only in --help, >: only in $1):" >&2
		diff <(echo "$help") <(echo "$2") | grep '^[<>]' >&2
		status=1
	fi
}
compare "the man page" "$manual"
compare "the README's section on the gena command" "$section"
if [ $status -eq 0 ]; then
	echo "gena --help, the man page and the README agree on: $(paste -sd, <<<"$help" | sed 's/,/, /g')"
fi
exit $status
