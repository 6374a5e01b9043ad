// kyUtilBuildInfo.h - the build identification that the library exports.
#ifndef KY_UTILITY_BUILDINFO_H
#define KY_UTILITY_BUILDINFO_H

#include <Base/BaseExport.h>

// Written when the build is configured; read-only.
extern "C" {
/// Year, month, day, hour and minute (UTC) as 4-, 2-, 2-, 2- and 2-digit numbers separated by
/// single spaces, e.g. "2024 03 07 14 05".
KY_BASE_API extern const char gBuildDate[];
/// Seconds since 1970-01-01 00:00 UTC; the same moment as `gBuildDate`.
KY_BASE_API extern const long long gBuildTime;
/// The source-control revision: 9 lower-case hexadecimal digits ("000000000" when unknown).
KY_BASE_API extern const char gBuildChangeSet[];
/// The directory in which the library was built.
KY_BASE_API extern const char gBuildDirectory[];
/// Zero unless a release process sets it.
KY_BASE_API extern const double gCutIdentifier;
}

#endif // KY_UTILITY_BUILDINFO_H
