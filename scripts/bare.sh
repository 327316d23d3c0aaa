#!/usr/bin/env bash
# Runs a command in a clone of this tree on a bare Debian 12, as a newcomer would: it has what debootstrap's variant minbase
# has, no locale is set, and the environment is empty.
#   usage: bare.sh [--user] COMMAND [ARGUMENT...]      for example: bare.sh scripts/demo.sh, or bare.sh bash
# --user: as an ordinary user, who may sudo, in a folder with a blank and letters beyond ASCII; otherwise as root.
# Needs root and debootstrap; package sources, their certificates and proxies are those of this machine. The Debian is kept
# as an archive in ~/.cache/wmiservice, unpacked into build/bare for each run and removed after it.
# Ends with 125 when no such Debian can be made, otherwise as the command does.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

cannot() {
    echo "bare.sh: no bare Debian here: $*" >&2
    exit 125
}

user=root
home=/root
folder=$home/WMIService
if [[ ${1:-} == --user ]]; then
    shift
    user=newcomer
    home=/home/$user
    folder="$home/Grüße an alle/WMIService"
fi
if (($# == 0)); then
    sed -n '2,/^set/s/^# //p' scripts/bare.sh >&2
    exit 2
fi

((EUID == 0)) || cannot "this needs root"
command -v debootstrap >/dev/null || cannot "debootstrap is missing; on Debian: apt-get install debootstrap"
# What is mounted or started in there ends with the command.
separate=(unshare --mount --pid --fork --kill-child)
"${separate[@]}" mount -t proc proc /proc || cannot "this system lets nothing be mounted"

cache=${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/wmiservice
mkdir -p build/bare "$cache"
work=$(mktemp -d "$PWD/build/bare/XXXXXX")
trap 'rm -rf --one-file-system "$work"' EXIT
chmod 755 "$work"
root=$work/root

# This machine's sources of Debian 12, one "URI release component" a line.
# shellcheck disable=SC2016  # apt's own placeholders
sources=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' 2>/dev/null |
    grep -E ' bookworm(-updates|-security)? main$' | sort -u) || true
if [[ ! -f $cache/debian-12.tar ]]; then
    echo "bare.sh: making a bare Debian 12, once: $cache/debian-12.tar" >&2
    mirror=$(sed -n 's/ bookworm main$//p' <<<"$sources" | head -n 1)
    if ! debootstrap --variant=minbase bookworm "$root" ${mirror:+"$mirror"} >"$work/log" 2>&1; then
        tail "$work/log" >&2
        cannot "debootstrap fails"
    fi
    tar -C "$root" --numeric-owner -cf "$work/archive" .
    mv "$work/archive" "$cache/debian-12.tar"
else
    mkdir "$root"
    tar -C "$root" --numeric-owner -xpf "$cache/debian-12.tar"
fi

cp -L /etc/resolv.conf /etc/hosts "$root/etc/"
if [[ -n $sources ]]; then
    sed 's/^/deb /' <<<"$sources" >"$root/etc/apt/sources.list"
fi
{
    apt-config dump Acquire | grep -v '^Acquire::\(Changelogs\|IndexTargets\)'
    for scheme in http https; do
        proxy=${scheme}_proxy
        [[ -z ${!proxy:-} ]] || echo "Acquire::$scheme::Proxy \"${!proxy}\";"
    done
    if [[ -f /etc/ssl/certs/ca-certificates.crt ]]; then
        cp -L /etc/ssl/certs/ca-certificates.crt "$root/etc/apt/"
        echo 'Acquire::https::CaInfo "/etc/apt/ca-certificates.crt";'
    fi
} >"$root/etc/apt/apt.conf.d/99machine"

git diff --quiet HEAD || echo "bare.sh: what is not committed is not in the clone" >&2
mkdir -p "$root$folder"
git clone --quiet --no-hardlinks . "$root$folder"

# enter COMMAND [ARGUMENT...]: in the separate namespaces, what the command needs and then the command.
enter() {
    set -euo pipefail
    mount -t proc proc "$root/proc"
    mount --rbind /sys "$root/sys"
    mount --rbind /dev "$root/dev"
    local in_there=(env --ignore-environment PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin)
    if [[ $user != root ]]; then
        chroot "$root" "${in_there[@]}" bash -c 'apt-get update && apt-get --yes install sudo' &>"$work/log" ||
            { tail "$work/log" >&2; return 125; }
        chroot "$root" "${in_there[@]}" useradd --no-create-home --shell /bin/bash "$user"
        chroot "$root" chown -R "$user:" "$home"
        echo "$user ALL=(ALL) NOPASSWD: ALL" >"$root/etc/sudoers.d/$user"
    fi
    # shellcheck disable=SC2016  # for the shell in there
    exec chroot --userspec="$user" --groups= "$root" "${in_there[@]}" HOME="$home" USER="$user" \
        bash -c 'cd "$1" && shift && exec "$@"' bash "$folder" "$@"
}
export work root user home folder
export -f enter
"${separate[@]}" bash -c 'enter "$@"' bash "$@"
