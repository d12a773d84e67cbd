# fish completion for ravo-server

# Every flag of `ravo-server --help` with its choices ("--name VALUE  a, b or c: ...") or
# what it takes, one "name<TAB>kind<TAB>description" a line.
function __ravo_server_flags
    set -l server (commandline -opc)[1]
    $server --help 2>/dev/null | awk '
        match($0, /^  --[a-z-]+( [A-Z]+)?(, --[a-z-]+)*/) {
            head = substr($0, 3, RLENGTH - 2)
            rest = substr($0, RLENGTH + 1)
            sub(/^ +/, "", rest)
            kind = ""
            if (match(rest, /^([a-z-]+, )*[a-z-]+ or [a-z-]+:/)) {
                kind = substr(rest, 1, RLENGTH - 1)
                gsub(/,| or /, " ", kind)
            }
            n = split(head, parts, /[ ,]+/)
            if (n == 2 && parts[2] ~ /^[A-Z]+$/ && kind == "")
                kind = parts[1] == "--config" || parts[1] ~ /-file$/ || parts[1] == "--apple-private-key" ? "FILE" : "VALUE"
            for (k = 1; k <= n; k++)
                if (parts[k] ~ /^--/)
                    print substr(parts[k], 3) "\t" kind "\t" rest
        }'
end

function __ravo_server_complete_flags
    for line in (__ravo_server_flags)
        set -l field (string split \t -- $line)
        printf '%s\t%s\n' --$field[1] $field[3]
    end
end

# The choices or files for the flag before the cursor; nothing when it takes free text.
function __ravo_server_complete_value
    set -l previous (commandline -opc)[-1]
    for line in (__ravo_server_flags)
        set -l field (string split \t -- $line)
        test "--$field[1]" = "$previous"; or continue
        switch $field[2]
            case FILE
                __fish_complete_path (commandline -ct)
            case VALUE ''
            case '*'
                string split ' ' -- $field[2]
        end
    end
end

function __ravo_server_wants_value
    set -l previous (commandline -opc)[-1]
    for line in (__ravo_server_flags)
        set -l field (string split \t -- $line)
        test "--$field[1]" = "$previous"; and test -n "$field[2]"; and return 0
    end
    return 1
end

complete -c ravo-server -f
complete -c ravo-server -n __ravo_server_wants_value -a "(__ravo_server_complete_value)"
complete -c ravo-server -n "not __ravo_server_wants_value; and string match -q -- '-*' (commandline -ct)" -a "(__ravo_server_complete_flags)"
complete -c ravo-server -n "not __ravo_server_wants_value; and not __fish_seen_subcommand_from user backup" -a user -d 'give an account a password'
complete -c ravo-server -n "not __ravo_server_wants_value; and not __fish_seen_subcommand_from user backup" -a backup -d 'copy the SQLite database to FILE'
complete -c ravo-server -n "__fish_seen_subcommand_from user; and not __fish_seen_subcommand_from add" -a add
complete -c ravo-server -n "__fish_seen_subcommand_from backup; and not __ravo_server_wants_value" -F
