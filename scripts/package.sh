#!/usr/bin/env bash
# usage: package.sh [--with-simulator] [--from BUILD] [--to FOLDER]
#
# Makes what is handed out: a zip, an installer and, for those who debug, a zip with the symbols
# of the same programs. The files are in build/package, or FOLDER.
#   --with-simulator  the developer package, with the simulated library in the closed one's place
#   --from BUILD      packs what was built in BUILD and builds nothing; without it, the release is built
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
  configure release
  build release OrvaAcceleratorService OpenKernel orvactl OrvaSetupHelper OrvaClient
  from=$root/build/release
fi

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$from/CMakeCache.txt")
name=OrvaAcceleratorService-$version-x64${simulator:+-developer}
stage=$to/$name
symbols=$to/$name-symbols
library=accel_sdk/sdk_x64
# Nothing in a package carries the time of its making.
export TZ=UTC SOURCE_DATE_EPOCH=1577836800 # 2020-01-01

# add_program FILE [FOLDER]: from the build, without its symbols, which go beside.
add_program() {
  mkdir -p "$stage/${2:-}" "$symbols/${2:-}"
  cp "$from/bin/${2:+$2/}$1" "$symbols/${2:-}"
  # -p keeps the time stamp in the file, which is none; otherwise it becomes the current time.
  x86_64-w64-mingw32-strip -p -o "$stage/${2:+$2/}$1" "$symbols/${2:+$2/}$1"
}

# What clients are written with: in the zip alone, since nobody plays with it.
add_client_files() {
  local client=$stage/client
  mkdir -p "$client/include" "$client/lib" "$client/samples" "$symbols/client"
  cp "$from/bin/OrvaClient.dll" "$symbols/client"
  x86_64-w64-mingw32-strip -p -o "$client/OrvaClient.dll" "$symbols/client/OrvaClient.dll"
  cp "$root/client/include/"*.h "$client/include/"
  cp "$from/client/c/libOrvaClient.dll.a" "$client/lib/"
  # Microsoft's linker wants one of its own form.
  lld-link-19 /lib /machine:x64 "/def:$from/client/c/OrvaClient.def" "/out:$client/lib/OrvaClient.lib"
  cp "$root/samples/README.md" "$client/samples/"
  local sample
  for sample in c/session.c csharp/{OrvaSession.csproj,Program.cs,Protocol.cs,ServicePipe.cs} \
    python/{orva_pipes.py,orva_protocol.py,session.py}; do
    install -D "$root/samples/$sample" "$client/samples/$sample"
  done
  local file
  (cd "$root/clients/node" && find . -type f) | while read -r file; do
    install -D -m 644 "$root/clients/node/$file" "$client/node/$file"
  done
}

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
rm -rf "$stage" "$symbols"
add_program OrvaAcceleratorService.exe
add_program orvactl.exe
if [[ -n $simulator ]]; then
  add_program OpenKernel.dll "$library"
  cp "$root/installer/SIMULATED-LIBRARY.txt" "$stage/$library/"
  install -D "$root/docs/simulator.md" "$stage/docs/simulator.md"
else
  install -D "$root/installer/PUT-OpenKernel.dll-HERE.txt" \
    "$stage/$library/PUT-OpenKernel.dll-HERE.txt"
fi
add_client_files
for page in protocol compatibility troubleshooting c-interface orvactl security; do
  install -D "$root/docs/$page.md" "$stage/docs/$page.md"
done
cp "$root/docs/protocol-vectors.json" "$stage/docs/"
normalise "$stage" "$symbols"

step "Pack $name.zip"
deterministic_zip "$to/$name.zip" "$stage"
deterministic_zip "$to/$name-symbols.zip" "$symbols"

step "Pack $name-setup.exe"
# A list in a fixed order: the installer would take a folder's files as the disk returns them.
files=$to/$name-files.nsh
(
  cd "$stage"
  find . -path ./client -prune -o -type d -print | LC_ALL=C sort | while read -r folder; do
    windows_folder=${folder#.}
    printf 'SetOutPath "$INSTDIR%s"\n' "${windows_folder//\//\\}"
    find "$folder" -maxdepth 1 -type f | LC_ALL=C sort | while read -r file; do
      printf 'File "%s"\n' "$stage/${file#./}"
    done
  done
) >"$files"
helper=$to/OrvaSetupHelper-$name.exe
x86_64-w64-mingw32-strip -p -o "$helper" "$from/installer/OrvaSetupHelper.exe"
normalise "$helper"
size_kb=$(find "$stage" -path "$stage/client" -prune -o -type f -printf '%s\n' | awk '{ bytes += $1 } END { print int(bytes / 1024) + 1 }')
makensis -V2 -WX -NOCD -INPUTCHARSET UTF8 \
  -DVERSION="$version" -DFILES="$files" -DHELPER="$helper" \
  -DSIZE_KB="$size_kb" -DOUTPUT="$to/$name-setup.exe" \
  ${simulator:+-DDEVELOPER} "$root/installer/installer.nsi"
rm "$files" "$helper"

step_done
say "$to: $name.zip, $name-setup.exe, $name-symbols.zip"
