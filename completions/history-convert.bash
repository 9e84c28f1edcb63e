# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Completion of history-convert for bash.

_history_convert() {
  local cur=${COMP_WORDS[COMP_CWORD]} word position=0
  COMPREPLY=()
  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '-h -q' -- "$cur")
    return
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == -* ]] || position=$((position + 1))
  done
  # INFILE and OUTFILE are left to the shell.
  case $position in
    1) mapfile -t COMPREPLY < <(compgen -W 0 -- "$cur") ;;
    3) mapfile -t COMPREPLY < <(compgen -W 1 -- "$cur") ;;
  esac
  case $position in
    0 | 2) ;;
    *) compopt +o default 2>/dev/null ;;
  esac
}

complete -o default -F _history_convert history-convert
