# Fetches packages of any Debian release from the mirror that the machine's own package sources name. Needs no root's
# rights and leaves the machine's own package lists alone. script/guest.sh and script/ide-kernel source it and set $work
# (their own directory).
# shellcheck shell=sh disable=SC2034,SC2154  # used and set by who sources this

cache=${XDG_CACHE_HOME:-$HOME/.cache}/scsidev-vm

die() { # STATUS TEXT
    echo "${0##*/}: $2" >&2
    exit "$1"
}

# Prints nothing when no package source has this label, or when apt-get update never ran.
mirrorOf() { # LABEL
    # shellcheck disable=SC2016  # apt fills it in
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' "Label: $1" | head -n 1
}

sourceLine() { # LABEL SUITE
    mirror=$(mirrorOf "$1")
    [ -z "$mirror" ] || echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $2 main"
}

# Reads the package lists of a release, on which suiteApt and unpackPackage then work.
openSuite() { # SUITE
    aptFiles=$work/apt
    rm -rf "$aptFiles"
    mkdir -p "$aptFiles/lists/partial" "$aptFiles/archives/partial"
    [ -n "$(mirrorOf Debian)" ] || apt-get update -qq >"$work/apt.log" 2>&1 || true
    [ -n "$(mirrorOf Debian)" ] || die 2 "the package sources name no Debian mirror (run apt-get update)"
    { sourceLine Debian "$1" && sourceLine Debian-Security "$1-security"; } >"$aptFiles/sources.list"
    suiteApt apt-get update -q >"$work/apt.log" 2>&1 || die 2 "no package lists of Debian's $1 (see $work/apt.log)"
}

# Hides from apt what is installed on this machine, which it would prefer as newer. Downloads as root: apt's sandbox user
# cannot enter a directory in root's home.
suiteApt() { # PROGRAM ARGUMENT...
    tool=$1
    shift
    "$tool" -o Dir::Etc::SourceList="$aptFiles/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$aptFiles/lists" -o Dir::State::Status=/dev/null -o Dir::Cache="$aptFiles" \
        -o APT::Sandbox::User=root -o APT::Update::Error-Mode=any "$@"
}

# Unpacks a package into DIRECTORY and forgets the release's lists.
unpackPackage() { # PACKAGE DIRECTORY
    (cd "$aptFiles" && suiteApt apt-get download -q "$1") >"$work/apt.log" 2>&1 ||
        die 2 "apt-get could not download $1 (see $work/apt.log)"
    mkdir -p "$2" # dpkg makes the last directory of a path only
    dpkg -x "$aptFiles/$1"_*.deb "$2"
    rm -rf "$aptFiles"
}
