# Makes the report's page, a source of lumo_export (LUMO_REPORT_PAGE), from the files beside this
# one: the style and the scripts go into page.html, with the hashes of both for its content security
# policy. The worker's script is a text there, which the page starts itself.
include(cmake/page.cmake)

set(folder ${CMAKE_CURRENT_LIST_DIR})
set(scripts page.js list.js relations.js beliefs.js answers.js strength.js links.js picture.js labels.js layers.js scene.js view.js map.js save.js table.js node.js
    problems.js print.js state.js start.js)
set(worker_scripts tables.js factors.js elimination.js solve.js inference.js decisions.js sampling.js questions.js worker.js)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/page.html ${folder}/page.css)

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
lumo_embed("${page}" TheReportPage LUMO_REPORT_PAGE)
