#!/usr/bin/env bash
# usage: on_debian.sh RELEASE COMMAND...        for instance: on_debian.sh 13 ./scripts/test.sh
#
# Runs a command of this checkout, as root, on another Debian: 12, 13, or a release's name. The
# system is made at the first time, with the mirror that apt uses here (a minute, 400 MB), and kept in
# build/debian/RELEASE; remove the folder to begin anew. The checkout has the same path there as here;
# what the command builds stays apart, in build/debian/RELEASE.build.
#
# Needs root or sudo, for chroot and mounts; a container must allow both. The mounts are made in a
# namespace of their own, so they and every process of the command are gone when this script is,
# however it ends. The exit code is the command's.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

[[ $# -ge 2 ]] || {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
  exit 2
}
release=$1
shift
case $release in
  12) name=bookworm ;;
  13) name=trixie ;;
  *) name=$release ;;
esac
system=$root/build/debian/$release
builds=$root/build/debian/$release.build

own_mirror() {
  local codename
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk -v codename="$codename" '$2 == codename && $3 == "main" {print $1; exit}'
}

make_system() {
  local mirror
  command -v debootstrap >/dev/null ||
    as_root apt-get -q -y --no-install-recommends install debootstrap >/dev/null
  mirror=$(own_mirror)
  [[ -n $mirror ]] || fail "apt knows no mirror of Debian here"
  step "Make Debian $release in ${system#"$root"/}"
  as_root rm -rf "$system" "$system.new"
  as_root debootstrap --variant=minbase --include=git,ca-certificates "$name" "$system.new" \
    "$mirror" >"$root/build/debian/$release.log" 2>&1 ||
    fail "debootstrap: see build/debian/$release.log"
  # How apt reaches its mirror is the same there, and whom this machine trusts besides the well-known
  # authorities.
  as_root cp -r /etc/apt/apt.conf.d "$system.new/etc/apt/"
  as_root cp -r /usr/local/share/ca-certificates "$system.new/usr/local/share/"
  as_root chroot "$system.new" update-ca-certificates >/dev/null
  as_root chroot "$system.new" git config --system --add safe.directory '*'
  as_root mv "$system.new" "$system"
}

# Runs in the namespace, with the arguments SYSTEM ROOT BUILDS COMMAND...
inside='
set -e
system=$1 root=$2 builds=$3
shift 3
mount --rbind /dev "$system/dev"
mount -t proc proc "$system/proc"
mount --rbind /sys "$system/sys"
cp /etc/resolv.conf "$system/etc/resolv.conf"
mkdir -p "$system$root"
mount --bind "$root" "$system$root"
mount --bind "$builds" "$system$root/build"
# A worktree keeps its history elsewhere.
git=$(git -C "$root" rev-parse --path-format=absolute --git-common-dir)
case $git in
  "$root"/*) ;;
  *) mkdir -p "$system$git" && mount --bind "$git" "$system$git" ;;
esac
exec chroot "$system" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM="${TERM:-dumb}" \
  LANG=C.UTF-8 CI="${CI:-}" CCACHE_DIR="$root/build/ccache" \
  bash -c '\''cd "$1" && shift && exec "$@"'\'' - "$root" "$@"
'

mkdir -p "$builds"
[[ -d $system ]] || make_system
step_done
# It ends with this script, and everything inside with it.
as_root setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child \
  bash -c "$inside" - "$system" "$root" "$builds" "$@" || exit "$?"
