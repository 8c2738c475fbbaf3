# Builds a guest from a Debian kernel and this machine's own programs, and boots it under QEMU. script/test-vm and
# script/bench-vm source it. They set $root first and, before they call a function that needs them, $work (their own
# directory), $guestTools, $modules and $program (the directory of the program and the plug-in).
#
# Exit statuses of both: 2 something needed is missing; 3 kernel panic; 4 time-out; 5 a device of the guest did not come
# up, or its init failed.
# shellcheck shell=sh disable=SC2154  # set by who sources this

# shellcheck source=script/suite.sh
. "$root/script/suite.sh"

suite=${KERNEL_SUITE:-bookworm}
bootSeconds=${BOOT_SECONDS:-600}

buildTargets() { # TARGET...
    { cmake -S "$root" -B "$root/build" &&
        cmake --build "$root/build" --parallel "$(nproc)" --target "$@"; } >"$work/build.log" 2>&1 ||
        die 2 "$* does not build (see $work/build.log)"
}

# Sets kernelDir, version and kernel. A fetched kernel stays in the cache and serves every later run.
fetchKernel() {
    kernelDir=$cache/$suite/kernel
    if [ ! -d "$kernelDir" ]; then
        openSuite "$suite"
        package=$(suiteApt apt-cache depends linux-image-amd64 |
            sed -n 's/^ *Depends: \(linux-image-[0-9][^ ]*\)$/\1/p' | head -n 1)
        [ -n "$package" ] || die 2 "Debian's $suite has no linux-image-amd64"
        rm -rf "$kernelDir.new"
        unpackPackage "$package" "$kernelDir.new"
        # Packages of Debian 13 and later have usr/lib, and no link lib to it.
        [ -e "$kernelDir.new/lib" ] || ln -s usr/lib "$kernelDir.new/lib"
        depmod -b "$kernelDir.new" "$(ls "$kernelDir.new/lib/modules")"
        mv "$kernelDir.new" "$kernelDir"
    fi
    version=$(ls "$kernelDir/lib/modules")
    kernel=$kernelDir/boot/vmlinuz-$version
}

copyWithLibraries() { # FILE TARGET
    cp -L "$1" "$guest/$2"
    for library in $(ldd "$1" 2>/dev/null | grep -o '/[^ ]*'); do
        mkdir -p "$guest$(dirname "$library")"
        cp -Lu "$library" "$guest$library"
    done
}

copyModules() {
    for module in $modules; do
        modprobe -S "$version" -d "$kernelDir" --show-depends "$module"
    done | sed -n 's/^insmod \([^ ]*\).*/\1/p' | sort -u >"$work/modules"
    while read -r file; do
        target=$guest${file#"$kernelDir"}
        mkdir -p "$(dirname "$target")"
        case $file in
            *.xz) xz -dc "$file" >"${target%.xz}" ;;
            *) cp "$file" "$target" ;;
        esac
    done <"$work/modules"
    cp "$kernelDir/lib/modules/$version"/modules.builtin* "$kernelDir/lib/modules/$version/modules.order" \
        "$guest/lib/modules/$version"
}

# The guest's files without its init; sets guest. packGuest makes an initramfs of them.
buildGuest() {
    guest=$work/guest
    rm -rf "$guest"
    for directory in bin usr proc sys dev tmp run out opt/scsidev etc/target var/lib/hardware/udi \
        "lib/modules/$version"; do
        mkdir -p "$guest/$directory"
    done
    ln -s bin "$guest/sbin"
    ln -s ../bin "$guest/usr/bin"
    ln -s ../bin "$guest/usr/sbin"
    ln -s ../lib "$guest/usr/lib"
    cp -L "$(command -v busybox)" "$guest/bin/busybox"
    for applet in $("$guest/bin/busybox" --list); do
        [ "$applet" = busybox ] || ln -s busybox "$guest/bin/$applet"
    done
    for tool in $guestTools; do
        rm -f "$guest/bin/$tool"
        copyWithLibraries "$(command -v "$tool")" "bin/$tool"
    done
    ln -sf dash "$guest/bin/sh"
    ln -sf kmod "$guest/bin/modprobe"
    copyModules
    cp -r "$root/tests/vm/guest" "$guest/rig"
    [ -x "$program/scsidev-inventory" ] || die 2 "there is no $program/scsidev-inventory"
    copyWithLibraries "$program/scsidev-inventory" opt/scsidev/scsidev-inventory
    for object in "$program"/*.so; do
        copyWithLibraries "$object" "opt/scsidev/$(basename "$object")"
    done
}

packGuest() {
    depmod -b "$guest" "$version"
    (cd "$guest" && find . | cpio -o -H newc -R 0:0 --quiet) >"$work/initramfs"
}

consoleTail() {
    echo "--- end of the console ($boot) ---" >&2
    tail -n 40 "$results/console" | tr -d '\r' >&2
}

# no_timer_check: on a busy machine QEMU gets too little time, the guest's kernel counts too few ticks of its timer, takes
# the timer for broken and panics.
startMachine() { # QEMU option...
    timeout -k 5 "$bootSeconds" qemu-system-x86_64 -accel tcg -machine q35 -cpu max -m 768 -nodefaults -display none \
        -no-reboot -kernel "$kernel" -initrd "$work/initramfs" \
        -append "console=ttyS0 panic=-1 no_timer_check quiet loglevel=4 rig.boot=$boot" \
        -serial "file:$results/console" -device virtio-serial-pci \
        -chardev "file,id=results,path=$results/results.tar" -device virtserialport,chardev=results,name=results \
        "$@" >"$results/qemu.log" 2>&1 &
    machine=$!
    # timeout puts QEMU into a process group of its own, which Ctrl-C does not reach.
    trap 'kill "$machine"; wait "$machine"; exit 1' HUP INT TERM
    wait "$machine"
}

# Boots the guest as $boot and unpacks the results that it sends back into $results/out; $results is this boot's own
# directory. Sets seconds.
runMachine() { # QEMU option...
    rm -rf "$results"
    mkdir -p "$results/out"
    began=$(date +%s)
    status=0
    startMachine "$@" || status=$?
    trap - HUP INT TERM
    seconds=$(($(date +%s) - began))
    if grep -q 'Kernel panic' "$results/console" 2>/dev/null; then
        consoleTail
        die 3 "$boot: kernel panic after $seconds s"
    fi
    if [ "$status" = 124 ] || [ "$status" = 137 ]; then
        consoleTail
        die 4 "$boot: not finished after $bootSeconds s"
    fi
    [ "$status" = 0 ] || die 5 "$boot: QEMU ended with status $status: $(cat "$results/qemu.log")"
    tar -xf "$results/results.tar" -C "$results/out" 2>/dev/null || {
        consoleTail
        die 5 "$boot: no results came back"
    }
    if [ -s "$results/out/error" ]; then
        consoleTail
        die 5 "$boot: $(cat "$results/out/error")"
    fi
}
