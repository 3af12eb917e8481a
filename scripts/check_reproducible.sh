#!/usr/bin/env bash
# usage: check_reproducible.sh [--quick]
#
# Proves that the same sources give the same bytes: copies this checkout, as it is now, to two folders
# with names of different length, builds and packs each from nothing, without a compiler cache, and
# compares every program and package. Takes several minutes.
#   --quick   only links what build/release has a second time, and compares; a build must be there
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

programs=(bin/OrvaAcceleratorService.exe bin/orvactl.exe bin/OrvaClient.dll
  bin/accel_sdk/sdk_x64/OpenKernel.dll installer/OrvaSetupActions.dll)
work=$root/build/reproducible
rm -rf "$work"

# tells_nothing_else FILE FOLDER: whoever gets two packages would see when each was made, and where.
tells_nothing_else() {
  local stamp
  # Read to its end: with grep -q the writer would fail of a broken pipe.
  stamp=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^Time\/Date[[:space:]]\{2,\}//p')
  [[ $stamp == "Thu Jan  1 00:00:00 1970" ]] || fail "$1 carries a time stamp: $stamp"
  ! grep -qaF "$2" "$1" || fail "$1 carries the path of its build"
}

# The last of the commands that make a program is the one that links it. It is run in a copy of the build
# folder by links, because a library's address is derived from the name that the linker is given.
link_again() {
  local program=$1 command
  command=$(ninja -C "$root/build/release" -t commands "$program" | tail -n 1)
  [[ $command == *" -o $program "* ]] || fail "how is $program linked? $command"
  rm "$work/again/$program"
  (cd "$work/again" && eval "$command")
  cmp "$root/build/release/$program" "$work/again/$program" || fail "linked twice, $program has other bytes"
  tells_nothing_else "$work/again/$program" "$root"
}

if [[ ${1:-} == --quick ]]; then
  step "Link again"
  mkdir -p "$work"
  cp -as "$root/build/release" "$work/again"
  # They are written too, and not to be through a link.
  find "$work/again" -name '*.dll.a' -delete
  for program in "${programs[@]}"; do
    link_again "$program"
  done
  step_done
  rm -rf "$work"
  say "Linked twice, ${#programs[@]} programs have the same bytes."
  exit 0
fi

"$root/scripts/setup.sh"
export CCACHE_DISABLE=1

copy_sources() {
  mkdir -p "$work/$1"
  (cd "$root" && git ls-files -z --cached --others --exclude-standard |
    while IFS= read -r -d '' file; do [[ ! -e $file ]] || printf '%s\0' "$file"; done |
    tar -c --null -T -) | tar -x -C "$work/$1"
}

build_copy() {
  step "Build in build/reproducible/$1"
  (
    cd "$work/$1"
    cmake --preset release --log-level=WARNING -DORVA_BUILD_TESTS=OFF >/dev/null
    cmake --build --preset release --target OrvaAcceleratorService OpenKernel orvactl orvactl-dev \
      OrvaSetupActions OrvaClient
    scripts/package.sh --from build/release --to packages
    scripts/package.sh --with-simulator --from build/release --to packages
  ) >"$work/$1.log" 2>&1 || {
    tail -20 "$work/$1.log" >&2
    fail "the build in $work/$1 has failed"
  }
}

digests() (
  cd "$work/$1"
  find build/release/bin build/release/installer packages -type f \
    \( -name '*.exe' -o -name '*.dll' -o -name '*.zip' -o -name '*.msi' \) -print0 |
    LC_ALL=C sort -z | xargs -0 sha256sum
)

copy_sources one
copy_sources another-with-a-longer-name
build_copy one
build_copy another-with-a-longer-name
step "Compare"
digests one >"$work/one.sha256"
digests another-with-a-longer-name >"$work/another.sha256"
[[ $(wc -l <"$work/one.sha256") -ge 10 ]] || fail "too few files were built"
diff -u "$work/one.sha256" "$work/another.sha256" || fail "the same sources gave different bytes"
while read -r _ file; do
  [[ $file == *.zip || $file == *.msi ]] || tells_nothing_else "$work/one/$file" "$work"
done <"$work/one.sha256"
step_done
cat "$work/one.sha256"
rm -rf "$work"
say "Two builds gave the same bytes."
