# Fish completion for lumo-import. Commands, options and their values are those that --help names.

# The values of an option: "a|b" after its name, or "a, b" ending its line.
function __lumo_import_values
    set -l list '([a-z]+(?:(?:\\||, )[a-z]+)+)'
    lumo-import --help | string match -rg "^ +(?:-., )?--$argv[1] (?:$list .*|[A-Z]+ .*: $list)\$" \
        | string replace -ra '[|, ]+' \n
end

# The nodes of the first file before the word, for the tables of nodes.
function __lumo_import_nodes
    for file in (commandline -opc)[3..-1]
        test -f $file; or continue
        lumo-import nodes -q $file 2>/dev/null | sed '1d; s/ .*//'
        return
    end
end

# The options of a help, offered under the condition.
function __lumo_import_options
    while read -l line
        string match -rq '^ +(?:-(?<short>.), )?--(?<long>[a-z-]+)(?: (?<argument>[A-Za-z|]+))?  +(?<text>.*)$' -- $line
        or continue
        set -l option -l $long -d (string replace -r ': [a-z]+(, [a-z]+)+$' '' -- $text)
        test -n "$short"; and set -a option -s $short
        switch "$argument"
            case ''
            case OUT FILE
                set -a option -r -F
            case NODE
                set -a option -x -a '(__lumo_import_nodes)'
            case '*'
                set -a option -x -a "(__lumo_import_values $long)"
        end
        complete -c lumo-import -n $argv[1] $option
    end
end

set -l commands (lumo-import --help | string match -rg '^  lumo-import ([a-z]+)(?: .*)?$' | sort -u)
lumo-import --help | __lumo_import_options "not __fish_seen_subcommand_from $commands"
for command in $commands
    set -l help (lumo-import $command --help)
    complete -c lumo-import -n __fish_use_subcommand -a $command -d (string replace -r '\.$' '' -- $help[1])
    string join -- \n $help | __lumo_import_options "__fish_seen_subcommand_from $command"
end
complete -c lumo-import -n '__fish_seen_subcommand_from table' -a '(__lumo_import_nodes)'
complete -c lumo-import -k -a '(__fish_complete_suffix (lumo-import formats | string match -rg " yes +(?:yes|-) +(.*)" | string split " ") .gz)'
