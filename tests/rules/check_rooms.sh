#!/bin/sh
# check_rooms.sh FOLDER: each include keeps to the table of rooms in CONTRIBUTING.md. A room may
# use itself, and what its row names: rooms above it in the table, or single headers.
set -u
cd "$1" || exit 2
{
    sed -n 's/^| `\([^`]*\)` | .* |\(.*\)|$/room \1 \2/p' CONTRIBUTING.md | tr -d '`,'
    grep -rn '^#include "' $(ls -d */ | grep -vE '^(build|tests|bench)/') --include=*.cpp --include=*.h |
        sed 's/:[0-9]*:#include "/ /; s/".*//; s/^/include /'
} | awk '
    function room_of(file,  best, room) {
        best = ""
        for (room in uses) if (index(file, room) == 1 && length(room) > length(best)) best = room
        return best
    }
    function breach(text) { print text; status = 1 }
    $1 == "room" {
        for (i = 3; i <= NF; ++i)
            if ($i !~ /\.h$/ && !($i in uses)) breach($2 " may use " $i ", which is no room above it")
        $1 = ""; uses[$2] = $0; ++rooms
    }
    $1 == "include" {
        ++includes
        room = room_of($2)
        if (room == "") { breach($2 " is in no room of the table"); next }
        allowed = 0
        count = split(uses[room], entries, " ")
        if (room_of($3) == room) allowed = 1
        for (i = 2; i <= count; ++i) if (index($3, entries[i]) == 1) allowed = 1
        if (!allowed) breach($2 " includes " $3 ": " room " may not use it")
    }
    END {
        if (rooms < 10 || includes < 100) breach("read " rooms " rooms and " includes " includes only")
        exit status
    }'
