/// \file
/// What the shared libraries export. Everything else stays hidden.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
/// Marks a class or function as part of a library's interface. On a class it also exports the type
/// information and the virtual table, so that catching and dynamic_cast work across the library boundary.
#define VX_EXPORT __attribute__((visibility("default")))
#else
#define VX_EXPORT
#endif
