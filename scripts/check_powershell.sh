#!/usr/bin/env bash
# usage: check_powershell.sh
#
# Checks the scripts of the acceptance kit as far as that goes without PowerShell; see
# check_powershell.mjs. The parser comes from npm into build/powershell.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
cd "$root"

packages=build/powershell
if [[ ! -f $packages/node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm ]]; then
  step "Fetch the parser"
  mkdir -p "$packages"
  npm install --prefix "$packages" --no-save --ignore-scripts --legacy-peer-deps --silent \
    web-tree-sitter@0.25.10 tree-sitter-powershell@0.26.4
fi
step "Check"
node scripts/check_powershell.mjs "$packages" scripts/acceptance/*.ps1
step_done
