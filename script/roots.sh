# Makes Debian roots and runs commands in them. script/test-fresh and script/test-system source it; they set $scratch, a
# directory that cleanUp removes, $suite, the Debian release, $root, the repository, and $fresh, the root that inRoot enters.
#
# MIRROR    where debootstrap loads packages from (default: its own)
# shellcheck shell=sh disable=SC2154  # set by who sources this

job=

die() { # STATUS TEXT
    echo "${0##*/}: $2" >&2
    exit "$1"
}

# Runs a command with processes and mounts of its own. When it ends, the kernel removes them all.
isolated() { # COMMAND...
    unshare --mount --pid --fork --kill-child --mount-proc "$@" &
    job=$!
    status=0
    wait "$job" || status=$?
    job=
    return "$status"
}

cleanUp() {
    if [ -n "$job" ]; then
        kill -KILL "$job" # unshare ignores other signals while its child runs
        wait "$job" || true
    fi
    rm -rf --one-file-system "$scratch"
}

inRoot() { # USER COMMAND
    # shellcheck disable=SC2016 # for the inner shells
    isolated sh -c 'cd "$0" && mount -t proc proc proc && mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts &&
        exec chroot . setpriv --reuid="$1" --regid="$1" --init-groups --reset-env \
            env LANG=C.UTF-8 CXXFLAGS="$2" sh -c "cd && $3" </dev/null' "$fresh" "$1" "${CXXFLAGS-}" "$2"
}

install() { # PACKAGE...
    inRoot root "apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $*" >"$scratch/log" 2>&1 ||
        die 2 "$suite: apt-get could not install $*: $(tail -n 3 "$scratch/log")"
}

# Says how long a command took.
timed() { # WHAT COMMAND...
    what=$1
    shift
    began=$(date +%s)
    "$@"
    echo "${0##*/}: $suite, $what: $(($(date +%s) - began)) s"
}

# Makes a minimal root with git in $scratch/$suite.
makeTemplate() {
    # shellcheck disable=SC2086 # an empty MIRROR is no argument
    isolated debootstrap --variant=minbase --include=git,ca-certificates "$suite" "$scratch/$suite" ${MIRROR-} \
        >"$scratch/log" 2>&1 || die 2 "debootstrap could not make a root of $suite: $(tail -n 3 "$scratch/log")"
}

# Makes $fresh, a copy of it in which nothing has run yet.
freshRoot() {
    fresh=$scratch/fresh
    rm -rf --one-file-system "$fresh"
    cp -a "$scratch/$suite" "$fresh"
    git -C "$root" bundle create --quiet "$fresh/srv/scsidev.bundle" HEAD
}

cloneAs() { # USER DIRECTORY
    inRoot "$1" "git clone --quiet /srv/scsidev.bundle $2" 2>"$scratch/log" || die 1 "$suite: $(cat "$scratch/log")"
}
