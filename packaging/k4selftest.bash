# What bash offers for a command line of k4selftest: its keywords.

_k4selftest() {
    mapfile -t COMPREPLY < <(compgen -W 'run nomicboost nokeypad noanalog' -- "$2")
}

complete -F _k4selftest k4selftest
