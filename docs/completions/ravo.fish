# fish completion for ravo

# Setting keys as `ravo settings list` prints them: a key, then its meaning indented below.
function __ravo_setting_keys
    set -l ravo (commandline -opc)[1]
    $ravo settings list 2>/dev/null | awk 'key != "" && /^    / { print key "\t" substr($0, 5) } { key = /^[^ ]/ ? $1 : "" }'
end

# Site ids and URLs from the list this computer keeps, without asking the server.
function __ravo_sites
    set -l ravo (commandline -opc)[1]
    $ravo sites --local 2>/dev/null | string split ' '
end

# true and false for a setting that holds one.
function __ravo_setting_values
    set -l words (commandline -opc)
    set -l ravo $words[1]
    switch ($ravo settings get $words[4] 2>/dev/null)
        case true false
            printf '%s\n' true false
    end
end

function __ravo_words_are
    set -l words (commandline -opc)
    test (count $words) -eq (math (count $argv) + 1); or return 1
    for i in (seq (count $argv))
        string match -q -- $argv[$i] $words[(math $i + 1)]; or return 1
    end
end

set -l commands status sessions hooks statusline account sites settings speedtest
complete -c ravo -f
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -l help -d 'print the commands'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -l version -d 'print the version'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a status -d 'one reading of the machine, the limits and the connection'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a sessions -d 'the agent sessions, newest first'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a hooks -d 'track Claude Code and Codex sessions'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a statusline -d "show Claude limits in Claude Code's status line"
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a account -d 'sign in to your Ravo server'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a sites -d 'your monitored websites'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a settings -d 'read and change the settings'
complete -c ravo -n "not __fish_seen_subcommand_from $commands" -a speedtest -d 'measure download, upload and responsiveness'

complete -c ravo -n "__fish_seen_subcommand_from status sessions" -l json -d 'print JSON'
complete -c ravo -n "__ravo_words_are hooks" -a "install uninstall status"
complete -c ravo -n "__ravo_words_are statusline" -a "install uninstall"
complete -c ravo -n "__ravo_words_are account" -a "signin signout status"
complete -c ravo -n "__fish_seen_subcommand_from signin" -l server -x -d 'your Ravo server'
complete -c ravo -n "__fish_seen_subcommand_from signin" -l email -x -d 'your address'
complete -c ravo -n "__fish_seen_subcommand_from signin" -l password-stdin -d 'read a password from standard input'
complete -c ravo -n "__ravo_words_are sites" -a "add remove"
complete -c ravo -n "__ravo_words_are sites" -l json -d 'print JSON'
complete -c ravo -n "__ravo_words_are sites" -l local -d 'the list this computer keeps'
complete -c ravo -n "__ravo_words_are sites remove" -a "(__ravo_sites)"
complete -c ravo -n "__fish_seen_subcommand_from sites; and __fish_seen_subcommand_from add" -l name -x -d 'a name'
complete -c ravo -n "__fish_seen_subcommand_from sites; and __fish_seen_subcommand_from add" -l keyword -x -d 'text the page must hold'
complete -c ravo -n "__ravo_words_are settings" -a "list get set"
complete -c ravo -n "__ravo_words_are settings get; or __ravo_words_are settings set" -a "(__ravo_setting_keys)"
complete -c ravo -n "__ravo_words_are settings set '*'" -a "(__ravo_setting_values)"
complete -c ravo -n "__fish_seen_subcommand_from speedtest" -l server -x -d 'your Ravo server'
complete -c ravo -n "__fish_seen_subcommand_from speedtest" -l json -d 'print JSON'
complete -c ravo -n "__fish_seen_subcommand_from speedtest" -l history -d 'the tests run here'
