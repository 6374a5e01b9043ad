// FunctionTest.cpp - tests of kyRTB bound functions: queries, calls, copies.
#include <Base/RTB/kyRTBFunction.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

int gCalls = 0;
void ping() {
    ++gCalls;
}
void pong() {
    gCalls += 10;
}
void add(int v) {
    gCalls += v;
}

struct Target {
    int sum = 0;
    void add(int v) { sum += v; }
    void addTwice(int v) { sum += 2 * v; }
    void ping() { ++sum; }
};

class Plain : public kyRTB::FunctionArg<int> {
public:
    void call(int) override {}
};

TEST(FunctionTest, BaseAnswersNo) {
    Plain f;
    int x = 0;
    EXPECT_FALSE(f.isGlobalFunction(reinterpret_cast<void*>(&ping)));
    EXPECT_FALSE(f.isGlobalFunction(nullptr));
    EXPECT_FALSE(f.isInstance(&x));
    EXPECT_FALSE(f.isInstance(nullptr));
}

TEST(FunctionTest, VoidGlobal) {
    gCalls = 0;
    kyRTB::FunctionVoidGlobal f(&ping);
    EXPECT_TRUE(f.isGlobalFunction(reinterpret_cast<void*>(&ping)));
    EXPECT_FALSE(f.isGlobalFunction(reinterpret_cast<void*>(&pong)));
    EXPECT_FALSE(f.isInstance(reinterpret_cast<void*>(&ping)));
    f.call();
    f();
    EXPECT_EQ(gCalls, 2);

    // Copyable and assignable.
    kyRTB::FunctionVoidGlobal g(f);
    g.call();
    EXPECT_EQ(gCalls, 3);
    kyRTB::FunctionVoidGlobal h(&pong);
    h = f;
    EXPECT_TRUE(h.isGlobalFunction(reinterpret_cast<void*>(&ping)));
    h.call();
    EXPECT_EQ(gCalls, 4);

    kyRTB::FunctionVoidGlobal null(nullptr);
    null.call(); // nothing to call
    EXPECT_EQ(gCalls, 4);
}

TEST(FunctionTest, ArgGlobal) {
    gCalls = 0;
    kyRTB::FunctionArgGlobal<int> f(&add);
    EXPECT_TRUE(f.isGlobalFunction(reinterpret_cast<void*>(&add)));
    EXPECT_FALSE(f.isGlobalFunction(reinterpret_cast<void*>(&ping)));
    f.call(5);
    f(6);
    EXPECT_EQ(gCalls, 11);
}

TEST(FunctionTest, ArgMember) {
    Target t;
    Target other;
    kyRTB::FunctionArgMember<int, Target> f(&t, &Target::add);
    EXPECT_TRUE(f.isInstance(&t));
    EXPECT_FALSE(f.isInstance(&other));
    EXPECT_FALSE(f.isGlobalFunction(reinterpret_cast<void*>(&add)));
    EXPECT_EQ(f.instance(), &t);
    f.call(3);
    EXPECT_EQ(t.sum, 3);

    kyRTB::FunctionArgMember<int, Target> g(&other, &Target::addTwice);
    g = f; // now the same receiver and member
    EXPECT_TRUE(g.isInstance(&t));
    g.call(4);
    EXPECT_EQ(t.sum, 7);
    EXPECT_EQ(other.sum, 0);

    // Through the base class, as a signal calls it.
    std::unique_ptr<kyRTB::FunctionBase> owned(
        new kyRTB::FunctionArgMember<int, Target>(&other, &Target::addTwice));
    static_cast<kyRTB::FunctionArg<int>*>(owned.get())->call(5);
    EXPECT_EQ(other.sum, 10);
}

TEST(FunctionTest, VoidMember) {
    Target t;
    kyRTB::FunctionVoidMember<Target> f(&t, &Target::ping);
    EXPECT_TRUE(f.isInstance(&t));
    EXPECT_FALSE(f.isGlobalFunction(nullptr));
    f.call();
    f();
    EXPECT_EQ(t.sum, 2);
}

} // namespace
