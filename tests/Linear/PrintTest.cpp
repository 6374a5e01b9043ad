// PrintTest.cpp - the exact printed forms of the printable kyLinear types.
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearVector.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

using namespace kyLinear;

namespace {

template <class T>
std::string streamed(const T& value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

// Checks operator<< and toString give the same text.
template <class T>
void expectText(const T& value, const std::string& text) {
    EXPECT_EQ(streamed(value), text);
    EXPECT_EQ(toString(value), text);
}

// A numeric punctuation with a decimal comma, as some applications install globally.
struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

} // namespace

TEST(LinearPrint, PointsVectorsAndNormals) {
    expectText(Point(1.5, -2, 0.25), "Point(1.5,-2,0.25)");
    expectText(PointFlt(1.5f, -2, 0.25f), "PointFlt(1.5,-2,0.25)");
    expectText(Vector(0, -0.5, 1e-20), "Vector(0,-0.5,1e-20)");
    expectText(VectorFlt(4, 5, 6), "VectorFlt(4,5,6)");
    expectText(Normal(3, 0, 4), "Normal(0.6,0,0.8)");
    expectText(Point2(-0.125, 1e6), "Point2(-0.125,1e+06)");
}

TEST(LinearPrint, Line) {
    expectText(Line(Point(0, 0, 1), Normal(2, 0, 0)), "Line(Point(0,0,1),Normal(1,0,0))");
    expectText(Line(), "Line(Point(0,0,0),Normal(0,0,0))");
}

TEST(LinearPrint, AffineMatrix) {
    expectText(AffineMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10.5, -11, 12),
               "AffineMatrix(\n1,2,3\n4,5,6\n7,8,9\n10.5,-11,12\n)");
}

TEST(LinearPrint, ProjMatrices) {
    expectText(ProjMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, -16.25),
               "ProjMatrix(\n1,2,3,4\n5,6,7,8\n9,10,11,12\n13,14,15,-16.25\n)");
    expectText(ProjMatrixFlt(ProjMatrix(0.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2)),
               "ProjMatrixFlt(\n0.5,0,0,0\n0,1,0,0\n0,0,1,0\n0,0,0,2\n)");
}

TEST(LinearPrint, StreamFormattingIsTheCallers) {
    std::ostringstream os;
    os << std::setprecision(3) << Point(1.23456, 2, 1.0 / 3);
    EXPECT_EQ(os.str(), "Point(1.23,2,0.333)");
    std::ostringstream fixed;
    fixed << std::fixed << std::setprecision(1) << Point2(1, 2.25);
    EXPECT_EQ(fixed.str(), "Point2(1.0,2.2)");
    // Default formatting: six significant digits.
    EXPECT_EQ(toString(Point(1.0 / 3, 2.0 / 3, 1234567)), "Point(0.333333,0.666667,1.23457e+06)");
}

TEST(LinearPrint, ToStringIgnoresTheGlobalLocale) {
    const std::locale comma(std::locale::classic(), new CommaDecimal);
    const std::locale saved = std::locale::global(comma);
    const std::string text = toString(Point(1.5, 2, 3));
    std::ostringstream os; // a new stream takes the global locale
    os << Point(1.5, 2, 3);
    std::locale::global(saved);
    EXPECT_EQ(text, "Point(1.5,2,3)");
    EXPECT_EQ(os.str(), "Point(1,5,2,3)");
}
