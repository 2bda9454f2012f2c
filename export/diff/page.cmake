# Makes the page of two nets that differ, a source of lumo_export (LUMO_DIFF_PAGE), from the files
# beside this one; lumo_hash is the report's.
set(folder ${CMAKE_CURRENT_LIST_DIR})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/page.html ${folder}/page.css)
file(READ ${folder}/page.css style)
lumo_hash("${style}" style_hash)
file(READ ${folder}/page.html page)
string(REPLACE "{{style-hash}}" "${style_hash}" page "${page}")
string(REPLACE "{{style}}" "${style}" page "${page}")
set(end ")LUMO\"")
set(start "R\"LUMO(")
string(REPLACE "{{title}}" "${end},\n    ${start}" page "${page}")
string(REPLACE "{{body}}" "${end},\n    ${start}" page "${page}")
set(LUMO_DIFF_PAGE ${PROJECT_BINARY_DIR}/generated/diff_page.cpp)
file(CONFIGURE OUTPUT ${LUMO_DIFF_PAGE} @ONLY CONTENT
"// Made from export/diff/.
#include \"export/report.h\"

extern const lumo::ReportPage TheDiffPage;
const lumo::ReportPage TheDiffPage = {
    @start@@page@@end@};
")
set_source_files_properties(${LUMO_DIFF_PAGE} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
