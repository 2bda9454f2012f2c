// The language that the library is written in.
#pragma once

#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "Lumo import needs C++20: compile with -std=c++20 or later"
#endif
