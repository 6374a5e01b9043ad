// kyStringFormatPosix.cpp - the wide printf convention of POSIX C libraries.
#include <Base/String/internal/kyStringFormatImpl.h>

namespace kyString {
namespace detail {

// C99 and glibc: in wide formats "%s" already takes a narrow string and "%S" (= "%ls") a wide
// one, which is the library's convention; no rewrite.
bool wideFormatNeedsRewrite() {
    return false;
}

} // namespace detail
} // namespace kyString
