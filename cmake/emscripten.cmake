# emscripten as Debian packages it, with a standard library that knows C++20: the headers of LLVM 16,
# and of its archive what the older one lacks. That archive is built without exceptions, so it stands last.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
set(newer /usr/lib/llvm-16)
set(older /usr/share/emscripten/cache/sysroot/lib/wasm32-emscripten)
set(CMAKE_CXX_FLAGS_INIT "-fwasm-exceptions -nostdinc++ -isystem ${newer}/include/wasm32-wasi/c++/v1")
set(CMAKE_EXE_LINKER_FLAGS_INIT -fwasm-exceptions)
set(CMAKE_CXX_STANDARD_LIBRARIES
    "${older}/libc++-except.a ${older}/libc++abi-except.a ${newer}/lib/wasm32-wasi/libc++.a")
