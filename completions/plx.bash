# Completes the arguments of plx in bash. What there is to complete, plx tells itself.

# Columns of `plx [COMMAND] --describe`: kind, names, what follows, its choices, help.
_plx_described() { # kind column [command]
  command plx $3 --describe 2>/dev/null | awk -F '\t' -v kind="$1" -v column="$2" '$1 == kind { print $column }'
}

_plx_components() { command plx components 2>/dev/null | awk '$1 ~ /^([0-9]+,?|-)$/ { print $1 ~ /,/ ? $3 : $2 }'; }

_plx_zones() { command plx zones 2>/dev/null | awk '{ print $1 }'; }

# What follows an option of a command: its type and, behind a tab, its choices. Nothing for a flag.
_plx_type_of() { # option command
  command plx $2 --describe 2>/dev/null |
    awk -F '\t' -v option="$1" '$1 == "option" && index("," $2 ",", "," option ",") { print $3 "\t" $4 }'
}

_plx_reply() { # words: those that begin with the current word
  local IFS=$'\n'
  COMPREPLY=($(compgen -W "$1" -- "$current"))
}

_plx_files() { compopt -o default 2>/dev/null; }

# What a component takes beside numbers.
_plx_values_of() { # component
  case $1 in
    month) printf '%s\n' last january february march april may june july august september october november december ;;
    day-of-week) printf '%s\n' last sunday monday tuesday wednesday thursday friday saturday ;;
    quarter) printf '%s\n' last q1 q2 q3 q4 ;;
    date | time | year | second | time-of-day | iso-year) ;;
    *) echo last ;;
  esac
}

# The columns of the first file among some words.
_plx_columns() { # words
  local word header separator=,
  for word; do
    [ -f "$word" ] || continue
    IFS= read -r header < "$word"
    case $word in *.tsv | *.tab) separator='\t' ;; *) [[ $header == *,* || $header != *';'* ]] || separator=';' ;; esac
    awk -F "$separator" 'NR == 1 {
      sub(/^\xef\xbb\xbf/, ""); sub(/\r$/, "")
      for (i = 1; i <= NF; ++i) { gsub(/^"|"$/, "", $i); print $i }
      exit
    }' "$word"
    return
  done
}

_plx_value() { # type choices
  case $1 in
    ZONE) _plx_reply "$(_plx_zones)" ;;
    COLUMN) _plx_reply "$(_plx_columns "${COMP_WORDS[@]:1}")" ;;
    DAY) _plx_reply "$(_plx_values_of day-of-week | grep -v last)" ;;
    FILE | PATH | DIR) _plx_files ;;
    *) [ -n "$2" ] && _plx_reply "${2// /$'\n'}" ;;
  esac
}

_plx() {
  COMPREPLY=()
  local current=${COMP_WORDS[COMP_CWORD]} command= i word type before
  local -a arguments=()
  [ "$current" = = ] && current=

  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    case $word in
      =) ((++i)) ;;
      --module) ((++i)) ;;
      -*)
        if [ -n "$command" ]; then
          type=$(_plx_type_of "$word" "$command")
          [ -n "${type%%$'\t'*}" ] && [ "${COMP_WORDS[i + 1]}" != = ] && ((++i))
        fi
        ;;
      *)
        if [ -z "$command" ]; then
          command=$word
        elif [[ $command:$word == rules:@(diff|update) ]]; then
          command="rules $word"
        else
          arguments+=("$word")
        fi
        ;;
    esac
  done

  # --zone=Europe/P comes in three words, as bash breaks at the sign.
  before=${COMP_WORDS[COMP_CWORD - 1]}
  [ "$before" = = ] && before=${COMP_WORDS[COMP_CWORD - 2]}
  if [ "$before" = --module ]; then
    _plx_files
    return
  fi
  if [[ $before == -* ]] && [ -n "$command" ]; then
    type=$(_plx_type_of "$before" "$command")
    if [ -n "${type%%$'\t'*}" ]; then
      _plx_value "${type%%$'\t'*}" "${type#*$'\t'}"
      return
    fi
  fi

  if [[ $current == -* ]]; then
    _plx_reply "$(_plx_described option 2 "$command" | tr , '\n')"
  elif [ -z "$command" ]; then
    _plx_reply "$(_plx_described command 2)"$'\n'help
  elif [ "$command" = help ]; then
    _plx_reply "$(_plx_described command 2)"
  elif [[ $command == set && $before != "${COMP_WORDS[COMP_CWORD - 1]}" && ${#arguments[@]} -gt 0 ]]; then
    _plx_reply "$(_plx_values_of "$before")"  # month=fe
  else
    case $command:${#arguments[@]} in
      set:0 | get:0 | explain:0) _plx_reply "$(_plx_components)" ;;
      set:1 | explain:1)
        [[ $command == set && ${arguments[0]} == *=* ]] && _plx_files || _plx_reply "$(_plx_values_of "${arguments[0]}")"
        ;;
      rules:0) _plx_reply "$(_plx_described command 2 rules)" ;;
      "rules diff":*) _plx_reply "$(_plx_zones)" ;;
      zones:0) _plx_reply "$(_plx_zones)" ;;
      set:* | get:*) _plx_files ;;
    esac
  fi
}

complete -F _plx plx
