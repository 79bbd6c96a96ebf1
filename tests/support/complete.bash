# Prints what bash offers for the last argument of a command line: complete.bash COMMAND ARGUMENT...
. /usr/share/bash-completion/bash_completion
. "${BASH_SOURCE%/*}/../../cli/completion/nvx-timeseries.bash"
shopt -s progcomp
COMP_LINE=$*
COMP_POINT=${#COMP_LINE}
# As bash splits a line: at colons and equals signs, too.
mapfile -t COMP_WORDS < <(printf '%s\n' "$@" | sed 's/\([:=]\)/\n\1\n/g' | sed '/./,$!d')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMPREPLY=()
_nvx_timeseries "$1"
printf '%s\n' "${COMPREPLY[@]}"
