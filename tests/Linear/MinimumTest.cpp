// MinimumTest.cpp - bracketing minima of one-dimensional functions.
#include <Base/Linear/kyLinearMinimum.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace kyLinear;

namespace {

// Wraps a lambda and counts the evaluations.
class Function : public evalFunction {
public:
    explicit Function(std::function<double(double)> f) : f_(std::move(f)) {}
    double eval(double x) override {
        ++calls;
        return f_(x);
    }
    int calls = 0;

private:
    std::function<double(double)> f_;
};

// The bracket's promises: b strictly between a and c, f(b) <= f(a), f(b) < f(c), and the
// values are the function's.
void expectBracket(Function& f, double a, double b, double c, double fa, double fb, double fc) {
    EXPECT_TRUE((a < b && b < c) || (a > b && b > c)) << a << " " << b << " " << c;
    EXPECT_LE(fb, fa);
    EXPECT_LT(fb, fc);
    EXPECT_EQ(fa, f.eval(a));
    EXPECT_EQ(fb, f.eval(b));
    EXPECT_EQ(fc, f.eval(c));
}

} // namespace

TEST(LinearMinimum, BracketsFromEitherSide) {
    struct Case {
        std::function<double(double)> f;
        double a, b, minimum;
    };
    const auto parabola = [](double x) { return (x - 3) * (x - 3); };
    const Case cases[] = {
        {parabola, 0, 1, 3},
        {parabola, 10, 9, 3}, // downhill towards smaller x
        {parabola, 1, 0, 3},  // uphill first: the points are swapped
        {[](double x) { return std::cos(x); }, 0.5, 1.0, 3.14159265358979},
        {[](double x) { return std::fabs(x + 100); }, 0, 0.001, -100},
        {[](double x) { return x * x * x * x - 2 * x; }, -5, -4, std::cbrt(0.5)},
        {[](double x) { return std::exp(x) - 5 * x; }, 0, 0.1, std::log(5.0)},
        {[](double x) { return -1 / (1 + (x - 1e4) * (x - 1e4)); }, 9000, 9001, 1e4},
    };
    for (const Case& k : cases) {
        Function f(k.f);
        double a = k.a, b = k.b, c, fa, fb, fc;
        ASSERT_TRUE(minimumBracket(f, a, b, c, fa, fb, fc)) << k.minimum;
        expectBracket(f, a, b, c, fa, fb, fc);
        EXPECT_TRUE(std::fmin(a, c) <= k.minimum && k.minimum <= std::fmax(a, c))
            << k.minimum << " not in " << a << " " << c;
    }
}

// No minimum, a flat function, equal or non-finite start points, a function that turns NaN or
// infinite: false, within the evaluation budget (none for bad start points).
TEST(LinearMinimum, ReportsWhatCannotBeBracketed) {
    const auto falling = [](double x) { return -x; };
    const struct {
        std::function<double(double)> f;
        double a, b;
        int budget, maxCalls;
    } cases[] = {
        {falling, 0, 1, 200, 200},
        {[](double) { return 4.0; }, 0, 1, 50, 50},
        {[](double x) { return x * x; }, 2, 2, 200, 0},
        {[](double x) { return x * x; }, std::nan(""), 1, 200, 0},
        {[](double x) { return x * x; }, 0, HUGE_VAL, 200, 0},
        {[](double x) { return x > 5 ? std::nan("") : -x; }, 0, 1, 200, 200},
        {[](double x) { return x > 5 ? HUGE_VAL : -x; }, 0, 1, 200, 200},
    };
    for (const auto& k : cases) {
        Function f(k.f);
        double a = k.a, b = k.b, c, fa, fb, fc;
        EXPECT_FALSE(minimumBracket(f, a, b, c, fa, fb, fc, k.budget)) << &k - cases;
        EXPECT_LE(f.calls, k.maxCalls) << &k - cases;
    }
}
