// BaseExport.h - the one export macro of the Base library.
#ifndef KY_BASE_EXPORT_H
#define KY_BASE_EXPORT_H

/// Marks a class, function or variable as part of Base's binary interface. Everything else is
/// hidden (the library is compiled with -fvisibility=hidden).
#if defined(_WIN32)
#if defined(KY_BASE_BUILDING)
#define KY_BASE_API __declspec(dllexport)
#else
#define KY_BASE_API __declspec(dllimport)
#endif
#else
#define KY_BASE_API __attribute__((visibility("default")))
#endif

#endif // KY_BASE_EXPORT_H
