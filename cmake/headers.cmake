# The public headers: inside the tree they stand in their rooms; installed they stand together, as
# <lumo/ForeignFile.h>, and include each other so. Nothing else is installed, and other projects that
# build the library among their own targets see the same.
set(LUMO_PUBLIC_HEADERS
    formats/ForeignFile.h formats/import.h formats/catalogue.h formats/detect.h formats/formats.h formats/net.h
    formats/shared/format.h formats/shared/options.h
    formats/shared/positions.h formats/shared/result.h
    formats/shared/describe.h formats/shared/losses.h formats/shared/placing.h
    library/model/netmodel.h
    library/text/parser.h
    library/reports/reports.h library/reports/message.h
    library/utilities/Utils.h library/utilities/exact.h library/utilities/geometry.h library/utilities/language.h library/utilities/lock.h
    library/utilities/memory.h library/utilities/text.h
    library/utilities/vect.h library/utilities/vect3.h)
if(TARGET lumo_export)
    list(APPEND LUMO_PUBLIC_HEADERS
        export/writers.h export/explain.h export/output.h export/reduce.h)
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${LUMO_PUBLIC_HEADERS})

set(public ${PROJECT_BINARY_DIR}/include/lumo)
file(REMOVE_RECURSE ${public})
foreach(header ${LUMO_PUBLIC_HEADERS})
    file(READ ${header} text)
    string(REGEX REPLACE "#include \"[a-z/]+/([A-Za-z0-9]+\\.h)\"" "#include <lumo/\\1>" text "${text}")
    cmake_path(GET header FILENAME name)
    file(WRITE ${public}/${name} "${text}")
endforeach()
