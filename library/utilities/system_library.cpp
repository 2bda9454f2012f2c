// Shared libraries on POSIX systems, apart, as a program without any shall not know of them.
#ifndef _WIN32
#include <dlfcn.h>

#include "library/utilities/system.h"

namespace lumo::system {

Library::Library(const char* name) : library_(::dlopen(name, RTLD_NOW | RTLD_LOCAL)) {}

void* Library::address(const char* name) const {
    return library_ == nullptr ? nullptr : ::dlsym(library_, name);
}

}  // namespace lumo::system

#endif
