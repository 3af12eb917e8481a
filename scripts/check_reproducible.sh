#!/usr/bin/env bash
# usage: check_reproducible.sh
#
# Proves that the same sources give the same bytes: copies this checkout, as it is now, to two folders
# with names of different length, builds and packs each from nothing, without a compiler cache, and
# compares every program and package. Takes several minutes.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

"$root/scripts/setup.sh"
work=$root/build/reproducible
export CCACHE_DISABLE=1
rm -rf "$work"

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
    cmake --build --preset release --target OrvaAcceleratorService OpenKernel orvactl OrvaSetupActions \
      OrvaClient
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
# Whoever gets two packages from here on would see when each was made.
while read -r _ file; do
  [[ $file == *.zip || $file == *.msi ]] && continue
  # Read to its end: with grep -q the writer would fail of a broken pipe.
  stamp=$(x86_64-w64-mingw32-objdump -p "$work/one/$file" | sed -n 's/^Time\/Date[[:space:]]\{2,\}//p')
  [[ $stamp == "Thu Jan  1 00:00:00 1970" ]] || fail "$file carries a time stamp: $stamp"
  ! grep -qaF "$work" "$work/one/$file" || fail "$file carries the path of its build"
done <"$work/one.sha256"
step_done
cat "$work/one.sha256"
rm -rf "$work"
say "Two builds gave the same bytes."
