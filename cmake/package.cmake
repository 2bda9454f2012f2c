# The Debian packages, made by cpack: lumo-import, liblumo-dev, and python3-lumo when the module is
# built. What the programs need of the system is found out by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumo)
set(CPACK_PACKAGE_CONTACT "The Lumo import developers <lumo@example.org>")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL "")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Names a component's package, its section, what it depends on, and what follows the project's
# description in its own.
macro(lumo_package component name section depends text)
    string(TOUPPER ${component} key)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${key}_DESCRIPTION
        "Reads the formats Hugin (versions 4 to 6), DSC, DXPress, Ergo and XML BIF 0.3.\n${text}")
endmacro()

lumo_package(development liblumo-dev libdevel ""
    "This package has the library, its headers, and its files for CMake and pkg-config.")
if(BUILD_SHARED_LIBS)
    set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS program)
endif()
if(LUMO_BUILD_APP)
    lumo_package(program lumo-import science ""
        "This package has the program, which summarises, checks and converts files.")
    # Loaded when PNG and PDF are drawn, and when a compressed file is read.
    set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "librsvg2-2 (>= 2.52), zlib1g")
endif()
if(LUMO_BUILD_PYTHON)
    math(EXPR next "${LUMO_PYTHON_MINOR} + 1")
    lumo_package(python python3-lumo python
        "python3 (>= 3.${LUMO_PYTHON_MINOR}), python3 (<< 3.${next}), python3-numpy"
        "This package has the Python module, which gives tables as NumPy arrays.")
endif()
include(CPack)
