# Makes the report's page, a source of lumo_export (LUMO_REPORT_PAGE), from the files beside this
# one: the style and the scripts go into page.html, with the hashes of both for its content security
# policy. The worker's script is a text there, which the page starts itself.

set(folder ${CMAKE_CURRENT_LIST_DIR})
set(scripts page.js list.js relations.js beliefs.js answers.js strength.js links.js picture.js labels.js layers.js scene.js view.js map.js save.js table.js node.js
    problems.js print.js state.js start.js)
set(worker_scripts tables.js factors.js elimination.js solve.js inference.js decisions.js sampling.js questions.js worker.js)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/page.html ${folder}/page.css)

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

# The scripts, one behind the other, without what only readers of the sources need: indentation,
# lines that are comments, empty lines.
function(lumo_scripts names result)
    set(script "")
    foreach(name ${names})
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/${name})
        file(READ ${folder}/${name} part)
        string(APPEND script "\n${part}")
    endforeach()
    string(REGEX REPLACE "\n */\\*\\*([^*]|\\*[^/])*\\*/" "\n" script "${script}")
    string(REGEX REPLACE "\n *//[^\n]*" "\n" script "${script}")
    string(REGEX REPLACE "\n[ \n]+" "\n" script "${script}")
    set(${result} "${script}" PARENT_SCOPE)
endfunction()

file(READ ${folder}/page.css style)
lumo_scripts("${worker_scripts}" worker)
lumo_scripts("${scripts}" script)
lumo_hash("${style}" style_hash)
lumo_hash("${script}" script_hash)

file(READ ${folder}/page.html page)
string(REPLACE "{{style-hash}}" "${style_hash}" page "${page}")
string(REPLACE "{{script-hash}}" "${script_hash}" page "${page}")
string(REPLACE "{{style}}" "${style}" page "${page}")
string(REPLACE "{{worker}}" "${worker}" page "${page}")
string(REPLACE "{{script}}" "${script}" page "${page}")
set(end ")LUMO\"")
set(start "R\"LUMO(")
string(REPLACE "{{title}}" "${end},\n    ${start}" page "${page}")
string(REPLACE "{{data}}" "${end},\n    ${start}" page "${page}")
set(LUMO_REPORT_PAGE ${PROJECT_BINARY_DIR}/generated/report_page.cpp)
file(CONFIGURE OUTPUT ${LUMO_REPORT_PAGE} @ONLY CONTENT
"// Made from export/report/.
#include \"export/report.h\"

const lumo::ReportPage lumo::TheReportPage = {
    @start@@page@@end@};
")
# The page is longer than what the standard asks compilers to take.
set_source_files_properties(${LUMO_REPORT_PAGE} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
