# bash completion for pellora-companion, pellora-for-messages and pellora-sample-store. Installed once per program.
_pellora() {
  local program=$1 current=$2 candidate quoted
  local finder=${PELLORA_COMPLETION:-$(dirname "$(readlink -f "$(command -v "$program")")")/../share/pellora-for-messages/candidates}
  COMPREPLY=()
  while IFS= read -r candidate; do
    if [[ $candidate == //files ]]; then
      compopt -o filenames 2>/dev/null
      mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$current")
    else
      printf -v quoted %q "$candidate"
      COMPREPLY+=("$quoted")
    fi
  done < <("$finder" "$program" "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _pellora pellora-companion pellora-for-messages pellora-sample-store
