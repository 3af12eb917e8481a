#!/usr/bin/env bash
# usage: package.sh [--with-simulator] [--from BUILD] [--to FOLDER]
#
# Makes what is handed out: a zip, a Windows Installer package and, for those who debug, a zip with the
# symbols of the same programs, with their SHA256SUMS. The files are in build/package, or FOLDER.
#   --with-simulator  the developer package, with the simulated library in the closed one's place
#   --from BUILD      packs what was built in BUILD and builds nothing; without it, a release is built in
#                     build/packaged, whose programs say which revision they were built from
#
# The same sources give the same bytes: names sorted, one time for all files, no owner.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

simulator= from= to=$root/build/package
while [[ $# -gt 0 ]]; do
  case $1 in
    --with-simulator) simulator=yes ;;
    --from) from=$(cd "$2" && pwd -P) && shift ;;
    --to) mkdir -p "$2" && to=$(cd "$2" && pwd -P) && shift ;;
    *)
      sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
      exit 2
      ;;
  esac
  shift
done

if [[ -z $from ]]; then
  "$root/scripts/setup.sh"
  cd "$root"
  step "Build"
  # Of a checkout that has been changed, nobody could find the sources again.
  revision=$(git rev-parse HEAD)
  git diff --quiet HEAD || revision+=" with changes"
  from=$root/build/packaged
  cmake --preset release -B "$from" --log-level=WARNING -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
    -DORVA_BUILD_TESTS=OFF -DORVA_REVISION="$revision" >/dev/null
  cmake --build "$from" --target OrvaAcceleratorService OpenKernel orvactl orvactl-dev OrvaSetupActions \
    OrvaClient
fi

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$from/CMakeCache.txt")
name=OrvaAcceleratorService-$version-x64${simulator:+-developer}
stage=$to/$name
symbols=$to/$name-symbols
work=$to/$name-work
# Nothing in a package carries the time of its making.
export TZ=UTC SOURCE_DATE_EPOCH=1577836800 # 2020-01-01

# strip_program UNSTRIPPED STRIPPED: -p keeps the time stamp in the file, which is none; otherwise it
# becomes the current time.
strip_program() { x86_64-w64-mingw32-strip -p -o "$2" "$1"; }

# deterministic_zip FILE FOLDER: of the folder itself with all that is in it.
deterministic_zip() {
  local file=$1 folder=$2
  rm -f "$file"
  (cd "$(dirname "$folder")" && find "$(basename "$folder")" | LC_ALL=C sort | zip -q -X -@ "$file")
}

normalise() {
  find "$@" -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +
  find "$@" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

step "Collect the files"
rm -rf "$stage" "$symbols" "$work"
mkdir -p "$work"
for component in service client $([[ -n $simulator ]] && echo simulator || echo place); do
  cmake --install "$from" --component "package-$component" --prefix "$stage" >/dev/null
done
# Microsoft's linker wants an import library of its own form.
lld-link-19 /lib /machine:x64 "/def:$from/client/c/OrvaClient.def" "/out:$stage/client/lib/OrvaClient.lib"
while IFS= read -r program; do
  mkdir -p "$symbols/$(dirname "$program")"
  mv "$stage/$program" "$symbols/$program"
  strip_program "$symbols/$program" "$stage/$program"
  "$root/scripts/sign.sh" "$stage/$program"
done < <(cd "$stage" && find . -name '*.exe' -o -name '*.dll' | LC_ALL=C sort)
strip_program "$from/installer/OrvaSetupActions.dll" "$work/OrvaSetupActions.dll"
"$root/scripts/sign.sh" "$work/OrvaSetupActions.dll"
normalise "$stage" "$symbols"

step "Pack $name.zip"
deterministic_zip "$to/$name.zip" "$stage"
deterministic_zip "$to/$name-symbols.zip" "$symbols"

step "Pack $name.msi"
cp -a "$stage" "$work/files"
rm -rf "$work/files/client" "$work/files/README.txt"
"$root/installer/make_icon.py" "$work/orva.ico"
normalise "$work"
"$root/installer/make_msi.py" --stage "$work/files" --actions "$work/OrvaSetupActions.dll" \
  --icon "$work/orva.ico" --version "$version" ${simulator:+--developer} "$to/$name.msi"
"$root/scripts/sign.sh" "$to/$name.msi"
[[ -n ${ORVA_KEEP_WORK:-} ]] || rm -rf "$work"

step "Sum up"
(cd "$to" && sha256sum OrvaAcceleratorService-"$version"-x64{,-developer}{,-symbols}.zip \
  OrvaAcceleratorService-"$version"-x64{,-developer}.msi 2>/dev/null >SHA256SUMS) || true # Not all were made.
[[ -s $to/SHA256SUMS ]] || fail "no sums"

step_done
say "$to: $name.zip, $name.msi, $name-symbols.zip, SHA256SUMS"
