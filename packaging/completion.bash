# Bash completion for lumo-import. Commands, options and their values are those that --help names.

_lumo_import() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} help values commands command=
    local IFS=$' \t\n'
    if [ "$word" = = ]; then word=; elif [ "$before" = = ]; then before=${COMP_WORDS[COMP_CWORD - 2]}; fi
    help=$("$1" --help 2>/dev/null)
    commands=$(sed -nE 's/^  lumo-import ([a-z]+)( .*)?$/\1/p' <<<"$help" | sort -u)
    if [ "$COMP_CWORD" -gt 1 ] && grep -qxF -- "${COMP_WORDS[1]}" <<<"$commands"; then
        command=${COMP_WORDS[1]}
        help=$("$1" "$command" --help 2>/dev/null)
    fi
    COMPREPLY=()

    # The values of the option before the word: "a|b" after its name, or "a, b" ending its line.
    values=$(sed -nE "s/^ +(-., )?$before ([a-z]+(\|[a-z]+)+) .*/\2/p
                      s/^ +(-., )?$before [A-Z]+ .*: ([a-z]+(, [a-z]+)+)\$/\2/p" <<<"$help" | tr -s '|, ' ' ')
    if [ -n "$values" ]; then
        COMPREPLY=($(compgen -W "$values" -- "$word"))
    elif [ "$before" = -j ] || [ "$before" = --jobs ]; then
        COMPREPLY=($(compgen -W "$(nproc)" -- "$word"))
    elif [[ $word == -* ]]; then
        values=$(sed -nE 's/^ +(-., )?(--[a-z-]+).*/\2/p; s/^ +(-.), .*/\1/p' <<<"$help")
        COMPREPLY=($(compgen -W "$values" -- "$word"))
    elif { [ "$command" = table ] || [ "$before" = --only ]; } && values=$(_lumo_import_nodes "$1") && [ -n "$values" ]; then
        COMPREPLY=($(compgen -W "$values" -- "$word"))
    else
        [ "$COMP_CWORD" -gt 1 ] || values=$commands
        _lumo_import_files "$word" "$before" "$1"
        COMPREPLY+=($(compgen -W "$values" -- "$word"))
    fi
}

# The nodes of the first file before the word.
_lumo_import_nodes() {
    local file
    for file in "${COMP_WORDS[@]:2:COMP_CWORD-2}"; do
        file=${file//[\\\"\']/}
        [ -f "$file" ] || continue
        "$1" nodes -q "$file" 2>/dev/null | sed '1d; s/ .*//'
        return
    done
}

# Folders, and the files that can be read; every file where output goes.
_lumo_import_files() {
    local file readable
    readable=$("$3" formats 2>/dev/null | sed -nE 's/.* yes +(yes|-) +\.//p' | sed 's/ \./|/g' | paste -sd'|')
    readable="\.($readable)(\.gz)?\$"
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        if [ -d "$file" ] || [[ $2 =~ ^(-o|--output|--baseline|--write-baseline)$ ]] || [[ ${file,,} =~ $readable ]]; then
            COMPREPLY+=("$file")
        fi
    done < <(compgen -f -- "$1")
}

complete -F _lumo_import lumo-import
