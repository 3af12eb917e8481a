#!/usr/bin/env bash
# usage: packages_test.sh BUILD NAME
#
# Packs what BUILD has a second time, with a stand-in for the signing command that only writes down what
# it is given, and compares with what the build has packed.
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib/common.sh"
strict_mode
build=$1 name=$2
again=$(mktemp -d)
trap 'rm -rf "$again"' EXIT

step "Pack again"
printf '#!/bin/sh\necho "${2##*/}" >>"$1"\n' >"$again/sign"
chmod +x "$again/sign"
ORVA_SIGN_COMMAND="$again/sign $again/signed" "$root/scripts/package.sh" --from "$build" \
  --to "$again" >"$again/log" || fail "$(cat "$again/log")"

step "The same bytes"
for file in "$name".zip "$name".msi "$name"-symbols.zip; do
  cmp "$build/package/$file" "$again/$file"
done

step "Each image and the package were signed"
diff <(printf '%s\n' OrvaAcceleratorService.exe OrvaClient.dll orvactl.exe OrvaSetupActions.dll "$name.msi") \
  "$again/signed"

step "A signature that fails fails the package"
! ORVA_SIGN_COMMAND=/bin/false "$root/scripts/package.sh" --from "$build" --to "$again" >"$again/log" 2>&1 ||
  fail "packed without signatures"

step "Sums, notices and changes"
[[ $(grep -c . "$build/package/SHA256SUMS") -eq 6 ]] || fail "not all packages are summed up"
"$root/scripts/check_packages.sh" "$build/package"
cp -a "$build"/package/{OrvaAcceleratorService-*.{zip,msi},SHA256SUMS} "$again/"
echo >>"$again/$name-symbols.zip"
! "$root/scripts/check_packages.sh" "$again" >"$again/log" 2>&1 || fail "a changed package has its sum"
grep -v -- '-symbols.zip' "$build/package/SHA256SUMS" >"$again/SHA256SUMS"
! "$root/scripts/check_packages.sh" "$again" >"$again/log" 2>&1 || fail "a package without a sum is all right"
grep -q 'no sum of' "$again/log" || fail "$(<"$again/log")"
rm "$again/$name.zip"
(cd "$build/package" && zip -q "$again/$name.zip" "$name/CHANGELOG.md")
(cd "$again" && sha256sum ./*.zip ./*.msi | sed 's|\./||' >SHA256SUMS)
! "$root/scripts/check_packages.sh" "$again" >"$again/log" 2>&1 || fail "a package without notices is all right"
grep -q 'has no THIRD-PARTY-NOTICES' "$again/log" || fail "$(<"$again/log")"

step "Contents"
for file in THIRD-PARTY-NOTICES CHANGELOG.md README.txt OrvaAcceleratorService.exe orvactl.exe \
  docs/protocol.md docs/protocol-vectors.json accel_sdk/sdk_x64/PUT-OpenKernel.dll-HERE.txt \
  client/OrvaClient.dll client/include/orva_client.h client/include/orva_answers.h \
  client/node/package.json client/node/lib/client.mjs client/lib/OrvaClient.lib \
  client/lib/libOrvaClient.dll.a client/samples/README.md client/samples/c/session.c \
  client/samples/csharp/OrvaSession.csproj client/samples/python/session.py; do
  [[ -f $build/package/$name/$file ]] || fail "$file is missing in the archive"
done
[[ ! -e $build/package/$name/accel_sdk/sdk_x64/OpenKernel.dll ]] || fail "a library in the ordinary package"
[[ ! -e $build/package/$name/orvactl-dev.exe ]] || fail "the developers' tool in the ordinary package"
[[ -f $build/package/$name-developer/orvactl-dev.exe ]] || fail "no orvactl-dev.exe for developers"
msiinfo export "$build/package/$name.msi" File >"$again/files"
for file in THIRD-PARTY-NOTICES CHANGELOG.md OrvaAcceleratorService.exe protocol.md; do
  grep -q "|$file" "$again/files" || fail "$file is missing in the package"
done
! grep -q 'README.txt\|OrvaClient' "$again/files" || fail "what only the archive has is in the package"
step_done
