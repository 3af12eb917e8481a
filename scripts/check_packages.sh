#!/usr/bin/env bash
# usage: check_packages.sh [--released] [FOLDER]
#
# Looks into the packages that package.sh has left in FOLDER (default build/package): each has the notices
# of what is linked in and the changes of its version, and SHA256SUMS has the right sum of each.
#   --released   CHANGELOG.md must not call the version unreleased any more
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

released=
if [[ ${1:-} == --released ]]; then
  released=yes
  shift
fi
folder=${1:-$root/build/package}
mapfile -t packages < <(find "$folder" -maxdepth 1 -name 'OrvaAcceleratorService-*-x64*' \
  \( -name '*.zip' -o -name '*.msi' \) -not -name '*-acceptance.zip' | LC_ALL=C sort)
[[ ${#packages[@]} -gt 0 ]] || fail "no packages in $folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

unpack() {
  mkdir "$2"
  case $1 in
    *.zip) python3 -m zipfile -e "$1" "$2" ;;
    *) msiextract -C "$2" "$1" >/dev/null ;;
  esac
}

step "Notices and changes"
for package in "${packages[@]}"; do
  name=${package##*/}
  # Symbols are of use only beside the package that they belong to.
  [[ $name != *-symbols.zip ]] || continue
  unpack "$package" "$work/$name"
  for file in THIRD-PARTY-NOTICES CHANGELOG.md; do
    found=$(find "$work/$name" -name "$file")
    [[ -n $found ]] || fail "$name has no $file"
    cmp "$root/$file" "$found" || fail "$name has another $file"
  done
  version=${name#OrvaAcceleratorService-}
  heading=$(grep -F "## ${version%%-x64*}" "$root/CHANGELOG.md") || fail "CHANGELOG.md says nothing of $name"
  [[ -z $released || $heading != *"not released"* ]] || fail "CHANGELOG.md says: $heading"
done

step "Sums"
(cd "$folder" && sha256sum --quiet --strict -c SHA256SUMS) || fail "a package is not what it was"
for package in "${packages[@]}"; do
  grep -qF "  ${package##*/}" "$folder/SHA256SUMS" || fail "no sum of ${package##*/}"
done
step_done
say "Notices, changes and sums of ${#packages[@]} packages are right."
