# Completion of nvx-timeseries for fish: its commands and options, as its own --help has them, and the
# values that they take.

# The value of the option $argv[1] in the help that follows: its name in capitals, with choices in braces.
function __nvx_timeseries_value
    set -l name (string escape --style=regex -- $argv[1])
    string match -rg -- '^ +(?:-., *)?'$name'(?:,--[a-z-]+)? ((?!Needs:|Excludes:)[A-Z]\S*)' $argv[2..]
end

function __nvx_timeseries_intervals
    string split -- ' ' (string replace -a ',' '' -- $argv) | string match -r -- '^\d+[a-z]+$|^all$'
end

# With commas between them.
function __nvx_timeseries_functions
    string join '' -- $argv | string match -rg -- 'FUNCTION is (.*?) or a percentile' | string replace -a ' ' ''
end

function __nvx_timeseries_zones
    set -q TZDIR; or set -l TZDIR /usr/share/zoneinfo
    echo local
    awk '$1 == "Z" { print $2 } $1 == "L" { print $3 }' $TZDIR/tzdata.zi
end

function __nvx_timeseries
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l program (string replace -r '^~(?=/)' -- $HOME $words[1])
    set -l help ($program --help 2>/dev/null)
    set -l commands (string match -rg '^  ([a-z]+) ' -- $help)
    set -l command
    set -l directory
    set -l i 2
    while test $i -le (count $words)
        set -l word $words[$i]
        if contains -- $word -d --directory
            set i (math $i + 1)
            set directory -d (string replace -r '^~(?=/)' -- $HOME $words[$i])
        else if string match -q -- '--directory=*' $word
            set directory $word
        else if string match -q -- '-*' $word
            test -n "$command" -o -z "$(__nvx_timeseries_value $word $help)"; or set i (math $i + 1)
        else if test -z "$command"; and contains -- $word $commands
            set command $word
        end
        set i (math $i + 1)
    end
    test -n "$command"; and set -a help ($program $command --help 2>/dev/null)

    set -l option $words[-1]
    set -l prefix ''
    if set -l parts (string match -rg '^(--[a-z-]+)=(.*)$' -- $current)
        set option $parts[1]
        set prefix $option=
        set current $parts[2]
    end
    set -l value
    string match -q -- '-*' $option; and set value (__nvx_timeseries_value $option $help)[-1]
    string match -q -- 'FUNCTION*' $value; and set value "{$(__nvx_timeseries_functions $help),p95}"
    switch "$value"
        case 'DIR*'
            printf '%s\n' $prefix(__fish_complete_directories $current '')
        case 'FILE*'
            printf '%s\n' $prefix(__fish_complete_path $current)
        case 'ZONE*'
            printf '%s\n' $prefix(__nvx_timeseries_zones)
        case 'TIME*'
            printf '%s\n' $prefix{now,today,yesterday,first,last,{this,last}-{week,month,quarter,year}}
        case 'INTERVAL*'
            printf '%s\n' $prefix(__nvx_timeseries_intervals $help)
        case 'LEVEL*'
            printf '%s\n' $prefix{none,error,info,trace}
        case '*{*}*'
            set -l chosen (string match -r '.*,' -- $current) # all of a list but its last
            printf '%s\n' "$prefix$chosen"(string split , (string match -rg '\{(.*)\}' -- $value))
        case '?*'
        case ''
            if string match -q -- '-*' $current
                string match -rg '^ +(?:-., *)?(--[a-z-]+)' -- $help
            else if test -z "$command"
                printf '%s\n' $commands
            else if string match -q -- '  ID *' $help
                $program $directory --log-level none list 2>/dev/null
            else
                __fish_complete_suffix .rrd
            end
    end
end

complete --command nvx-timeseries --no-files --arguments '(__nvx_timeseries)'
