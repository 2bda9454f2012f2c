# Fish completion for lumo-import. Options and their values are those that --help names.

# The values of an option: "a|b" after its name, or "a, b" ending its line.
function __lumo_import_values
    set -l list '([a-z]+(?:(?:\\||, )[a-z]+)+)'
    lumo-import --help | string match -rg "^ +--$argv[1] (?:$list .*|[A-Z]+ .*: $list)\$" \
        | string replace -ra '[|, ]+' \n
end

for line in (lumo-import --help)
    string match -rq '^ +(?:-(?<short>.), )?--(?<long>[a-z-]+)(?: (?<argument>[A-Za-z|]+))?  +(?<text>.*)$' -- $line
    or continue
    set -l option -l $long -d (string replace -r ': [a-z]+(, [a-z]+)+$' '' -- $text)
    test -n "$short"; and set -a option -s $short
    switch "$argument"
        case ''
        case OUT
            set -a option -r -F
        case '*'
            set -a option -x -a "(__lumo_import_values $long)"
    end
    complete -c lumo-import $option
end

complete -c lumo-import -n __fish_use_subcommand -a check -d 'problems only'
complete -c lumo-import -n __fish_use_subcommand -a table -d 'one node\'s table'
complete -c lumo-import -n __fish_use_subcommand -a convert -d 'write in another format'
complete -c lumo-import -n __fish_use_subcommand -a explain -d 'what a report means, and its cure'
complete -c lumo-import -n __fish_use_subcommand -a formats -d 'what is read and written'
complete -c lumo-import -k -a '(__fish_complete_suffix .net .oobn .hugin .dsc .dxp .dx .erg .ergo .xml .xbif .xmlbif .bifxml .bif .xdsl .uai .gz)'
