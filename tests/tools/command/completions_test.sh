#!/usr/bin/env bash
# Completions give what plx takes: in bash, and in zsh and fish where they are installed.
#   completions_test.sh PLX FOLDER-OF-COMPLETIONS
set -euo pipefail
plx=$1
folder=$2
PATH=$(cd "$(dirname "$plx")" && pwd):$PATH

files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
cd "$files"
touch data.txt other.csv
printf 'id,ordered at,"shipped"\r\n1,2,3\r\n' > orders.csv
printf 'id;due\n1;2\n' > europe.csv

cases=0
failed=0

# Each line: a command line up to the cursor; what must be offered; what must not be.
rows() {
  cat <<'ROWS'
plx |set get explain zones rules components help|month data.txt --zone
plx s|set|explain zones
plx -|--version --help --module|set
plx set |year quarter month week-of-year day day-of-year day-of-week hour minute second time-of-day date time iso-year iso-week|selector data.txt 12
plx help |set zones|help month data.txt
plx set month |last january december|monday data.txt
plx set day-of-week mo|monday|january last
plx set quarter |q1 q4 last|january
plx set date ||last
plx set day 1 europe.csv -c |id due|ordered data.txt
plx set day 1 --week-start |monday sunday|last january
plx set mo|month|year
plx set day |last|data.txt
plx set day 1 |data.txt other.csv|last
plx set day 1 d|data.txt|other.csv
plx set -|--zone -z --exact --help|--at --version
plx set day 1 --z|--zone|--exact
plx set --zone |Europe/Paris America/New_York UTC UTCLeapSeconds local|Etc/Unknown data.txt
plx set day 1 -z Europe/Pa|Europe/Paris|Europe/Rome
plx set --zone Europe/Paris |month|Europe/Paris
plx set -z UTC day 1 |data.txt|last
plx --module x set |month|data.txt
plx explain |month|data.txt
plx explain day |last|data.txt
plx explain --z|--zone|--exact
plx zones Asia/Kath|Asia/Kathmandu|Asia/Tokyo
plx zones --|--at|--zone
plx rules |diff update|data.txt Europe/Paris
plx rules d|diff|update
plx rules diff Europe/Pa|Europe/Paris|Europe/Rome
plx rules diff --|--since|--from
plx rules update --|--from --to|--since
plx rules update --from |data.txt|last
plx get |month|data.txt
plx get month |data.txt|last
plx set day=1 |data.txt|last
plx set day 1 --from |iso ordinal rfc3339 ns pair|data.txt FORM
plx set day 1 --on-error |stop blank pass|data.txt
plx set day 1 --check b|blank|report stop
plx set day 1 -o |data.txt|last
ROWS
}

inBash() { # line
  bash --norc --noprofile -c '
    . "$1"
    COMP_LINE=$2 COMP_POINT=${#2}
    read -ra COMP_WORDS <<< "$2"
    [[ $2 == *" " ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    compopt() { COMPREPLY=($(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")); }  # the files readline would offer
    _plx
    printf "%s\n" "${COMPREPLY[@]}"' _ "$folder/plx.bash" "$1"
}

# In zsh completion runs within an editor, which a pseudo-terminal gives it. What is offered goes to
# a file, and so does that the editor is done with it.
inZsh() { # line
  rm -f "$files/zsh/offered" "$files/zsh/done"
  TMPDIR=$files/zsh timeout 30 zsh -f "$files/zsh/type" "$folder/_plx" "$1" >/dev/null 2>&1 || echo "zsh: no answer" >&2
  cat "$files/zsh/offered" 2>/dev/null || true
}
mkdir zsh
cat > zsh/type <<'ZSH'
cat > $TMPDIR/setup <<'SETUP'
autoload -Uz compinit
compinit -u -d $TMPDIR/dump
unsetopt auto_list
compadd() {
  local -a offered
  builtin compadd -O offered "$@"
  print -rl -- $offered >> $TMPDIR/offered
  builtin compadd "$@"
}
finish() { : > $TMPDIR/done }
zle -N finish
bindkey '^I' complete-word
bindkey '^T' finish
SETUP
zmodload zsh/zpty
zpty -b shell zsh -f -i
zpty -w shell "source $TMPDIR/setup; source $1"
zpty -w -n shell "$2"$'\t\x14'
local line
while [[ ! -e $TMPDIR/done ]]; do
  zpty -r -t shell line || sleep 0.02
done
zpty -d shell
ZSH

inFish() { # line
  HOME=$files fish --no-config -c 'source $argv[1]; complete -C $argv[2]' "$folder/plx.fish" "$1" | cut -f 1
}

check() { # shell function
  local line offers refuses word offered
  while IFS='|' read -r line offers refuses; do
    offered=$($1 "$line") || true
    for word in $offers; do
      grep -qxF -- "$word" <<< "$offered" || { echo "$1: '$line' does not offer $word" >&2; failed=1; }
    done
    for word in $refuses; do
      if grep -qxF -- "$word" <<< "$offered"; then echo "$1: '$line' offers $word" >&2; failed=1; fi
    done
    cases=$((cases + 1))
  done < <(rows)
}

check inBash
# A sign breaks words in bash.
offered=$(bash --norc --noprofile -c '
  . "$1"; COMP_WORDS=(plx set --zone = Europe/Pa) COMP_CWORD=4; _plx; printf "%s\n" "${COMPREPLY[@]}"' _ "$folder/plx.bash")
[ "$offered" = Europe/Paris ] || { echo "bash: --zone=Europe/Pa offers '$offered'" >&2; failed=1; }

shells="bash"
if command -v fish >/dev/null; then
  check inFish
  shells+=" fish"
fi
if command -v zsh >/dev/null; then
  zsh -n "$folder/_plx"
  if zsh -f -c 'zmodload zsh/zpty && zpty shell :' 2>/dev/null; then
    check inZsh
    shells+=" zsh"
  else
    echo "zsh: not run, as there are no pseudo-terminals here (/dev/pts)"
  fi
fi
echo "cases: $cases in $shells"
exit $failed
