# Makes the page of two nets that differ, a source of lumo_export (LUMO_DIFF_PAGE), from the files
# beside this one.
include(cmake/page.cmake)
set(folder ${CMAKE_CURRENT_LIST_DIR})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/page.html ${folder}/page.css)
file(READ ${folder}/page.css style)
lumo_hash("${style}" style_hash)
file(READ ${folder}/page.html page)
string(REPLACE "{{style-hash}}" "${style_hash}" page "${page}")
string(REPLACE "{{style}}" "${style}" page "${page}")
lumo_embed("${page}" TheDiffPage LUMO_DIFF_PAGE)
