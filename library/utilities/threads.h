// What every thread has of its own.
#pragma once

#include "library/utilities/system.h"

namespace lumo {

/// The calling thread's object of that type, made when it is first asked for and destroyed when the
/// thread ends.
template <class Object>
Object& OfThread() {
#ifdef __MINGW32__  // takes the memory of thread_local objects away before it destroys them
    static thread_local Object* object = nullptr;
    if (object == nullptr) {
        object = new Object;
        system::CallAtThreadEnd(
            +[](void* old) {
                object = nullptr;
                delete static_cast<Object*>(old);
            },
            object);
    }
    return *object;
#else
    static thread_local Object object;
    return object;
#endif
}

}  // namespace lumo
