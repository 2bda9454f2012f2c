# What is installed, in three components: the program, what developing with the library takes, and
# the Python module. Everything finds its parts relative to itself, so the folder can be moved. The
# Debian packages made of it are described in debian/.
include(CMakePackageConfigHelpers)

install(TARGETS lumo_import EXPORT LumoTargets
    LIBRARY COMPONENT program NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
if(TARGET lumo_import_static)
    install(TARGETS lumo_import_static ARCHIVE COMPONENT development)
endif()
if(TARGET lumo_export)
    install(TARGETS lumo_export EXPORT LumoTargets ARCHIVE COMPONENT development)
endif()
install(DIRECTORY ${PROJECT_BINARY_DIR}/include/lumo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Lumo)
install(EXPORT LumoTargets NAMESPACE Lumo:: DESTINATION ${package} COMPONENT development)
file(WRITE ${PROJECT_BINARY_DIR}/LumoConfig.cmake
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/LumoTargets.cmake\")\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumoConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumoConfig.cmake ${PROJECT_BINARY_DIR}/LumoConfigVersion.cmake
    DESTINATION ${package} COMPONENT development)

set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH LUMO_PREFIX_FROM_PC /${pkgconfig} /)
if(TARGET lumo_export)
    set(LUMO_PC_EXPORT "-llumo_export ")
endif()
configure_file(packaging/lumo.pc.in ${PROJECT_BINARY_DIR}/lumo.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumo.pc DESTINATION ${pkgconfig} COMPONENT development)

# The documentation; the page of the library refers to those of the formats.
set(doc ${CMAKE_INSTALL_DATADIR}/doc/lumo-import)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION ${doc} COMPONENT program)
install(DIRECTORY docs DESTINATION ${doc} COMPONENT program PATTERN *.py EXCLUDE)
install(PROGRAMS docs/scale.py DESTINATION ${doc}/docs COMPONENT program)

if(LUMO_BUILD_APP)
    set(share ${CMAKE_INSTALL_DATADIR})
    install(TARGETS lumo-import RUNTIME COMPONENT program)
    configure_file(packaging/lumo-import.1.in ${PROJECT_BINARY_DIR}/lumo-import.1 @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/lumo-import.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
    install(FILES packaging/lumo-import.xml DESTINATION ${share}/mime/packages COMPONENT program)
    install(FILES packaging/completion.bash COMPONENT program
        DESTINATION ${share}/bash-completion/completions RENAME lumo-import)
    install(FILES packaging/completion.zsh COMPONENT program
        DESTINATION ${share}/zsh/vendor-completions RENAME _lumo-import)
    install(FILES packaging/completion.fish COMPONENT program
        DESTINATION ${share}/fish/vendor_completions.d RENAME lumo-import.fish)
endif()
