#!/bin/bash
# install_test.sh FOLDER-OF-PACKAGES ROOT: on a system that holds what the packages depend on,
# k4selftest and k4sim of i386 are installed, run and removed. Root: a tar file of such a system,
# which scripts/setup --deb makes.
set -uo pipefail
packages=$1 root=$2
skip() {
    echo "skipped: $1"
    exit 77
}
selftest=$(echo "$packages"/k4selftest_*_i386.deb)
desk=$(echo "$packages"/k4sim_*_i386.deb)
[ -f "$selftest" ] && [ -f "$desk" ] || skip "no packages in $packages: make deb builds them"
[ -f "$root" ] || skip "no system to install them on: scripts/setup --deb makes $root"
if [ -z "${K4_OWN_MOUNTS:-}" ]; then
    unshare --map-root-user --mount true 2>/dev/null || skip "no namespaces for this user"
    K4_OWN_MOUNTS=yes exec unshare --map-root-user --mount "$0" "$@"
fi

folder=$(mktemp -d)
trap 'umount -l "$folder"; rmdir "$folder"' EXIT
fail() {
    echo "$1"
    exit 1
}
mount -t tmpfs k4 "$folder" && tar -xf "$root" -C "$folder" --no-same-owner --exclude=./dev/* &&
    mount --rbind /proc "$folder/proc" || fail "no system"
for device in null zero urandom; do
    : >"$folder/dev/$device"
    mount --bind /dev/$device "$folder/dev/$device" || fail "no /dev/$device"
done
mkdir "$folder/dev/pts" && ln -s pts/ptmx "$folder/dev/ptmx" && ln -s /proc/self/fd "$folder/dev/fd" &&
    mount -t devpts -o newinstance,ptmxmode=0666 pts "$folder/dev/pts" || fail "no terminals"
cp "$selftest" "$desk" "$folder/root/"
inside() { chroot "$folder" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C "$@"; }

inside sh -c "dpkg --install /root/*.deb" || fail "they can't be installed"
for file in usr/sbin/k4selftest usr/bin/k4sim usr/share/man/man8/k4selftest.8.gz \
    usr/share/man/man1/k4sim.1.gz usr/share/man/man5/k4sim-scenario.5.gz \
    usr/share/bash-completion/completions/k4selftest; do
    [ -s "$folder/$file" ] || fail "no $file"
done

# What they depend on is what their files are linked with, and nothing else.
for package in k4selftest k4sim; do
    said=$(inside dpkg-query -W -f '${Depends}' $package | sed 's/ ([^)]*)//g; s/, /\n/g' | sort)
    linked=$(inside dpkg-query -L $package | while read -r file; do
        readelf -d "$folder/$file" 2>/dev/null | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p'
    done | sort -u | while read -r library; do
        inside dpkg-query -S "*/$library" | sed 's/:.*//'
    done | sort -u)
    [ "$said" = "$linked" ] || fail "$package depends on "$said", and is linked with "$linked
done

inside k4sim run --expect passed --record /root/record -- k4selftest run >"$folder/console" ||
    { cat "$folder/console"; fail "it does not pass"; }
grep -q "exits with code 0" "$folder/console" || fail "that was not the self-test"
words=$(inside bash -c '. /usr/share/bash-completion/completions/k4selftest
    _k4selftest k4selftest no; echo ${COMPREPLY[@]}')
[ "$words" = "nomicboost nokeypad noanalog" ] || fail "bash completes $words"

inside dpkg --purge k4sim k4selftest || fail "they can't be removed"
left=$(cd "$folder" && find usr etc -name '*k4*')
[ -z "$left" ] || fail "left behind: "$left
