// kyLinearPrint.cpp - the printed forms of the kyLinear types.
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearVector.h>

#include <locale>
#include <ostream>
#include <sstream>

namespace kyLinear {

namespace {

template <class T>
std::ostream& printTriple(std::ostream& os, const char* name, T x, T y, T z) {
    return os << name << '(' << x << ',' << y << ',' << z << ')';
}

// Rows of r columns, values joined by "," and each row ended by a line break.
template <class M>
std::ostream& printMatrix(std::ostream& os, const char* name, const M& m, int rows, int cols) {
    os << name << "(\n";
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            if (j > 0) {
                os << ',';
            }
            os << m(i, j);
        }
        os << '\n';
    }
    return os << ')';
}

// toString: default formatting, and the classic locale so the text never depends on the
// global C++ locale the application may have installed.
template <class V>
std::string format(const V& value) {
    std::ostringstream os;
    os.imbue(std::locale::classic());
    os << value;
    return os.str();
}

} // namespace

std::ostream& operator<<(std::ostream& os, const Point& p) {
    return printTriple(os, "Point", p.x, p.y, p.z);
}
std::ostream& operator<<(std::ostream& os, const PointFlt& p) {
    return printTriple(os, "PointFlt", p.x, p.y, p.z);
}
std::ostream& operator<<(std::ostream& os, const Vector& v) {
    return printTriple(os, "Vector", v.x, v.y, v.z);
}
std::ostream& operator<<(std::ostream& os, const VectorFlt& v) {
    return printTriple(os, "VectorFlt", v.x, v.y, v.z);
}
std::ostream& operator<<(std::ostream& os, const Normal& n) {
    return printTriple(os, "Normal", n.x(), n.y(), n.z());
}
std::ostream& operator<<(std::ostream& os, const Point2& p) {
    return os << "Point2(" << p.x << ',' << p.y << ')';
}
std::ostream& operator<<(std::ostream& os, const Line& line) {
    return os << "Line(" << line.point << ',' << line.direction << ')';
}
std::ostream& operator<<(std::ostream& os, const AffineMatrix& m) {
    return printMatrix(os, "AffineMatrix", m, 4, 3);
}
std::ostream& operator<<(std::ostream& os, const ProjMatrix& m) {
    return printMatrix(os, "ProjMatrix", m, 4, 4);
}
std::ostream& operator<<(std::ostream& os, const ProjMatrixFlt& m) {
    return printMatrix(os, "ProjMatrixFlt", m, 4, 4);
}

std::string toString(const Point& p) {
    return format(p);
}
std::string toString(const PointFlt& p) {
    return format(p);
}
std::string toString(const Vector& v) {
    return format(v);
}
std::string toString(const VectorFlt& v) {
    return format(v);
}
std::string toString(const Normal& n) {
    return format(n);
}
std::string toString(const Point2& p) {
    return format(p);
}
std::string toString(const Line& line) {
    return format(line);
}
std::string toString(const AffineMatrix& m) {
    return format(m);
}
std::string toString(const ProjMatrix& m) {
    return format(m);
}
std::string toString(const ProjMatrixFlt& m) {
    return format(m);
}

} // namespace kyLinear
