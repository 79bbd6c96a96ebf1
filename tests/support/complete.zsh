# Prints what zsh offers for the last argument of a command line: complete.zsh COMMAND ARGUMENT...
# The builtin commands of the completion system work in an editor alone, and are replaced here.
compset() {
  PREFIX=${PREFIX##${~2}}
}
compadd() {
  local word
  for word in "${@[2,-1]}"; do
    [[ $word != $PREFIX* ]] || print -r -- ${words[CURRENT]%$PREFIX}$word
  done
}
_files() {
  local -a names=(*(N))
  [[ $1 != -g ]] || names=(*.rrd(N))
  compadd -- $names
}
words=("$@")
CURRENT=$#
PREFIX=$words[CURRENT]
. ${0:h}/../../cli/completion/_nvx-timeseries
