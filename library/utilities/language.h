// The language that the library is written in, and what of it leaves a shared library.
#pragma once

#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "Lumo import needs C++20: compile with -std=c++20 or later"
#endif

/// Marks what can be called from outside a shared library; all else is hidden. Public headers mark
/// their namespace. Windows exports nothing: the library is linked into programs there.
#if defined(_WIN32)
#define LUMO_API
#else
#define LUMO_API [[gnu::visibility("default")]]
#endif

/// Marks what is not, within such a namespace.
#if defined(_WIN32)
#define LUMO_HIDDEN
#else
#define LUMO_HIDDEN [[gnu::visibility("hidden")]]
#endif

/// Marks what is rare, and is not to make its callers larger.
#if defined(_MSC_VER)
#define LUMO_NOINLINE __declspec(noinline)
#else
#define LUMO_NOINLINE [[gnu::noinline]]
#endif

/// The type behind va_list, without a header.
#if defined(_MSC_VER)
#define LUMO_VA_LIST char*
#else
#define LUMO_VA_LIST __builtin_va_list
#endif

/// Marks a function whose format, the argument of that number, is one of printf, for the compiler
/// to hold the arguments behind it to.
#if defined(_MSC_VER)
#define LUMO_PRINTF(formatIndex)
#elif defined(__MINGW32__) && !defined(__clang__)
#define LUMO_PRINTF(formatIndex) __attribute__((format(gnu_printf, formatIndex, (formatIndex) + 1)))
#else
#define LUMO_PRINTF(formatIndex) __attribute__((format(printf, formatIndex, (formatIndex) + 1)))
#endif

/// All names of the library.
namespace LUMO_API lumo {}
