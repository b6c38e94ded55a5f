# Completion of meeting-client for bash.

_meeting_client() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local subcommands='started stopped quit watch record' subcommand='' word options
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ " $subcommands " == *" $word "* ]]; then
            subcommand=$word
            break
        fi
    done

    COMPREPLY=()
    case $previous in
    --path | --out | --converter | --converter-log | --ffmpeg)
        # Refused outside of a completion, as in a test.
        compopt -o filenames 2>/dev/null || true
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --pid)
        mapfile -t COMPREPLY < <(compgen -W "$(cd /proc && echo [0-9]*)" -- "$current")
        return
        ;;
    --picture)
        mapfile -t COMPREPLY < <(compgen -W 'h264 vp8' -- "$current")
        return
        ;;
    --object | --wait | --count | --timeout | --recordings | --seconds | --keep | --locale | --pname)
        return
        ;;
    esac

    case $subcommand in
    '') options="--help --version $subcommands" ;;
    started) options='--help --pid --path --object --wait' ;;
    stopped | quit) options='--help --pid --object --wait' ;;
    watch) options='--help --json --count --timeout' ;;
    record)
        options='--help --out --recordings --seconds --crash --converter --converter-log --keep --locale --pname
            --picture --ffmpeg --wait'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
}

complete -F _meeting_client meeting-client
