#!/usr/bin/env bash
# The tool's completion script is bound to the command and completes members
# after their ProgID, and ProgIDs after `list`. Usage: completion_test.sh BRELVANE
set -u
source <("$1" completion) || exit 1
[[ $(complete -p brelvane) == "complete -F _brelvane brelvane" ]] || { complete -p; exit 1; }
expect() {  # expect WANTED WORD...: completes the last word
  local wanted=$1
  shift
  COMP_WORDS=("$@")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _brelvane
  if [[ "${COMPREPLY[*]}" != "$wanted" ]]; then
    echo "completing '$*': got '${COMPREPLY[*]}', expected '$wanted'"
    exit 1
  fi
}
expect NatureCosti brelvane call brelvane.clsci_lookup NatureCo
expect NatureCosti brelvane call --company 5 Brelvane.CLSCI_LOOKUP NatureCo
expect AnagraficaPianoDeiConti brelvane call brelvane.clsci_decode AnagraficaPian
expect Brelvane.CLSCI_DECODE brelvane list Brelvane.CLSCI_D
expect "--version" brelvane --vers
