# Completion of convert-recording for bash.

_convert_recording() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version --keep --force --pending --json' -- "$current")
        return
    fi
    # Refused outside of a completion, as in a test.
    compopt -o filenames 2>/dev/null || true
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -F _convert_recording convert-recording
