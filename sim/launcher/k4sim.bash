# What bash offers for a command line of k4sim: k4sim itself is asked, so that nothing is listed
# here that could grow old. `make completion` installs it.

_k4sim() {
    local offer
    COMPREPLY=()
    while IFS= read -r offer; do
        case $offer in
            '<files') _k4sim_add -f -- "$2" ;;
            '<toml') _k4sim_add -f -X '!*.toml' -- "$2"; _k4sim_add -d -- "$2" ;;
            '<folders') _k4sim_add -d -- "$2" ;;
            '<programs') _k4sim_add -c -- "$2"; _k4sim_add -d -- "$2" ;;
            *) COMPREPLY+=("$offer") ;;
        esac
    done < <("${1/#\~\//$HOME/}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    # A value follows.
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace
}

# What compgen finds, as names of files: with a slash after a folder, and quoted where need be.
_k4sim_add() {
    compopt -o filenames
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen "$@")
}

complete -F _k4sim k4sim
