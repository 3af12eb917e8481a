#!/usr/bin/env bash
# usage: tidy.sh [FILE...]
#
# Lets clang-tidy look at all shipped code, or at each source FILE, with the flags of the second
# compiler. .clang-tidy says what it looks for; a complaint is an error.
#
# Nearly all of its time goes into <windows.h> and the standard library, so it looks at the sources of
# a folder as if they were one file. What does not compile that way, because two files of a folder have
# a name each of the same spelling, is looked at apart.
#
# Nothing is looked at again before something changes that matters to it: a source, a header of ours,
# the flags, the configuration, clang-tidy, or the packages that other headers come from. build/tidy
# keeps what they were.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
# A build folder of its own, in which every file is compiled alone and nothing is built.
export records=$root/build/tidy database=$root/build/tidy/flags/compile_commands.json

# The dearest first, so that in the end no processor waits for another one.
folders=(tools simulator client ipc sdk service handlers installer win32)
files=()
for file in "$@"; do
  files+=("$(realpath --relative-to="$root" -- "$file")")
done
cd "$root"
cmake --preset clang -B "$(dirname "$database")" -DORVA_UNITY_BUILD=OFF --log-level=WARNING >/dev/null

# What matters to all files.
common=$(
  {
    cat .clang-tidy scripts/tidy.sh
    clang-tidy-19 --version
    dpkg-query -W g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev libcli11-dev nlohmann-json3-dev
  } | sha256sum
)

# flags_of FILE...: as JSON has them. Those of a folder differ in a definition, so the longest will do.
flags_of() {
  local file
  for file in "$@"; do
    sed -n "s|^ *\"command\": \"\(.*\) -o [^ ]* -c $root/$file\",\$|\1|p" "$database"
  done | awk 'length > length(longest) { longest = $0 } END { print longest }'
}

# plan NAME FILE...: adds to `units` what is to be looked at as one, unless nothing has changed.
units=()
plan() {
  local unit=$records/$1 flags
  shift
  flags=$(flags_of "$@")
  [[ -n $flags ]] || fail "no program is made of $*"
  if [[ -f $unit/clean && $(head -n 1 "$unit/clean") == "# $common $flags $*" ]] &&
    tail -n +2 "$unit/clean" | sha256sum --check --status 2>/dev/null; then
    return
  fi
  rm -rf "$unit"
  mkdir -p "$unit"
  printf '%s\n' "$flags" >"$unit/flags"
  printf '%s\n' "$@" >"$unit/files"
  printf '# %s\n' "$common $flags $*" >"$unit/mark"
  units+=("$unit")
}

# write_source UNIT FILE...: the one file that is made of these, and how it is compiled.
write_source() {
  local source=$1/all.cpp
  printf '#include "%s"\n' "${@:2}" >"$source"
  printf '[{"directory": "%s", "file": "%s", "command": "%s -c %s"}]\n' \
    "$PWD" "$source" "$(<"$1/flags")" "$source" >"$1/compile_commands.json"
}

# ask UNIT OPTION...: clang-tidy, whose complaints are added to those about the unit.
ask() {
  local unit=$1
  shift
  clang-tidy-19 --quiet "$@" >"$unit/output" 2>&1 && return
  cat "$unit/output" >>"$unit/complaints"
}

# look_at_files UNIT FILE...: at as many of them as possible at once, and then at the others.
look_at_files() {
  local unit=$1 together=("${@:2}") apart=() possible file
  while [[ ${#together[@]} -gt 1 ]]; do
    write_source "$unit" "${together[@]}"
    # Does it compile? One check there must be.
    clang-tidy-19 --quiet -p "$unit" --checks='-*,misc-static-assert' "$unit/all.cpp" \
      >"$unit/output" 2>&1 && break
    possible=("${together[0]}")
    for file in "${together[@]:1}"; do
      if grep -q "^$PWD/$file:.* error: " "$unit/output"; then
        apart+=("$file")
      else
        possible+=("$file")
      fi
    done
    # Of no use: an error of the first one or of a header, which is going to be told.
    [[ ${#possible[@]} -lt ${#together[@]} ]] || break
    together=("${possible[@]}")
  done
  if [[ ${#together[@]} -eq 1 ]]; then
    ask "$unit" -p "$(dirname "$database")" "${together[0]}"
  else
    # That it includes sources is its purpose.
    ask "$unit" -p "$unit" --checks=-bugprone-suspicious-include "$unit/all.cpp"
  fi
  [[ ${#apart[@]} -eq 0 ]] || look_at_files "$unit" "${apart[@]}"
}

look_at() {
  local unit=$1 files flags digests
  mapfile -t files <"$unit/files"
  write_source "$unit" "${files[@]}"
  # From before, should somebody write meanwhile. Definitions of texts are of no interest here.
  flags=$(<"$unit/flags")
  read -ra flags <<<"${flags//\\\"/}"
  digests=$("${flags[@]}" -MM "$unit/all.cpp" | tr '\\\n' '  ' | sed "s|^[^ ]*: *$unit/all.cpp||" |
    xargs sha256sum)
  look_at_files "$unit" "${files[@]}"
  if [[ -e $unit/complaints ]]; then
    grep -vE '^[0-9]+ (warning|error)s? .*(generated|treated)|^Error while ' "$unit/complaints"
    return 1
  fi
  printf '%s\n%s\n' "$(<"$unit/mark")" "$digests" >"$unit/clean"
}
export -f look_at look_at_files ask write_source

if [[ ${#files[@]} -gt 0 ]]; then
  for file in "${files[@]}"; do
    plan "one/$file" "$file"
  done
else
  for folder in "${folders[@]}"; do
    mapfile -t files < <(git ls-files -- "$folder/*.cpp")
    [[ ${#files[@]} -eq 0 ]] || plan "$folder" "${files[@]}"
  done
fi
[[ ${#units[@]} -eq 0 ]] ||
  printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'look_at "$1"' look_at ||
  fail "clang-tidy has complained"
say "clang-tidy has no complaint."
