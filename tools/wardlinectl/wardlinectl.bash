# Completion of wardlinectl's commands and options, for bash.

_wardlinectl() {
    local path='' words='' i word=${COMP_WORDS[COMP_CWORD]}
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case "$path ${COMP_WORDS[i]}" in
        ' decode' | ' events' | ' files' | ' driver' | ' report' | ' report stab' | ' report lock-timeout' | ' report mem' | ' notify' | ' notify crash' | ' notify killed' | ' notify log-finish' | ' notify block-logo' | ' coredump' | ' config' | ' config check' | ' config put' | ' config rollback' | ' config show' | ' config watch')
            path+=" ${COMP_WORDS[i]}" ;;
        esac
    done
    case $path in
        '') words='decode events files driver report notify coredump config --help --version --no-color' ;;
        ' decode') words='--help --as --json --hex --no-color' ;;
        ' events') words='--help --json --hex --follow --from --no-color' ;;
        ' files') words='--help --json --hex --follow --no-color' ;;
        ' driver') words='--help --json --hex --follow --from --no-color' ;;
        ' report') words='stab lock-timeout mem --help --no-color' ;;
        ' report stab') words='--help --type --pid --process --time-ms --data --file --dry-run --no-color' ;;
        ' report lock-timeout') words='--help --name --timestamp --wait-time --owner --owner-desc --object --extra1 --extra2 --dry-run --no-color' ;;
        ' report mem') words='--help --pair --dry-run --no-color' ;;
        ' notify') words='crash killed log-finish block-logo --help --no-color' ;;
        ' notify crash') words='--help --process --pid --signal --code --detail --dry-run --no-color' ;;
        ' notify killed') words='--help --type --pid --dry-run --no-color' ;;
        ' notify log-finish') words='--help --pid --dry-run --no-color' ;;
        ' notify block-logo') words='--help --word0 --word1 --dry-run --no-color' ;;
        ' coredump') words='--help --apply --json --no-color' ;;
        ' config') words='check put rollback show watch --help --no-color' ;;
        ' config check') words='--help --after --json --no-color' ;;
        ' config put') words='--help --force --no-color' ;;
        ' config rollback') words='--help --force --no-color' ;;
        ' config show') words='--help --json --no-color' ;;
        ' config watch') words='--help --changes --json --no-color' ;;
    esac
    if [ "${COMP_WORDS[COMP_CWORD - 1]}" = --as ]; then
        words='stab-event mem-event mem-batch lock-timeout driver'
    elif [[ $words == --* && $word != -* ]]; then
        return 0  # A file, perhaps.
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _wardlinectl wardlinectl
