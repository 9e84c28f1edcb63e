# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Completion of history-db for bash.

# The options of a subcommand, or those before it.
_history_db_options() {
  case $1 in
    '') echo '-h --help --version' ;;
    info | check) echo '-h --help --json -q --quiet -j --jobs' ;;
    dump) echo '-h --help --format --table --key' ;;
    load | copy) echo '-h --help -f --force' ;;
    verify) echo '-h --help --json -q --quiet --receipt -f --force' ;;
    migrate) echo '-h --help --output --converter -n --dry-run -q --quiet -f --force' ;;
    sample)
      echo '-h --help --schema --systems --zones --native-zones --seed --label -f --force'
      ;;
    plot)
      echo '-h --help --table --key --field -o --output --terminal --ascii -f --force'
      ;;
  esac
}

_history_db() {
  local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local subcommand='' word words=''
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word != -* ]]; then
      subcommand=$word
      break
    fi
  done
  # The shell takes --format=json apart.
  if [[ $cur == = ]]; then
    cur=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $previous in
    --format) words='json jsonl csv' ;;
    --table) words='TormaQuilletHistory nativeZoneHistory ZoneHistory' ;;
    --schema) words='0 1' ;;
    -j | --jobs | --key | --field | --systems | --zones | --native-zones | --seed) ;;
    *)
      if [[ $cur == -* ]]; then
        words=$(_history_db_options "$subcommand")
      elif [[ -z $subcommand ]]; then
        words='info check dump load verify migrate sample plot copy'
      else
        # A file, which is left to the shell.
        return
      fi
      ;;
  esac
  compopt +o default 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}

complete -o default -F _history_db history-db
