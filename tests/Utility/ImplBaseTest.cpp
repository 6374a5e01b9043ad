#include <Base/Utility/kyImplBase.h>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

struct CountingImpl : ky::ImplBase {
    explicit CountingImpl(int& destroyed) : destroyed_(destroyed) {}
    ~CountingImpl() override { ++destroyed_; }
    int& destroyed_;
};

} // namespace

TEST(ImplBase, DeletingThroughTheBaseRunsTheDerivedDestructor) {
    int destroyed = 0;
    ky::ImplBase* impl = new CountingImpl(destroyed);
    delete impl;
    EXPECT_EQ(destroyed, 1);
}

TEST(ImplBase, IsAnEmptyPolymorphicBase) {
    EXPECT_TRUE(std::has_virtual_destructor_v<ky::ImplBase>);
    EXPECT_TRUE(std::is_polymorphic_v<ky::ImplBase>);
    EXPECT_EQ(sizeof(ky::ImplBase), sizeof(void*)); // the vtable pointer only
}
