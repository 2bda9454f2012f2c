#compdef lumo-import
# Zsh completion for lumo-import. Commands, options and their values are those that --help names.

local line short long argument text values
local -a specs commands command nodes extensions
for line in ${(f)"$(_call_program commands $words[1] --help 2>/dev/null)"}; do
    [[ $line =~ '^  lumo-import ([a-z]+)( .*)?$' ]] && commands+=($match[1])
done
(( CURRENT > 2 && ${commands[(Ie)$words[2]]} )) && command=($words[2])
for line in ${(f)"$(_call_program options $words[1] $command --help 2>/dev/null)"}; do
    [[ $line =~ '^ +(-.)?,? *(--[a-z-]+) ?([A-Za-z|]*)  +(.*)$' ]] || continue
    short=$match[1] long=$match[2] argument=$match[3] text=$match[4] values=''
    # The values: "a|b" after the name, or "a, b" ending the line.
    if [[ $argument == *'|'* ]]; then
        values=${argument//|/ }
    elif [[ $text =~ '^(.*): ([a-z]+(, [a-z]+)+)$' ]]; then
        text=$match[1] values=${match[2]//,/}
    fi
    case $argument in
        '') ;;
        OUT | FILE) argument=:output:_files ;;
        NODE) argument=':node:->nodes' ;;
        *) argument=":${argument//|/ or }:($values)" ;;
    esac
    text="[${text//:/\\:}]"
    if [[ -n $short ]]; then
        specs+=("($long)$short$text$argument" "($short)$long$text$argument")
    else
        specs+=("$long$text$argument")
    fi
done

_arguments -s -S $specs '*: :->operands'
if [[ $state == (operands|nodes) ]]; then
    if [[ $command == table || $state == nodes ]]; then
        # The nodes of the first file before the word.
        for line in ${(Q)words[3,CURRENT-1]}; do
            [[ -f $line ]] || continue
            nodes=(${${(f)"$(_call_program nodes ${words[1]} nodes -q ${(q)line} 2>/dev/null)"}%% *})
            compadd -- ${nodes[2,-1]}
            return
        done
    fi
    (( CURRENT == 2 )) && compadd -- ${(u)commands}
    for line in ${(f)"$(_call_program formats $words[1] formats 2>/dev/null)"}; do
        [[ $line =~ ' yes +(yes|-) +(.*)$' ]] && extensions+=(${=match[2]#.})
    done
    _files -g "(#i)*.(${(j:|:)extensions//./})(|.gz)(-.)"
fi
