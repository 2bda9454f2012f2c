# Bash completion for lumo-import. Options and their values are those that --help names.

_lumo_import() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} help values
    local IFS=$' \t\n'
    if [ "$word" = = ]; then word=; elif [ "$before" = = ]; then before=${COMP_WORDS[COMP_CWORD - 2]}; fi
    help=$("$1" --help 2>/dev/null)
    COMPREPLY=()

    # The values of the option before the word: "a|b" after its name, or "a, b" ending its line.
    values=$(sed -nE "s/^ +$before ([a-z]+(\|[a-z]+)+) .*/\1/p
                      s/^ +$before [A-Z]+ .*: ([a-z]+(, [a-z]+)+)\$/\1/p" <<<"$help" | tr -s '|, ' ' ')
    if [ -n "$values" ]; then
        COMPREPLY=($(compgen -W "$values" -- "$word"))
    elif [ "$before" = -j ] || [ "$before" = --jobs ]; then
        COMPREPLY=($(compgen -W "$(nproc)" -- "$word"))
    elif [[ $word == -* ]]; then
        values=$(sed -nE 's/^ +(-., )?(--[a-z-]+).*/\2/p; s/^ +(-.), .*/\1/p' <<<"$help")
        COMPREPLY=($(compgen -W "$values" -- "$word"))
    else
        [ "$COMP_CWORD" -gt 1 ] || values='check convert explain formats table'
        _lumo_import_files "$word" "$before"
        COMPREPLY+=($(compgen -W "$values" -- "$word"))
    fi
}

# Folders, and the files that can be read; every file where output goes.
_lumo_import_files() {
    local file readable='\.(net|oobn|hugin|dsc|dxp|dx|erg|ergo|xml|xbif|xmlbif|bifxml|bif|xdsl|uai)(\.gz)?$'
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        if [ -d "$file" ] || [ "$2" = -o ] || [ "$2" = --output ] || [[ ${file,,} =~ $readable ]]; then
            COMPREPLY+=("$file")
        fi
    done < <(compgen -f -- "$1")
}

complete -F _lumo_import lumo-import
