# Completion of nvx-timeseries for bash: its commands and options, as its own --help has them, and the
# values that they take.

# The commands of the program's help.
_nvx_timeseries_commands() { sed -n '/^SUBCOMMANDS:/I,/^$/ s/^  \([a-z]\{1,\}\) .*/\1/p'; }

# The options of a help.
_nvx_timeseries_options() { sed -n 's/^  *\(-.,\)\{0,1\} *\(--[a-z-]*\).*/\2/p'; }

# The value of the option $1 in a help: its name in capitals, with choices in braces.
_nvx_timeseries_value() {
  awk -v option="$1" '/^ *-/ && match($0, /^ *(-., *)?(--[a-z-]+)?/) {
    names = substr($0, 1, RLENGTH) " "
    gsub(",", " ", names)
    value = substr($0, RLENGTH + 2)
    if (index(names, " " option " ") && value !~ /^(Needs|Excludes):/) print value
  }'
}

_nvx_timeseries_intervals() {
  sed -n '/^INTERVAL is/,/its name/p' <<<"$1" | tr ', ' '\n' | grep -xE '[0-9]+[a-z]+|all'
}

# With commas between them.
_nvx_timeseries_functions() {
  sed -n '/^FUNCTION is/,/percentile/p' <<<"$1" | tr -d '\n ' | sed 's/^FUNCTIONis//; s/orapercentile.*/,p95/'
}

_nvx_timeseries_zones() {
  echo local
  awk '$1 == "Z" { print $2 } $1 == "L" { print $3 }' "${TZDIR:-/usr/share/zoneinfo}/tzdata.zi"
}

# Offers the lines of standard input that begin with $1, quoted for the shell. No line is evaluated: an
# id may be any text.
_nvx_timeseries_offer() {
  local line
  while IFS= read -r line; do
    printf -v line %q "$line"
    [[ $line != "$1"* ]] || COMPREPLY+=("$line")
  done
}

_nvx_timeseries() {
  local cur prev words cword split
  _init_completion -s -n : || return

  local program=${1/#\~/$HOME} command='' directory=() help commands value rest i
  help=$("$program" --help 2>/dev/null)
  commands=$(_nvx_timeseries_commands <<<"$help")
  for ((i = 1; i < cword; ++i)); do
    case ${words[i]} in
      -d | --directory) directory=(-d "${words[++i]/#\~/$HOME}") ;;
      --directory=*) directory=(-d "${words[i]#*=}") ;;
      -*) [[ -n $command || -z $(_nvx_timeseries_value "${words[i]}" <<<"$help") ]] || ((++i)) ;;
      *) [[ -n $command || $'\n'$commands$'\n' != *$'\n'"${words[i]}"$'\n'* ]] || command=${words[i]} ;;
    esac
  done
  [[ -z $command ]] || help+=$'\n'$("$program" "$command" --help 2>/dev/null)

  case $prev in -*) value=$(_nvx_timeseries_value "$prev" <<<"$help") ;; esac
  [[ $value != FUNCTION* ]] || value="FUNCTION:{$(_nvx_timeseries_functions "$help")}"
  case $value in
    DIR*) _filedir -d ;;
    FILE*) _filedir ;;
    ZONE*) _nvx_timeseries_offer "$cur" < <(_nvx_timeseries_zones) ;;
    TIME*)
      _nvx_timeseries_offer "$cur" < <(printf '%s\n' now today yesterday first last \
        {this,last}-{week,month,quarter,year})
      ;;
    INTERVAL*) _nvx_timeseries_offer "$cur" < <(_nvx_timeseries_intervals "$help") ;;
    LEVEL*) _nvx_timeseries_offer "$cur" < <(printf '%s\n' none error info trace) ;;
    [A-Z]*:{*)
      value=${value#*\{}
      value=${value%%\}*}
      rest=${cur##*,}  # the last of a list
      mapfile -t COMPREPLY < <(compgen -P "${cur%"$rest"}" -W "${value//,/ }" -- "$rest")
      ;;
    [A-Z]*) ;;
    *)
      if [[ $cur == -* ]]; then
        _nvx_timeseries_offer "$cur" < <(_nvx_timeseries_options <<<"$help")
      elif [[ -z $command ]]; then
        _nvx_timeseries_offer "$cur" <<<"$commands"
      elif grep -q '^  ID ' <<<"$help"; then
        _nvx_timeseries_offer "$cur" < <("$program" "${directory[@]}" --log-level none list 2>/dev/null)
      else
        _filedir rrd
      fi
      ;;
  esac
  __ltrim_colon_completions "$cur"
}

complete -F _nvx_timeseries nvx-timeseries
