#!/usr/bin/env bash
# The bash and fish completions of ravo and ravo-server offer the commands, the setting
# keys and the site ids the programs themselves know, from a temporary HOME; the zsh ones
# at least parse.
set -euo pipefail
bin=$(cd "$1" && pwd)
completions=$(cd "$2" && pwd)
source "$(dirname "$0")/lib.sh"
use_temporary_home
cd "$work"
export PATH=$bin:$PATH

# Two sites in the list this computer keeps, as the website monitor saves it.
mkdir -p "$HOME/.config/ravo"
cat >"$HOME/.config/ravo/ravo.conf" <<'EOF'
[General]
monitoredSites="[{\"id\":\"6f9619ff-8b86-4011-b42d-00c04fc964ff\",\"url\":\"https://shop.example.org/\",\"name\":\"Shop\",\"isEnabled\":true},{\"id\":\"0b8e2a52-1f0c-4a55-9d1e-5b0b2d7c4e11\",\"url\":\"http://192.0.2.7:8080/health\",\"name\":\"\",\"isEnabled\":false}]"
EOF

# What bash offers for a line, one word a line, as bash calls the function: COMP_WORDS
# split at blanks and at the ':' and '=' of COMP_WORDBREAKS.
bash_offers() { # script, function, program, line
    bash -c '
        source "$1"
        COMP_LINE=$4 COMP_POINT=${#4}
        read -ra COMP_WORDS <<<"$(sed -E "s/([:=])/ \1 /g" <<<"$4")"
        [[ $4 == *" " ]] && COMP_WORDS+=("")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        "$2" "$3" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
        printf "%s\n" "${COMPREPLY[@]}"
    ' _ "$1" "$2" "$3" "$4" | sort
}
ravo_offers() { bash_offers "$completions/ravo.bash" _ravo ravo "$1"; }
server_offers() { bash_offers "$completions/ravo-server.bash" _ravo_server ravo-server "$1"; }
expect() { # what, expected, got
    [ "$2" = "$3" ] || fail "$1: expected [$(tr '\n' ' ' <<<"$2")], got [$(tr '\n' ' ' <<<"$3")]"
}
lines() { printf '%s\n' "$@" | sort; }

ids_and_urls=$(lines 6f9619ff-8b86-4011-b42d-00c04fc964ff https://shop.example.org/ \
    0b8e2a52-1f0c-4a55-9d1e-5b0b2d7c4e11 http://192.0.2.7:8080/health)
expect "ravo sites --local" "$ids_and_urls" "$(ravo sites --local | tr ' ' '\n' | sort)"

# Keys as the program knows them: each one `ravo settings get` accepts.
keys=$(ravo_offers "ravo settings get ")
[ "$(wc -l <<<"$keys")" -ge 5 ] || fail "too few setting keys: $keys"
grep -qx tracksSessions <<<"$keys" || fail "tracksSessions is not offered: $keys"
for key in $keys; do
    ravo settings get "$key" >/dev/null || fail "ravo settings get refuses the offered key $key"
done
expect "a prefix of a key" "$(grep '^connection' <<<"$keys")" "$(ravo_offers "ravo settings set connection")"

expect "commands" "$(lines settings sessions)" "$(ravo_offers "ravo se")"
expect "settings actions" "$(lines list get set)" "$(ravo_offers "ravo settings ")"
expect "a flag's values" "$(lines true false)" "$(ravo_offers "ravo settings set tracksSessions ")"
expect "a text setting's values" "" "$(ravo_offers "ravo settings set latencyProbeAddress ")"
expect "sites remove" "$ids_and_urls" "$(ravo_offers "ravo sites remove ")"
expect "sites remove by id" "6f9619ff-8b86-4011-b42d-00c04fc964ff" "$(ravo_offers "ravo sites remove 6f")"
# bash split the URL at its colons and replaces only what follows the last one.
expect "sites remove by URL" "8080/health" "$(ravo_offers "ravo sites remove http://192.0.2.7:80")"
expect "signin flags" "$(lines --server --email --password-stdin)" "$(ravo_offers "ravo account signin --")"
expect "after --email" "" "$(ravo_offers "ravo account signin --email ")"

# Every flag ravo-server --help names, and the choices its help gives a setting.
server_flags=$(ravo-server --help | grep -oP '^  \K--[a-z-]+(, --[a-z-]+)*' | tr ', ' '\n\n' | grep . | sort)
expect "ravo-server flags" "$server_flags" "$(server_offers "ravo-server --")"
expect "ravo-server on/off" "$(lines on off)" "$(server_offers "ravo-server --smtp-tls ")"
expect "ravo-server --name=value" "signed-in" "$(server_offers "ravo-server --speedtest=s")"
expect "ravo-server commands" "$(lines user backup)" "$(server_offers "ravo-server ")"
touch "$work/backup-target.db"
expect "ravo-server backup FILE" "backup-target.db" "$(server_offers "ravo-server backup backup-t")"

for script in _ravo _ravo-server; do
    zsh -n "$completions/$script" || fail "zsh cannot parse $script"
done
for script in ravo.fish ravo-server.fish; do
    fish --no-execute "$completions/$script" || fail "fish cannot parse $script"
done
# fish prints "candidate<TAB>description"; keep the candidates.
fish_offers() { # script, line
    fish --no-config -c 'source $argv[1]; complete -C $argv[2]' "$1" "$2" | cut -f1 | sort
}
expect "fish: settings get" "$keys" "$(fish_offers "$completions/ravo.fish" "ravo settings get ")"
expect "fish: sites remove" "$ids_and_urls" "$(fish_offers "$completions/ravo.fish" "ravo sites remove ")"
expect "fish: ravo-server --speedtest" "$(lines public signed-in off)" \
    "$(fish_offers "$completions/ravo-server.fish" "ravo-server --speedtest ")"
echo "bash and fish complete commands, setting keys, site ids and server flags; zsh parses"
