# bash completion for ravo                                  -*- shell-script -*-

# The words of the line up to the cursor, split at blanks only (COMP_WORDS also splits at
# ':' and '=', which would cut a URL in pieces); the last one is being completed.
_ravo_words() {
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ -z $line || $line == *[[:blank:]] ]] && words+=("")
    cword=$((${#words[@]} - 1))
    cur=${words[cword]}
    prev=${words[cword - 1]:-}
}

# Offers the candidates that start with $cur, less what bash keeps of it before a ':' or
# '=' it split the word at.
_ravo_reply() {
    local candidate
    COMPREPLY=()
    for candidate in "$@"; do
        [[ $candidate == "$cur"* ]] && COMPREPLY+=("$candidate")
    done
    local kept=${cur%"${cur##*[:=]}"}
    [[ -n $kept ]] && COMPREPLY=("${COMPREPLY[@]#"$kept"}")
    return 0
}

# Setting keys as `ravo settings list` prints them: a key, then its meaning indented below.
_ravo_setting_keys() {
    "$1" settings list 2>/dev/null | awk 'key != "" && /^    / { print key } { key = /^[^ ]/ ? $1 : "" }'
}

_ravo() {
    local words cword cur prev
    COMPREPLY=()
    _ravo_words
    local ravo=${1/#\~/$HOME} command=${words[1]:-} action=${words[2]:-}
    if ((cword == 1)); then
        _ravo_reply status sessions hooks statusline account sites settings speedtest \
            --help --version
        return
    fi
    case $command in
    status | sessions)
        _ravo_reply --json
        ;;
    hooks)
        ((cword == 2)) && _ravo_reply install uninstall status
        ;;
    statusline)
        ((cword == 2)) && _ravo_reply install uninstall
        ;;
    account)
        if ((cword == 2)); then
            _ravo_reply signin signout status
        elif [[ $action == signin && $prev != --server && $prev != --email ]]; then
            _ravo_reply --server --email --password-stdin
        fi
        ;;
    sites)
        if ((cword == 2)); then
            _ravo_reply add remove --json --local
        elif [[ $action == remove ]] && ((cword == 3)); then
            local IFS=$' \n'
            # shellcheck disable=SC2046 # ids and URLs hold no blanks
            _ravo_reply $("$ravo" sites --local 2>/dev/null)
        elif [[ $action == add ]] && ((cword > 3)) && [[ $prev != --name && $prev != --keyword ]]; then
            _ravo_reply --name --keyword
        fi
        ;;
    settings)
        if ((cword == 2)); then
            _ravo_reply list get set
        elif [[ $action == get || $action == set ]] && ((cword == 3)); then
            # shellcheck disable=SC2046 # keys hold no blanks
            _ravo_reply $(_ravo_setting_keys "$ravo")
        elif [[ $action == set ]] && ((cword == 4)); then
            case $("$ravo" settings get "${words[3]}" 2>/dev/null) in
            true | false) _ravo_reply true false ;;
            esac
        fi
        ;;
    speedtest)
        [[ $prev == --server ]] || _ravo_reply --server --json --history
        ;;
    esac
    return 0
}
complete -F _ravo ravo
