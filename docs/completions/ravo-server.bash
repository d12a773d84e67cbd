# bash completion for ravo-server                           -*- shell-script -*-

# The words of the line up to the cursor, split at blanks only; the last one is completed.
_ravo_server_words() {
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ -z $line || $line == *[[:blank:]] ]] && words+=("")
    cword=$((${#words[@]} - 1))
    cur=${words[cword]}
    prev=${words[cword - 1]:-}
}

# Flags and their choices from `ravo-server --help`: "--name VALUE   a, b or c: ..." gives
# "--name a b c", a flag without choices just its name.
_ravo_server_flags() {
    "$1" --help 2>/dev/null | awk '
        match($0, /^  --[a-z-]+( [A-Z]+)?(, --[a-z-]+)*/) {
            head = substr($0, 3, RLENGTH - 2)
            rest = substr($0, RLENGTH + 1)
            sub(/^ +/, "", rest)
            choices = ""
            if (match(rest, /^([a-z-]+, )*[a-z-]+ or [a-z-]+:/)) {
                choices = substr(rest, 1, RLENGTH - 1)
                gsub(/,| or /, " ", choices)
            }
            n = split(head, parts, /[ ,]+/)
            for (k = 1; k <= n; k++)
                if (parts[k] ~ /^--/)
                    print parts[k] (choices == "" ? "" : " " choices)
        }'
}

_ravo_server() {
    local words cword cur prev
    COMPREPLY=()
    _ravo_server_words
    local server=${1/#\~/$HOME} flag=$prev value=$cur
    if [[ $cur == --*=* ]]; then
        flag=${cur%%=*}
        value=${cur#*=}
    fi
    local candidates=() line found=""
    if [[ $flag == --* && ($flag != "$prev" || $cur != --*) ]]; then
        # A flag's value: its choices, a file or a folder, or nothing to offer.
        while read -ra line; do
            [[ ${line[0]} == "$flag" ]] && found=1 && candidates=("${line[@]:1}")
        done < <(_ravo_server_flags "$server")
        if [[ -n $found && ${#candidates[@]} -eq 0 ]]; then
            case $flag in
            --config | --*-file | --apple-private-key) mapfile -t candidates < <(compgen -f -- "$value") ;;
            --release-dir) mapfile -t candidates < <(compgen -d -- "$value") ;;
            esac
            compopt -o filenames 2>/dev/null
        fi
        if [[ -n $found ]]; then
            local candidate
            for candidate in "${candidates[@]}"; do
                [[ $candidate == "$value"* ]] && COMPREPLY+=("$candidate")
            done
            return 0
        fi
    fi
    if [[ $cur == -* ]]; then
        while read -ra line; do
            [[ ${line[0]} == "$cur"* ]] && COMPREPLY+=("${line[0]}")
        done < <(_ravo_server_flags "$server")
    elif ((cword == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "user backup" -- "$cur")
    elif [[ ${words[1]} == user ]] && ((cword == 2)); then
        mapfile -t COMPREPLY < <(compgen -W "add" -- "$cur")
    elif [[ ${words[1]} == user && ${words[2]} == add ]] && ((cword == 4)); then
        COMPREPLY=(--password-stdin)
    elif [[ ${words[1]} == backup ]] && ((cword == 2)); then
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        compopt -o filenames 2>/dev/null
    fi
    return 0
}
complete -F _ravo_server ravo-server
