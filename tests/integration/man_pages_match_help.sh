#!/usr/bin/env bash
# Every man page names exactly the flags and commands its program's --help (and the usage
# its commands print) names, and groff and man read it without a warning.
set -euo pipefail
bin=$(cd "$1" && pwd)
pages=$(cd "$2" && pwd)
source "$(dirname "$0")/lib.sh"
use_temporary_home
cd "$work"

# --long and -s flags at the start of a word, not the hyphens inside words such as e-mail.
flags() { grep -oP '(?<![^\s\[(|"])--?[A-Za-z][\w-]*' | sort -u || true; }

# Command words of usage lines ("Usage: prog a b|c", "Use: prog a", and the lines under
# them that start with the program) and of a "Commands:" list (the part left of the
# column its descriptions start at). Placeholders are capitals or a bracketed word.
help_commands() { # program, the help on standard input
    PROGRAM=$1 perl -e '
        my $p = $ENV{PROGRAM};
        my @lines = <STDIN>;
        my ($list, $column) = (0, 1000);
        for (@lines) {
            $list = 1, next if /^Commands:/;
            $list = 0 if /^\S/;
            $column = length($1) if $list && /^( {3,})\S/ && length($1) < $column;
        }
        $list = 0;
        for (@lines) {
            my $line;
            if (/\b(?:Usage|Use|usage):.*?\Q$p\E\s(.*)/ || /^\s+\Q$p\E\s(.*)/) { $line = $1 }
            elsif (/^Commands:/) { $list = 1; next }
            elsif (/^\S/) { $list = 0 }
            elsif ($list && /^  \S/) {
                # At the column of the descriptions, or at a gap of two blanks where a long
                # synopsis pushes the description out.
                ($line) = length > $column && substr($_, $column - 1, 1) eq " "
                    ? substr($_, 0, $column) : /^(.*?\S)(?:\s{2,}|$)/;
            }
            next unless defined $line;
            $line =~ s/\[(?!-)[^\]]*\]//g;
            print "$_\n" for grep { /^[a-z][a-z0-9-]*$/ && $_ ne $p } split /[\s|\[\]]+/, $line;
        }
    ' | sort -u
}

# The page as a reader sees it; bold stays overstruck for the synopsis below.
render() { groff -man -Tascii -rLL=2000n -P-c -P-u "$1" 2>/dev/null; }

# Bold words of the SYNOPSIS that are not flags, placeholders or the program itself.
page_commands() { # program, page
    render "$2" | PROGRAM=$1 perl -ne '
        (my $plain = $_) =~ s/.\x08//g;
        $in = $plain =~ /^SYNOPSIS/ ? 1 : ($plain =~ /^\S/ ? 0 : $in);
        next unless $in && $plain =~ /^\s/;
        while (/((?:([^\x08\s])\x08\2)+)/g) {
            (my $word = $1) =~ s/.\x08//g;
            print "$_\n" for grep { /^[a-z][a-z0-9-]*$/ && $_ ne $ENV{PROGRAM} } split /[|\[\]]+/, $word;
        }
    ' | sort -u
}

compare() { # what, program, page, from help, from page
    local missing extra
    missing=$(comm -23 <(printf '%s\n' "$4") <(printf '%s\n' "$5") | grep . || true)
    extra=$(comm -13 <(printf '%s\n' "$4") <(printf '%s\n' "$5") | grep . || true)
    [ -z "$missing" ] || fail "$3 lacks the $1 $2 --help shows: $(tr "\n" " " <<<"$missing")"
    [ -z "$extra" ] || fail "$3 shows $1 that $2 --help does not: $(tr "\n" " " <<<"$extra")"
}

check() { # program, page, help text
    local program=$1 page=$pages/$2 help=$3
    [ -f "$page" ] || fail "no page $page"
    local lint
    lint=$(groff -man -ww -z "$page" 2>&1)
    [ -z "$lint" ] || fail "groff warns about $2: $lint"
    lint=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
    [ -z "$lint" ] || fail "man warns about $2: $lint"
    local text
    text=$(render "$page" | col -b)
    grep -q "^NAME" <<<"$text" || fail "$2 renders without a NAME section"

    local help_flags page_flags
    help_flags=$(flags <<<"$help")
    page_flags=$(flags <<<"$text")
    grep -q "^Usage: $program" <<<"$help" || fail "$program --help prints no usage: $help"
    compare flags "$program" "$2" "$help_flags" "$page_flags"
    compare commands "$program" "$2" "$(help_commands "$program" <<<"$help")" \
        "$(page_commands "$program" "$page")"
    echo "$2: $(wc -l <<<"$help_flags") flags, $(help_commands "$program" <<<"$help" | wc -w) command words"
}

# What each command of a program prints about its own use when it gets the wrong words.
usage_of_commands() { # program, the words that follow it...
    local program=$1
    shift
    timeout 10 "$bin/$program" "$@" 2>&1 </dev/null | grep -iE '^(Use|usage|[a-z-]+: usage):' || true
}

help=$("$bin/ravo" --help)
# `ravo status --help` is not help but an unknown option: it prints the command's usage.
for command in $(help_commands ravo <<<"$help" | sort -u); do
    help+=$'\n'$(usage_of_commands ravo "$command" --help)
done
check ravo ravo.1 "$help"

check ravo-hook ravo-hook.1 "$("$bin/ravo-hook" --help)"
[ -z "$("$bin/ravo-hook" </dev/null)" ] || fail "ravo-hook without a command printed something"
check ravo-netquality ravo-netquality.1 "$("$bin/ravo-netquality" --help)"
check ravo-release ravo-release.1 "$("$bin/ravo-release" --help)"

help=$("$bin/ravo-server" --help)
# A command given too few words says how it is used (a database of its own, in case).
while read -r usage; do
    read -ra words <<<"$usage"
    help+=$'\n'$(usage_of_commands ravo-server "${words[@]}" --database "sqlite:$work/probe.db")
done < <(grep -oP '^\s*(Usage:)?\s*ravo-server \K[a-z][a-z ]*[a-z](?= [A-Z])' <<<"$help")
check ravo-server ravo-server.8 "$help"

# The page's sample configuration and variables name settings the server has.
server_page=$(render "$pages/ravo-server.8" | col -b)
for name in $(grep -oP '^\s+\K[a-z][a-z-]*(?= = )' <<<"$server_page") \
    $(grep -oP '\bRAVO_SERVER_\K[A-Z][A-Z_]*' <<<"$server_page" | tr 'A-Z_' 'a-z-'); do
    grep -q -- "--$name\b" <<<"$help" || fail "ravo-server.8 names a setting $name that --help does not"
done
grep -q "/etc/ravo-server/ravo-server.conf" <<<"$server_page" || fail "ravo-server.8 lacks the config file"
grep -q "/var/lib/ravo-server" <<<"$server_page" || fail "ravo-server.8 lacks the state folder"
echo "every page matches its program's help"
