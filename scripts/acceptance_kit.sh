#!/usr/bin/env bash
# usage: acceptance_kit.sh
#
# Builds the release with its system tests and packs them, with scripts/acceptance/, into one zip to be
# tried on a real Windows PC: build/package/OrvaAcceleratorService-VERSION-x64-acceptance.zip.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

"$root/scripts/setup.sh"
cd "$root"
step "Build"
configure release
mapfile -t tests < <(cmake --build --preset release --target help |
  sed -nE 's/^([a-z_]+_system_tests|installer_tests|rare_installer_tests|resources_tests): phony$/\1/p' | sort -u)
[[ ${#tests[@]} -ge 3 ]] || fail "no system tests found"
build release OrvaAcceleratorService OpenKernel orvactl OrvaClient orva_c_sample \
  OpenKernelWithoutInit OpenKernelWithoutLastName "${tests[@]}"

step "Collect the files"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/release/CMakeCache.txt)
name=OrvaAcceleratorService-$version-x64-acceptance
kit=build/package/$name
rm -rf "$kit" "$kit.zip"
mkdir -p "$kit/bin/tests"
cp scripts/acceptance/*.ps1 "$kit/"
cp -r tests/vectors "$kit/"
{ git rev-parse HEAD && { git diff --quiet HEAD || echo "with changes"; }; } | paste -sd ' ' >"$kit/revision.txt"
cp -r build/release/bin/{OrvaAcceleratorService.exe,orvactl.exe,OrvaClient.dll} "$kit/bin/"
cp -r build/release/bin/{accel_sdk,samples,variants} "$kit/bin/"
# With the programs that the tests start themselves.
for file in build/release/bin/tests/*.exe; do
  program=$(basename "$file" .exe)
  if [[ " ${tests[*]} " == *" $program "* || $program == *_program ]]; then
    cp "$file" "$kit/bin/tests/"
  fi
done
find "$kit/bin" -name '*.exe' -exec x86_64-w64-mingw32-strip -p {} +
# The tests of the resources read these as they are handed out.
mkdir -p "$kit/package"
cp -r build/release/package/* "$kit/package/"
rm -rf "$kit"/package/*symbols* "$kit"/package/*-work "$kit"/package/*acceptance*

step "Pack $name.zip"
(cd build/package && zip -q -r -X "$name.zip" "$name")
step_done
say "$root/$kit.zip: ${#tests[@]} test programs"
