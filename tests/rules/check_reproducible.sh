#!/bin/sh
# Builds the program twice, in two folders and without any cache, with the same
# SOURCE_DATE_EPOCH: the two files must be equal to the last bit.
set -eu
source=$1
SOURCE_DATE_EPOCH=1700000000
export SOURCE_DATE_EPOCH
export CCACHE_DISABLE=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

build() {
    cmake -S "$source" -B "$1" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Release \
        "-DCMAKE_CXX_FLAGS=-m32 -march=i686" >"$1.log"
    cmake --build "$1" --target k4selftest >>"$1.log" || { cat "$1.log"; exit 1; }
}

build "$work/first"
build "$work/a-longer-name-for-the-second"
cmp "$work/first/k4selftest" "$work/a-longer-name-for-the-second/k4selftest"
strings "$work/first/k4selftest" | grep -q 'Nov 14 2023' || { echo "the date stamp is not SOURCE_DATE_EPOCH's"; exit 1; }
echo "reproducible: $(sha256sum <"$work/first/k4selftest")"
