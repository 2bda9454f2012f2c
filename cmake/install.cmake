# What is installed, in three components: the program, what developing with the library takes, and
# the Python module. Everything finds its parts relative to itself, so the folder can be moved.
include(CMakePackageConfigHelpers)

install(TARGETS lumo_import EXPORT LumoTargets
    LIBRARY COMPONENT program NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
if(TARGET lumo_export)
    install(TARGETS lumo_export EXPORT LumoTargets ARCHIVE COMPONENT development)
endif()
include(cmake/headers.cmake)

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

# Installs the file compressed, under the name with .gz at its end; without a time, so that equal
# sources give equal packages.
function(lumo_install_compressed file name folder component)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    set(compressed ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed)
    execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# The licence and the list of changes, where every Debian package has its own.
function(lumo_install_papers component package)
    set(folder ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES LICENSE DESTINATION ${folder} RENAME copyright COMPONENT ${component})
    lumo_install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${folder} ${component})
endfunction()
lumo_install_papers(development liblumo-dev)

if(LUMO_BUILD_APP)
    set(share ${CMAKE_INSTALL_DATADIR})
    install(TARGETS lumo-import RUNTIME COMPONENT program)
    configure_file(packaging/lumo-import.1.in ${PROJECT_BINARY_DIR}/lumo-import.1 @ONLY)
    lumo_install_compressed(
        ${PROJECT_BINARY_DIR}/lumo-import.1 lumo-import.1 ${CMAKE_INSTALL_MANDIR}/man1 program)
    install(FILES packaging/completion.bash COMPONENT program
        DESTINATION ${share}/bash-completion/completions RENAME lumo-import)
    install(FILES packaging/completion.zsh COMPONENT program
        DESTINATION ${share}/zsh/vendor-completions RENAME _lumo-import)
    install(FILES packaging/completion.fish COMPONENT program
        DESTINATION ${share}/fish/vendor_completions.d RENAME lumo-import.fish)
    install(FILES README.md DESTINATION ${share}/doc/lumo-import COMPONENT program)
    install(DIRECTORY docs DESTINATION ${share}/doc/lumo-import COMPONENT program)
    lumo_install_papers(program lumo-import)
endif()
if(LUMO_BUILD_PYTHON)
    lumo_install_papers(python python3-lumo)
endif()
