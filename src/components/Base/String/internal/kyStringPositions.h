// kyStringPositions.h - position arithmetic shared by CString and IString.
#ifndef KY_STRING_INTERNAL_POSITIONS_H
#define KY_STRING_INTERNAL_POSITIONS_H

#include <Base/String/kyStringString.h>

#include <cstddef>
#include <limits>
#include <string>

namespace kyString {
namespace detail {

/// A standard-string position or count as the library's `unsigned int` (npos becomes
/// 0xFFFFFFFF).
inline unsigned int toUnsigned(std::size_t pos) {
    return pos == std::string::npos || pos > 0xFFFFFFFFu ? kNotFound
                                                         : static_cast<unsigned int>(pos);
}

/// The library's count as a standard-string count (0xFFFFFFFF becomes npos).
inline std::size_t toCount(unsigned int count) {
    return count == kToEnd ? std::string::npos : static_cast<std::size_t>(count);
}

/// The library's start position of a reverse search (0xFFFFFFFF becomes npos).
inline std::size_t toReverseStart(unsigned int start) {
    return start == kToEnd ? std::string::npos : static_cast<std::size_t>(start);
}

/// Clamps a standard-string size to what `unsigned int` counts can express.
inline unsigned int clampLength(std::size_t n) {
    return n >= 0xFFFFFFFFu ? 0xFFFFFFFEu : static_cast<unsigned int>(n);
}

} // namespace detail
} // namespace kyString

#endif // KY_STRING_INTERNAL_POSITIONS_H
