// MacroSafetyTest.cpp - the public headers compile in a client that has <windows.h>'s min and
// max macros defined (no NOMINMAX), as Microsoft's compiler sees them.
#include <gtest/gtest.h>

// A client's own standard headers come first, as they would from its precompiled header; the
// macros below would otherwise break the standard library itself, not ours.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
#include <Base/Base.h>

namespace {

// Called as a client must while the macros stand: the accessor's name in parentheses.
double spanUnderMacros(const kyLinear::Range1d& r) {
    return (r.max)() - (r.min)();
}

#undef min
#undef max

TEST(MacroSafety, RangeAccessorsWorkWithAndWithoutTheMacros) {
    const kyLinear::Range1d r(2.0, 5.0);
    EXPECT_EQ(spanUnderMacros(r), 3.0);
    EXPECT_EQ(r.min(), 2.0);
    EXPECT_EQ(r.max(), 5.0);
}

} // namespace
