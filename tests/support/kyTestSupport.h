// kyTestSupport.h - helpers shared by the test suites of every area.
#ifndef KY_TESTS_SUPPORT_H
#define KY_TESTS_SUPPORT_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "kyTestProcess.h"

namespace kytest {

/// An element type with non-trivial construction, copy and destruction that counts its live
/// instances, so that tests can prove nothing leaks or is destroyed twice. It holds no pointer
/// into itself, so containers may relocate it by copying its bytes.
class Counted {
public:
    static int live;        ///< instances alive now
    static int constructed; ///< instances ever made

    Counted() : value_(0), alive_(kAlive) { ++live, ++constructed; }
    Counted(int value) : value_(value), alive_(kAlive) { ++live, ++constructed; } // NOLINT
    Counted(const Counted& other) : value_(other.check()), alive_(kAlive) { ++live, ++constructed; }
    Counted& operator=(const Counted& other) {
        check();
        value_ = other.check();
        return *this;
    }
    ~Counted() {
        check();
        alive_ = kDead;
        --live;
    }

    int value() const { return check(); }
    friend bool operator==(const Counted& a, const Counted& b) { return a.value() == b.value(); }
    friend bool operator!=(const Counted& a, const Counted& b) { return !(a == b); }
    friend bool operator<(const Counted& a, const Counted& b) { return a.value() < b.value(); }

private:
    static constexpr std::uint32_t kAlive = 0xA11CEu;
    static constexpr std::uint32_t kDead = 0xDEADu;
    // Using a destroyed or never-built object is a test failure, not undefined behaviour
    // that may pass unnoticed.
    int check() const {
        EXPECT_EQ(alive_, kAlive) << "use of a dead or unconstructed element";
        return value_;
    }
    int value_;
    std::uint32_t alive_;
};

inline int Counted::live = 0;
inline int Counted::constructed = 0;

/// A deterministic random source; every test seeds its own.
class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    /// Uniform in [lo, hi].
    int range(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(engine_); }
    bool chance(int percent) { return range(0, 99) < percent; }
    std::mt19937& engine() { return engine_; }

private:
    std::mt19937 engine_;
};

/// Sets (or, with a null value, removes) an environment variable for the life of the object
/// and restores the old state afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        const char* old = std::getenv(name);
        hadOld_ = old != nullptr;
        if (hadOld_) {
            old_ = old;
        }
        set(value);
    }
    ~ScopedEnv() { set(hadOld_ ? old_.c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void set(const char* value) { setEnvironment(name_.c_str(), value); }
    std::string name_;
    std::string old_;
    bool hadOld_ = false;
};

/// A fresh temporary directory per test, removed with everything in it afterwards.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(info->test_suite_name()) + "." + info->name();
        for (char& c : name) {
            if (c == '/' || c == '\\') {
                c = '_';
            }
        }
        std::random_device entropy;
        dir_ = std::filesystem::temp_directory_path() /
               ("kytest-" + name + "-" + std::to_string(entropy()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    const std::filesystem::path& dir() const { return dir_; }
    std::string path(const std::string& leaf) const { return (dir_ / leaf).string(); }

private:
    std::filesystem::path dir_;
};

} // namespace kytest

#endif // KY_TESTS_SUPPORT_H
