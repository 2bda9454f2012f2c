// The mutex that the library locks with, where the standard library may know no threads.
#pragma once

#include <version>

#ifndef _LIBCPP_HAS_NO_THREADS
#include <mutex>
#endif

namespace lumo {

#ifdef _LIBCPP_HAS_NO_THREADS
/// Nobody waits for a lock where there are no threads.
struct Mutex {
    void lock() {}
    void unlock() {}
};
#else
/// A mutex of the standard library, or the one above.
using Mutex = std::mutex;
#endif

}  // namespace lumo
