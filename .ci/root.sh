# SPDX-License-Identifier: MIT
# Sourced after scripts/lib.sh by scripts that run commands in a minimal Debian root, like a user's fresh machine.
#
# The root is made once a week and kept as a tar file in the user's cache.  Needs root.

readonly release=bookworm
readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/tavelo-empty-root
readonly image=$cache/$release-$(date +%G-%V).tar

# Skips the check on a developer's machine that cannot do this; an error in CI.
cannot() {
    say "the empty root was not tried: $*"
    [ "${CI:-}" = true ] && exit 1 || exit 0
}

make_image() {
    local sources
    say "making a minimal Debian root (once a week)"
    mkdir -p "$cache"
    rm -f "$cache"/*.tar "$cache"/*.part
    # Use this machine's own package servers.
    mapfile -t sources < <(find /etc/apt/sources.list /etc/apt/sources.list.d \( -name '*.list' -o -name '*.sources' \) \
        -size +0 2>/dev/null)
    [ ${#sources[@]} -gt 0 ] || cannot "this machine names no package servers"
    quietly empty-root-image mmdebstrap --variant=minbase --include=git,ca-certificates,ccache \
        --format=tar "$release" "$image.part" "${sources[@]}"
    mv "$image.part" "$image"
}

# enter_new_root SCRIPT [ARGUMENT...]: calls SCRIPT --inside ROOT ARGUMENT..., which starts with fill_root.  It runs in its
# own mount and process name space, which ends with it, mounts and processes included.  Then the root is deleted.
enter_new_root() {
    local script=$1
    shift
    can_enter_root
    [ -s "$image" ] || make_image
    root=$(mktemp -d "$cache/root.XXXXXX")
    trap 'rm -rf --one-file-system "$root"' EXIT
    unshare --mount --pid --fork --kill-child --mount-proc "$script" --inside "$root" "$@"
}
can_enter_root() {
    [ "$(id -u)" = 0 ] || cannot "only root can enter one"
    command -v mmdebstrap >/dev/null || cannot "mmdebstrap is missing"
    unshare --mount --pid --fork true 2>/dev/null || cannot "this machine allows no name spaces"
}

# fill_root ROOT: unpacks the root and sets it up for in_root.
fill_root() {
    local device
    root=$1
    environment=(HOME=/root USER=root LANG=C.UTF-8 "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")
    tar -xf "$image" -C "$root" --exclude './dev/*'
    mount -t proc proc "$root/proc"
    mount --rbind --make-rslave /sys "$root/sys"
    mkdir -p "$root/dev/shm" "$root/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
    for device in null zero full random urandom tty; do
        touch "$root/dev/$device"
        mount --bind "/dev/$device" "$root/dev/$device"
    done
    ln -s /proc/self/fd "$root/dev/fd"
    ln -s pts/ptmx "$root/dev/ptmx"
    cp -L /etc/resolv.conf "$root/etc/resolv.conf"
    cp -a /etc/apt/apt.conf.d/99* "$root/etc/apt/apt.conf.d/" 2>/dev/null || true
}

# in_root COMMAND: a shell line, run with `environment` only.
in_root() { env -i "${environment[@]}" chroot "$root" bash -c "$1"; }
