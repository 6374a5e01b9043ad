// linear_bench.cpp - kyLinear matrix inversion and point transformation, side by side with
// Eigen in the same run. The shared main prints the speed ratio of the medians (Eigen time /
// Base time: above 1 means Base is faster).
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearProjMatrix.h>

#include <kyBenchSupport.h>

#if defined(KY_BENCH_HAVE_EIGEN)
#include <Eigen/Geometry>
#include <Eigen/LU>
#endif

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using namespace kyLinear;

namespace {

constexpr int kMatrices = 1024;  // matrices inverted per benchmark iteration
constexpr int kPoints = 1000000; // points transformed per benchmark iteration

double uniform(std::mt19937_64& gen, double lo, double hi) {
    return lo + (hi - lo) * (static_cast<double>(gen() >> 11) * 0x1.0p-53);
}

// The same random inputs for both libraries.
struct Inputs {
    std::vector<AffineMatrix> affine;
    std::vector<AffineMatrix> rigid;
    std::vector<ProjMatrix> proj;
    std::vector<Point> points;
    AffineMatrix transform;
    ProjMatrix projection;

    Inputs() {
        std::mt19937_64 gen(2024);
        while (static_cast<int>(affine.size()) < kMatrices) {
            AffineMatrix m;
            for (int i = 0; i < 4; ++i) {
                for (int j = 0; j < 3; ++j) {
                    m(i, j) = uniform(gen, -2, 2);
                }
            }
            if (std::fabs(m.det3x3()) > 0.05) {
                affine.push_back(m);
            }
        }
        while (static_cast<int>(rigid.size()) < kMatrices) {
            AffineMatrix m;
            const Normal axis(uniform(gen, -1, 1), uniform(gen, -1, 1), uniform(gen, -1, 1));
            m.rotate(uniform(gen, -3, 3), axis)
                .translate(Vector(uniform(gen, -9, 9), uniform(gen, -9, 9), uniform(gen, -9, 9)));
            rigid.push_back(m);
        }
        while (static_cast<int>(proj.size()) < kMatrices) {
            ProjMatrix m;
            for (int i = 0; i < 4; ++i) {
                for (int j = 0; j < 4; ++j) {
                    m(i, j) = uniform(gen, -2, 2);
                }
            }
            if (std::fabs(m.det4x4()) > 0.05) {
                proj.push_back(m);
            }
        }
        points.resize(kPoints);
        for (Point& p : points) {
            p.set(uniform(gen, -10, 10), uniform(gen, -10, 10), uniform(gen, -10, 10));
        }
        transform.rotate(0.7, Normal(1, 2, 3))
            .scale(Vector(1.5, 0.5, 2))
            .translate(Vector(1, 2, 3));
        // A perspective projection (looking down -z) after a rotation, so w varies per point.
        const double n = 1, f = 100;
        projection =
            ProjMatrix(transform) * ProjMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -(f + n) / (f - n), -1,
                                               0, 0, -2 * f * n / (f - n), 0);
    }
};

const Inputs& inputs() {
    static const Inputs data;
    return data;
}

// ---- Base ----------------------------------------------------------------------------------

void baseAffineInverse(benchmark::State& state) {
    const auto& in = inputs().affine;
    std::vector<AffineMatrix> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i].inverse();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void baseRigidInverse(benchmark::State& state) {
    const auto& in = inputs().rigid;
    std::vector<AffineMatrix> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i];
            out[i].invertFast();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void baseProjInverse(benchmark::State& state) {
    const auto& in = inputs().proj;
    std::vector<ProjMatrix> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i].inverse();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

// The in-place form, which saves inverse()'s temporary.
void baseProjInvert(benchmark::State& state) {
    const auto& in = inputs().proj;
    std::vector<ProjMatrix> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i];
            out[i].invert();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void baseAffinePoints(benchmark::State& state) {
    const auto& in = inputs().points;
    const AffineMatrix m = inputs().transform;
    std::vector<Point> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i] * m;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void baseProjPoints(benchmark::State& state) {
    const auto& in = inputs().points;
    const ProjMatrix m = inputs().projection;
    std::vector<Point> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i] * m;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

// ---- Eigen ---------------------------------------------------------------------------------

#if defined(KY_BENCH_HAVE_EIGEN)

// Eigen is column-vector: its matrix is the transpose of ours.
Eigen::Affine3d toEigen(const AffineMatrix& m) {
    Eigen::Affine3d t = Eigen::Affine3d::Identity();
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            t.linear()(j, i) = m(i, j);
        }
        t.translation()(i) = m(3, i);
    }
    return t;
}

Eigen::Matrix4d toEigen(const ProjMatrix& m) {
    Eigen::Matrix4d t;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            t(j, i) = m(i, j);
        }
    }
    return t;
}

void eigenAffineInverse(benchmark::State& state) {
    std::vector<Eigen::Affine3d> in;
    for (const AffineMatrix& m : inputs().affine) {
        in.push_back(toEigen(m));
    }
    std::vector<Eigen::Affine3d> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i].inverse(Eigen::Affine);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void eigenRigidInverse(benchmark::State& state) {
    std::vector<Eigen::Isometry3d> in;
    for (const AffineMatrix& m : inputs().rigid) {
        in.emplace_back(toEigen(m).matrix());
    }
    std::vector<Eigen::Isometry3d> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i].inverse();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void eigenProjInverse(benchmark::State& state) {
    std::vector<Eigen::Matrix4d> in;
    for (const ProjMatrix& m : inputs().proj) {
        in.push_back(toEigen(m));
    }
    std::vector<Eigen::Matrix4d> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = in[i].inverse();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

void eigenAffinePoints(benchmark::State& state) {
    std::vector<Eigen::Vector3d> in;
    in.reserve(kPoints);
    for (const Point& p : inputs().points) {
        in.emplace_back(p.x, p.y, p.z);
    }
    const Eigen::Affine3d m = toEigen(inputs().transform);
    std::vector<Eigen::Vector3d> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = m * in[i];
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

// Eigen's bulk form: all points as the columns of one 3 x N matrix.
void eigenAffinePointsBulk(benchmark::State& state) {
    Eigen::Matrix3Xd in(3, kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const Point& p = inputs().points[i];
        in.col(i) << p.x, p.y, p.z;
    }
    const Eigen::Affine3d m = toEigen(inputs().transform);
    Eigen::Matrix3Xd out(3, kPoints);
    for (auto _ : state) {
        out.noalias() = m.linear() * in;
        out.colwise() += m.translation();
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void eigenProjPoints(benchmark::State& state) {
    std::vector<Eigen::Vector3d> in;
    in.reserve(kPoints);
    for (const Point& p : inputs().points) {
        in.emplace_back(p.x, p.y, p.z);
    }
    const Eigen::Matrix4d m = toEigen(inputs().projection);
    std::vector<Eigen::Vector3d> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            out[i] = (m * in[i].homogeneous()).hnormalized();
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

#endif

// Cases are named "<case>/base" and "<case>/eigen" for the shared main, which prints the
// ratio of the medians (Eigen time / Base time) against the goal of 0.8.
const bool kRegistered = [] {
    struct Pair {
        const char* name;
        void (*base)(benchmark::State&);
        void (*eigen)(benchmark::State&);
    };
#if defined(KY_BENCH_HAVE_EIGEN)
    const Pair pairs[] = {
        {"affine_inverse", baseAffineInverse, eigenAffineInverse},
        {"rigid_inverse", baseRigidInverse, eigenRigidInverse},
        {"proj_inverse", baseProjInverse, eigenProjInverse},
        {"proj_invert", baseProjInvert, eigenProjInverse},
        {"affine_points_1M", baseAffinePoints, eigenAffinePoints},
        {"proj_points_1M", baseProjPoints, eigenProjPoints},
    };
#else
    const Pair pairs[] = {
        {"affine_inverse", baseAffineInverse, nullptr},
        {"rigid_inverse", baseRigidInverse, nullptr},
        {"proj_inverse", baseProjInverse, nullptr},
        {"proj_invert", baseProjInvert, nullptr},
        {"affine_points_1M", baseAffinePoints, nullptr},
        {"proj_points_1M", baseProjPoints, nullptr},
    };
#endif
    for (const Pair& p : pairs) {
        const std::string name(p.name);
        benchmark::RegisterBenchmark((name + "/base").c_str(), p.base);
        if (p.eigen != nullptr) {
            benchmark::RegisterBenchmark((name + "/eigen").c_str(), p.eigen);
        }
        kybench::goal(name, "eigen", 0.8);
    }
#if defined(KY_BENCH_HAVE_EIGEN)
    // Eigen on one 3 x N matrix of all points: shown, not a goal.
    benchmark::RegisterBenchmark("affine_points_1M/eigen_bulk", eigenAffinePointsBulk);
    kybench::goal("affine_points_1M", "eigen_bulk", 0);
#endif
    return true;
}();

} // namespace

// Many repetitions: the in-memory timings are short and the machine is shared.
int main(int argc, char** argv) {
    return kybench::runBenchmarks(argc, argv, 15);
}
