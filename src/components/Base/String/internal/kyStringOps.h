// kyStringOps.h - the editing, searching and comparison code that CString and IString share.
#ifndef KY_STRING_INTERNAL_OPS_H
#define KY_STRING_INTERNAL_OPS_H

#include <Base/String/internal/kyStringPositions.h>
#include <Base/String/kyStringCharacter.h>

#include <cstddef>
#include <string>
#include <type_traits>

namespace kyString {
namespace detail {

// Editing helpers over a standard string. Positions past the end leave the text alone (the
// standard operations would throw); counts running past the end are cut by the standard
// operations themselves.

template <class S>
void insertAt(S& s, unsigned int pos, const typename S::value_type* p, std::size_t n) {
    if (pos <= s.size()) {
        s.insert(static_cast<std::size_t>(pos), p, n);
    }
}

template <class S>
void replaceAt(S& s, unsigned int pos, unsigned int count, const typename S::value_type* p,
               std::size_t n) {
    if (pos <= s.size()) {
        s.replace(static_cast<std::size_t>(pos), toCount(count), p, n);
    }
}

template <class S>
void eraseAt(S& s, unsigned int pos, unsigned int count) {
    if (pos <= s.size()) {
        s.erase(static_cast<std::size_t>(pos), toCount(count));
    }
}

template <class S>
S substrOf(const S& s, unsigned int pos, unsigned int count) {
    if (pos > s.size()) {
        return S();
    }
    return s.substr(static_cast<std::size_t>(pos), toCount(count));
}

template <class S, class Pred>
unsigned int findIf(const S& s, Pred pred, unsigned int start) {
    for (std::size_t i = start; i < s.size(); ++i) {
        if (pred(s[i])) {
            return static_cast<unsigned int>(i);
        }
    }
    return kNotFound;
}

template <class S, class Pred>
unsigned int rfindIf(const S& s, Pred pred, unsigned int start) {
    if (s.empty()) {
        return kNotFound;
    }
    std::size_t i = start >= s.size() ? s.size() - 1 : static_cast<std::size_t>(start);
    for (;;) {
        if (pred(s[i])) {
            return static_cast<unsigned int>(i);
        }
        if (i == 0) {
            return kNotFound;
        }
        --i;
    }
}

template <class S, class Pred>
void stripLeading(S& s, Pred pred) {
    std::size_t n = 0;
    while (n < s.size() && pred(s[n])) {
        ++n;
    }
    s.erase(0, n);
}

template <class S, class Pred>
void stripTrailing(S& s, Pred pred) {
    std::size_t n = s.size();
    while (n > 0 && pred(s[n - 1])) {
        --n;
    }
    s.erase(n);
}

/// Code-unit order over the common length, then the shorter first: -1, 0 or 1. Units compare
/// as unsigned values (bytes above 127 sort after ASCII).
template <class S>
int compareUnits(const S& a, const S& b) {
    using C = typename S::value_type;
    using U = std::conditional_t<sizeof(C) == 1, unsigned char,
                                 std::conditional_t<sizeof(C) == 2, char16_t, char32_t>>;
    const std::size_t n = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < n; ++i) {
        const U x = static_cast<U>(a[i]);
        const U y = static_cast<U>(b[i]);
        if (x != y) {
            return x < y ? -1 : 1;
        }
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

template <class S>
S folded(const S& s) {
    S out(s);
    for (auto& c : out) {
        c = toLower(c);
    }
    return out;
}

template <class S>
bool allAscii(const S& s) {
    for (auto c : s) {
        if (!isAscii(c)) {
            return false;
        }
    }
    return true;
}

} // namespace detail
} // namespace kyString

#endif // KY_STRING_INTERNAL_OPS_H
