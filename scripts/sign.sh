#!/usr/bin/env bash
# usage: sign.sh FILE...
#
# Signs programs, libraries and packages; package.sh calls it for each that it hands out, before any
# checksum is taken. Does nothing until $ORVA_SIGN_COMMAND is set: a command, with arguments separated by
# blanks, that is run with one file as its last argument and signs it in place. When it fails, nothing is
# packed. Two builds give the same bytes only without signatures, or with a command without time stamps.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

[[ -n ${ORVA_SIGN_COMMAND:-} ]] || exit 0
read -r -a command <<<"$ORVA_SIGN_COMMAND"
for file in "$@"; do
  "${command[@]}" "$file" || fail "cannot sign $file"
done
