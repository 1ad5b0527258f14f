# Completes the arguments of plx in fish. What there is to complete, plx tells itself.

# Columns of `plx [COMMAND] --describe`: kind, names, what follows, its choices, help.
function __plx_type_of --argument-names option name
    command plx (string split -n ' ' -- "$name") --describe 2>/dev/null | awk -F '\t' -v option=$option \
        '$1 == "option" && index("," $2 ",", "," option ",") { print $3 "\n" $4 }'
end

function __plx_components
    command plx components 2>/dev/null | awk '$1 ~ /^([0-9]+,?|-)$/ { print $1 ~ /,/ ? $3 : $2 }'
end

function __plx_zones
    command plx zones 2>/dev/null | awk '{ print $1 }'
end

# Options or commands, each with its help behind a tab.
function __plx_described --argument-names kind name
    command plx (string split -n ' ' -- "$name") --describe 2>/dev/null | awk -F '\t' -v kind=$kind \
        '$1 == kind { n = split($2, names, ","); for (i = 1; i <= n; ++i) print names[i] "\t" $5 }'
end

# What a component takes beside numbers.
function __plx_values_of --argument-names component
    switch $component
        case month
            printf '%s\n' last january february march april may june july august september october november december
        case day-of-week
            printf '%s\n' last sunday monday tuesday wednesday thursday friday saturday
        case quarter
            printf '%s\n' last q1 q2 q3 q4
        case date time year second time-of-day iso-year
        case '*'
            echo last
    end
end

# The columns of the first file among the words.
function __plx_columns
    for word in (commandline -opc)
        test -f "$word"; or continue
        set -l separator ,
        read -l header <"$word"
        if string match -qr '\.(tsv|tab)$' -- $word
            set separator '\t'
        else if string match -q '*;*' -- $header; and not string match -q '*,*' -- $header
            set separator ';'
        end
        awk -F $separator 'NR == 1 {
            sub(/^\xef\xbb\xbf/, ""); sub(/\r$/, "")
            for (i = 1; i <= NF; ++i) { gsub(/^"|"$/, "", $i); print $i }
            exit
        }' $word
        return
    end
end

function __plx_value --argument-names prefix type choices
    switch $type
        case COLUMN
            string replace -r '^' -- "$prefix" (__plx_columns)
        case DAY
            string replace -r '^' -- "$prefix" (__plx_values_of day-of-week | string match -v last)
        case ZONE
            string replace -r '^' -- "$prefix" (__plx_zones)
        case FILE PATH DIR
            __fish_complete_path
        case '*'
            test -n "$choices"; and string replace -r '^' -- "$prefix" (string split ' ' -- $choices)
    end
end

function __plx_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l name
    set -l arguments
    set -l before
    set -e words[1]
    for word in $words
        if test -n "$before" # its value
            set before
            continue
        end
        switch $word
            case --module
                set before --module
            case '-*=*'
            case '-*'
                if test -n "$name"
                    set -l type (__plx_type_of $word $name)
                    test -n "$type[1]"; and set before $word
                end
            case '*'
                if test -z "$name"
                    set name $word
                else if test "$name" = rules; and contains -- $word diff update
                    set name "rules $word"
                else
                    set -a arguments $word
                end
        end
    end

    if test "$before" = --module
        __fish_complete_path
    else if test -n "$before"
        set -l type (__plx_type_of $before $name)
        __plx_value '' $type
    else if string match -q -- '--*=*' $current; and test -n "$name"
        set -l option (string split -m 1 = -- $current)[1]
        __plx_value "$option=" (__plx_type_of $option $name)
    else if string match -q -- '-*' $current
        __plx_described option $name
    else if test -z "$name"
        __plx_described command
        echo help
    else if test "$name" = help
        __plx_described command
    else if test "$name" = set; and string match -qr '^[a-z-]+=' -- $current
        set -l component (string split -m 1 = -- $current)[1]
        string replace -r '^' -- "$component=" (__plx_values_of $component)
    else
        switch $name:(count $arguments)
            case set:0 get:0 explain:0
                __plx_components
            case set:1 explain:1
                if test $name = set; and string match -q '*=*' -- $arguments[1]
                    __fish_complete_path
                else
                    __plx_values_of $arguments[1]
                end
            case rules:0
                __plx_described command rules
            case zones:0 'rules diff:*'
                __plx_zones
            case 'set:*' 'get:*'
                __fish_complete_path
        end
    end
end

complete -c plx -f -a '(__plx_complete)'
