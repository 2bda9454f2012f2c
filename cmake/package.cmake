# The Debian packages, made by cpack: lumo-import, liblumo-dev, and python3-lumo when the module is
# built. What the programs need of the system is found out by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumo)
set(CPACK_PACKAGE_CONTACT "The Lumo import developers <lumo@example.org>")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Names a component's package, its section, its dependencies and its description: one line, then the
# text.
function(lumo_package component name section depends summary text)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    list(REMOVE_DUPLICATES CPACK_COMPONENTS_ALL)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

set(formats "Reads the files of other programs in the formats Hugin (versions 4 to 6), DSC, \
DXPress, Ergo and XML BIF 0.3.")
lumo_package(development liblumo-dev libdevel ""
    "importer of Bayes nets and decision networks (development files)"
    "${formats} This package has the static library, its headers, and its files for CMake and \
pkg-config.")
if(BUILD_SHARED_LIBS)
    set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS program)
endif()
if(LUMO_BUILD_APP)
    lumo_package(program lumo-import science ""
        "importer of Bayes nets and decision networks (command line)"
        "${formats} It summarises them, checks them, and converts them to JSON, pictures and \
reports.")
endif()
if(LUMO_BUILD_PYTHON)
    math(EXPR next "${Python_VERSION_MINOR} + 1")
    set(python "python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next})")
    lumo_package(python python3-lumo python "${python}, python3-numpy"
        "importer of Bayes nets and decision networks (Python 3)"
        "${formats} The module lumo gives their nodes, and their tables as NumPy arrays.")
endif()
include(CPack)
