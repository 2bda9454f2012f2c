# Compressed files: only the header of zlib is needed here, the program loads it when it meets one.
find_path(LUMO_ZLIB_INCLUDE zlib.h)
mark_as_advanced(LUMO_ZLIB_INCLUDE)
if(LUMO_ZLIB_INCLUDE)
    set_source_files_properties(app/gzip.cpp PROPERTIES COMPILE_DEFINITIONS LUMO_HAS_ZLIB)
    target_include_directories(lumo_app SYSTEM PRIVATE ${LUMO_ZLIB_INCLUDE})
elseif(NOT LUMO_GZIP STREQUAL "AUTO")
    message(FATAL_ERROR "LUMO_GZIP is on, but zlib.h (zlib1g-dev) is not found")
endif()
