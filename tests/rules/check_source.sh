#!/bin/sh
# Looks for breaches of the house rules that the compiler can't see.
set -u
cd "$1" || exit 2
status=0

# breach MESSAGE COMMAND...: what the command prints is a breach.
breach() {
    message=$1
    shift
    found=$("$@")
    if [ -n "$found" ]; then
        printf '%s:\n%s\n' "$message" "$found"
        status=1
    fi
}

program='baselib grc hw audio app'

breach "Ports or assembly outside the port access layer" \
    grep -rnE '\b(asm|__asm__)\b|<sys/io\.h>' $program --include=*.cpp --include=*.h --exclude=ports.cpp
breach "Sleeping outside the clock and the thread layer" \
    grep -rnE '\b(usleep|nanosleep) *\(' $program --include=*.cpp --exclude=clock.cpp --exclude=thread.cpp
breach "The program includes the virtual device" \
    grep -rn '#include "sim/' $program
breach "The virtual device includes the program" \
    grep -rnE '#include "(baselib|grc|hw|audio|app)/' sim
breach "A model that calls the operating system" \
    grep -rnE '#include <(sys/|linux/|alsa/|unistd|fcntl|pthread|time\.h|ctime|chrono|thread|cstdio|fstream|iostream)' sim/models
breach "Standard streams or threads in the program" \
    grep -rnE '#include <(iostream|thread|mutex|chrono|future)>' $program
breach "Comments that do not begin with //" \
    grep -rnE '^[[:space:]]*/\*' $program sim tests bench --include=*.cpp --include=*.h
own_header_first() {
    for source in $(find $program sim -name '*.cpp'); do
        header=${source%.cpp}.h
        [ ! -f "$header" ] || grep -m1 '^#include' "$source" | grep -q "\"$header\"" || echo "$source"
    done
}
breach "Own header not included first" own_header_first
untold_models() {
    for header in sim/models/*/*.h sim/alsa/*.h; do
        name=$(basename "$header" .h)
        case $header in sim/models/joints/* | *_faults.h) continue ;; esac
        grep -q "\`$name\`" docs/fidelity.md || echo "$header"
    done
}
breach "A model of which docs/fidelity.md does not tell what it is written from" untold_models
breach "Headers without #pragma once" \
    grep -rL '#pragma once' $program sim --include=*.h
exit $status
