// kyUtilIntRange2d.h - kyUtil::IntRange2d, an integer rectangle, and the orders packing sorts by.
#ifndef KY_UTILITY_INTRANGE2D_H
#define KY_UTILITY_INTRANGE2D_H

namespace kyUtil {

/// An axis-aligned integer rectangle, half-open: it covers x in [xMin, xMax) and y in
/// [yMin, yMax). A plain value; an inverted rectangle has a negative extent.
struct IntRange2d {
    int xMin = 0;
    int yMin = 0;
    int xMax = 0;
    int yMax = 0;

    constexpr IntRange2d() = default;
    constexpr IntRange2d(int x0, int y0, int x1, int y1) : xMin(x0), yMin(y0), xMax(x1), yMax(y1) {}

    constexpr int width() const { return xMax - xMin; }
    constexpr int height() const { return yMax - yMin; }
    /// 64-bit, so that large rectangles do not overflow.
    constexpr long long area() const {
        return static_cast<long long>(width()) * static_cast<long long>(height());
    }

    /// Strict weak orders for sorting rectangles before packing them: taller first (then
    /// wider first), and larger area first.
    static bool tallerFirst(const IntRange2d& a, const IntRange2d& b) {
        return a.height() != b.height() ? a.height() > b.height() : a.width() > b.width();
    }
    static bool largerFirst(const IntRange2d& a, const IntRange2d& b) {
        return a.area() > b.area();
    }
};

constexpr bool operator==(const IntRange2d& a, const IntRange2d& b) {
    return a.xMin == b.xMin && a.yMin == b.yMin && a.xMax == b.xMax && a.yMax == b.yMax;
}
constexpr bool operator!=(const IntRange2d& a, const IntRange2d& b) {
    return !(a == b);
}

} // namespace kyUtil

#endif // KY_UTILITY_INTRANGE2D_H
