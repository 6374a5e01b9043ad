// kyUtilCompiler.h - compiler hints the library's hot paths use.
#ifndef KY_UTIL_SHARED_COMPILER_H
#define KY_UTIL_SHARED_COMPILER_H

/// Keeps a function out of line. For the general or failing path of a function called per
/// value or per object: out of line, its calls and its locals no longer make the common path
/// save registers on entry and restore them on exit.
#if defined(__GNUC__)
#define KY_NOINLINE __attribute__((noinline))
#elif defined(_MSC_VER)
#define KY_NOINLINE __declspec(noinline)
#else
#define KY_NOINLINE
#endif

#endif // KY_UTIL_SHARED_COMPILER_H
