// The language that the library is written in, and what of it leaves a shared library.
#pragma once

#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "Lumo import needs C++20: compile with -std=c++20 or later"
#endif

/// Marks what can be called from outside a shared library; all else is hidden. Public headers mark
/// their namespace.
#define LUMO_API [[gnu::visibility("default")]]

/// Marks what is not, within such a namespace.
#define LUMO_HIDDEN [[gnu::visibility("hidden")]]
