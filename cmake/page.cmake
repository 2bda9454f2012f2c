# Pages that lumo_export carries: the hash of a part, for a page's content security policy, and the
# source that holds a page.

# A SHA-256 in base 64: three hexadecimal digits make two characters; one is left at the end.
function(lumo_hash text result)
    set(alphabet "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
    string(SHA256 hex "${text}")
    string(APPEND hex "00")
    set(encoded "")
    foreach(from RANGE 0 63 3)
        string(SUBSTRING ${hex} ${from} 3 digits)
        math(EXPR first "0x${digits} >> 6")
        math(EXPR second "0x${digits} & 63")
        string(SUBSTRING ${alphabet} ${first} 1 first)
        string(SUBSTRING ${alphabet} ${second} 1 second)
        string(APPEND encoded ${first}${second})
    endforeach()
    string(SUBSTRING ${encoded} 0 43 encoded)
    set(${result} "${encoded}=" PARENT_SCOPE)
endfunction()

# Writes the page, cut where its title and its data go, into a source that defines it; `result` is
# the source's name.
function(lumo_embed page name result)
    set(start "R\"LUMO(")
    string(REGEX REPLACE "{{(title|data|body)}}" ")LUMO\",\n    ${start}" page "${page}")
    set(source ${PROJECT_BINARY_DIR}/generated/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} @ONLY CONTENT
"// Made by cmake/page.cmake.
#include \"export/report.h\"

const lumo::ReportPage lumo::@name@ = {
    @start@@page@)LUMO\"};
")
    # The page is longer than what the standard asks compilers to take.
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
    set(${result} ${source} PARENT_SCOPE)
endfunction()
