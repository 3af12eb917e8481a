#!/usr/bin/env bash
# usage: check_msvc.sh [--quick | FILE...]
#
# Checks what can be checked here of whether Microsoft's compiler would take the shipped code: every
# source file, or each FILE, goes through clang's Microsoft mode against MinGW's headers, with all
# extensions of other compilers refused. See docs/packaging.md for what this does not show.
#   --quick   all headers, and none of the sources
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
cd "$root"

folders=(win32 sdk ipc handlers service client tools simulator installer)
# What the other compilers' code needs at run time; Microsoft's has its own.
not_there=':!win32/overrun_checks.cpp'
gcc=$(printf '%s\n' /usr/lib/gcc/x86_64-w64-mingw32/*-posix | tail -1)
include=$root/build/msvc/include
mkdir -p "$include"
ln -sfn /usr/include/CLI "$include/CLI"
ln -sfn /usr/include/nlohmann "$include/nlohmann"

flags=(
  --target=x86_64-w64-mingw32 -nostdinc++
  -isystem "$gcc/include/c++" -isystem "$gcc/include/c++/x86_64-w64-mingw32"
  -isystem "$gcc/include/c++/backward" -isystem "$include" -I "$root"
  -std=c++20 -fsyntax-only
  # Without a version it is that of 2013, which lacks char16_t.
  -fms-compatibility -fms-extensions -fms-compatibility-version=19.40
  # What the headers, which are not Microsoft's, need to know.
  -fgnuc-version=12.2.0 -D__STRICT_ANSI__
  -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00
  -DORVA_VERSION='"0.0.0"' -DORVA_CLIENT_STATIC
  -Wall -Wextra -Wpedantic -Werror
  # What GCC and clang take and Microsoft's compiler does not.
  -Wgnu -Wc99-extensions -Wc11-extensions -Wc++23-extensions -Wvla -Wreorder-init-list
  -Wc99-designator -Wflexible-array-extensions -Wlanguage-extension-token
  # Not wanted either: what only Microsoft's compiler takes.
  -Wmicrosoft
)

files=("$@")
if [[ ${1:-} == --quick ]]; then
  files=(build/msvc/headers.cpp)
  git ls-files -- "${folders[@]/%//*.h}" | sed 's/.*/#include "&"/' >"${files[0]}"
elif [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <(git ls-files -- "${folders[@]/%//*.cpp}" "$not_there")
fi

step "Compile ${#files[@]} files in Microsoft mode"
check_file() {
  clang++-19 "${flags[@]}" "$1" || {
    echo "$1" >>"$root/build/msvc/failed"
    return 0
  }
}
rm -f build/msvc/failed
running=0
for file in "${files[@]}"; do
  check_file "$file" &
  running=$((running + 1))
  if [[ $running -ge $(nproc) ]]; then
    wait -n
    running=$((running - 1))
  fi
done
wait
[[ ! -s build/msvc/failed ]] || fail "not accepted: $(tr '\n' ' ' <build/msvc/failed)"

# refuse WHAT PATTERN: in the shipped sources.
refuse() {
  local what=$1 found
  found=$(git grep -nIE "$2" -- "${folders[@]/%//*.cpp}" "${folders[@]/%//*.h}" "$not_there") || return 0
  printf '%s\n' "$found" >&2
  fail "$what"
}
step "Look for what compiles here and not there, or means something else"
# %s is narrow in MinGW's wide printing and wide in Microsoft's.
refuse "%s or %S in a wide text" 'L"[^"]*%[-+ #0-9.*]*[sS]'
refuse "a header of the GNU compiler or of another system" \
  '#include <(bits/|ext/|unistd\.h|sys/|strings\.h|dirent\.h|pthread\.h|cxxabi\.h|x86intrin\.h)'
refuse "an extension of the GNU compiler" \
  '__attribute__|__builtin_|__extension__|__typeof|__int128|\b__MINGW|__GNUC__|#include_next|asm volatile'
refuse "a function that Microsoft's library does not have" \
  '\b(ssize_t|strcasecmp|strncasecmp|wcscasecmp|snwprintf|strdup|usleep|gettimeofday|localtime_r|gmtime_r)\b'
# long double, and long where int64_t or DWORD is meant, have other sizes elsewhere.
refuse "a long double" '\blong double\b'
step_done
say "Nothing found that speaks against Microsoft's compiler."
