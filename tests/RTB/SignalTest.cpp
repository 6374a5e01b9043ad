// SignalTest.cpp - kyRTB signal rules the reference model does not reach: lookups by free
// function and by receiver, the accessors of ties and locks, failure paths and the kinds of
// callable. Ties, holds and destroying a signal during emission are the model's.
#include <Base/RTB/kyRTBSignal.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using kyRTB::Connection;
using kyRTB::Signal;

struct Receiver {
    std::vector<int> got;
    kyRTB::Signal<> tracker;
    void onInt(int v) { got.push_back(v); }
    void onPing() { got.push_back(-1); }
    // The lookup by receiver skips items waiting for destruction.
    void quit() {
        signal->disconnectInstance(this);
        found = signal->findInstance(this);
    }
    kyRTB::Signal<>* signal = nullptr;
    Connection* found = nullptr;
};

TEST(SignalTest, UnknownNullOrSaturatedConnections) {
    Signal<int> s, other;
    Signal<> v;
    Receiver x;
    Receiver* none = nullptr;
    s.emit(1); // nothing to call
    EXPECT_TRUE(!s.isConnected() && s.isBlocked(nullptr));
    for (Connection* c :
         {s.connect(none, &Receiver::onInt),
          s.connect(&x, static_cast<void (Receiver::*)(int)>(nullptr)),
          s.connect(static_cast<void (*)(int)>(nullptr)), s.addCallback(nullptr),
          s.addCallback(nullptr, other), s.connect(none, &Receiver::onInt, x.tracker),
          v.connect(none, &Receiver::onPing), v.connect(none, &Receiver::onPing, x.tracker),
          v.connect(static_cast<void (*)()>(nullptr))}) {
        EXPECT_EQ(c, nullptr);
    }
    EXPECT_EQ(s.numConnections() + v.numConnections(), 0);

    Connection* mine = s.connect([](int) {});
    Connection* theirs = other.connect([](int) {});
    EXPECT_FALSE(s.isBlocked(mine));
    EXPECT_TRUE(s.isBlocked(theirs) && s.isBlocked(nullptr)); // kept: unknown counts as blocked
    s.block(theirs); // operations on a foreign connection are ignored
    EXPECT_EQ(theirs->blockCount(), 0u);
    s.disconnect(theirs);
    s.unblock(theirs);
    s.disconnect(static_cast<Connection*>(nullptr));
    EXPECT_EQ(other.numConnections() + s.numConnections(), 2);
    for (int i = 0; i < 70000; ++i) {
        mine->block();
    }
    EXPECT_EQ(mine->blockCount(), 65535u);
}

// Static members are plain functions, as free functions are.
struct Global {
    static inline int calls = 0;
    static void ping() { ++calls; }
    static void other() { calls += 100; }
    static void add(int v) { calls += v; }
    // Still linked, marked destroyed: the lookup by function still finds it.
    static void quit() {
        signal->disconnect(&quit);
        found = signal->find(&quit);
    }
    static inline Signal<>* signal = nullptr;
    static inline Connection* found = nullptr;
};
// Lookups by free function (the newest first) and by receiver, and the ends of a tie.
TEST(SignalTest, LookupsAndTies) {
    Global::calls = 0;
    Signal<> v;
    Connection* first = v.connect(&Global::ping);
    EXPECT_EQ(static_cast<kyRTB::FunctionVoidGlobal*>(first->callback())->function(),
              &Global::ping);
    Connection* second = v.connect(&Global::ping);
    v.connect(&Global::other);
    v();
    EXPECT_EQ(Global::calls, 102);
    EXPECT_EQ(v.find(&Global::ping), second);
    v.disconnect(&Global::ping);
    EXPECT_EQ(v.find(&Global::ping), first);
    v.disconnect(&Global::ping);
    v.disconnect(&Global::ping); // nothing left to find: ignored
    EXPECT_EQ(v.find(&Global::ping), nullptr);
    EXPECT_FALSE(v.find(&Global::other)->callback()->isInstance(nullptr));
    Signal<int> s;
    Connection* add = s.connect(&Global::add);
    s(4);
    EXPECT_TRUE(Global::calls == 106 && s.find(&Global::add) == add);

    Receiver x;
    Connection* member = s.connect(&x, &Receiver::onInt);
    using Member = kyRTB::FunctionArgMember<int, Receiver>;
    EXPECT_EQ(static_cast<Member*>(member->callback())->instance(), &x);
    s.connect([&](int) { s.disconnectInstance(&x); });               // during emission
    Connection* newest = s.connect(&x, &Receiver::onInt, x.tracker); // called first
    EXPECT_EQ(s.findInstance(&x), newest);
    Connection* tied = v.connect(&x, &Receiver::onPing, x.tracker);
    EXPECT_EQ(static_cast<kyRTB::FunctionVoidMember<Receiver>*>(tied->callback())->instance(), &x);
    const Connection* partner = tied->partner();
    EXPECT_TRUE(partner->partner() == tied && partner->owner() == &x.tracker);
    EXPECT_EQ(partner->callback(), nullptr);
    // Tying to the signal itself gives a plain connection.
    EXPECT_EQ(v.connect(&x, &Receiver::onPing, v)->partner(), nullptr);
    s.emit(5);
    v.emit();
    EXPECT_EQ(x.got, (std::vector<int>{5, -1, -1}));
    EXPECT_EQ(s.findInstance(&x), nullptr);
    v.disconnectInstance(&x);

    Global::signal = &v;
    Connection* global = v.connect(&Global::quit);
    v.emit();
    EXPECT_TRUE(Global::found == global && v.find(&Global::quit) == nullptr);
    Receiver r{{}, {}, &v, global};
    v.connect(&r, &Receiver::quit);
    v.emit();
    EXPECT_TRUE(r.found == nullptr && v.numConnections() == 1);
}

// A destroyed item that is still locked stays in the list, uncalled, until its last unlock
// frees it; the model takes holds only within emissions.
TEST(SignalTest, LockedItemOutlivesItsDestruction) {
    Signal<int> t;
    int calls = 0;
    auto token = std::make_shared<int>(); // owned by the bound function alone
    const std::weak_ptr<int> watch = token;
    Connection* c = t.connect([&calls, token](int) { ++calls; });
    token.reset();
    c->unlock(); // not locked: nothing happens
    c->lock();
    c->destroy();
    EXPECT_TRUE(t.numConnections() == 1 && c->isDestroyed() && c->lockCount() == 1u);
    t.emit(0);
    EXPECT_FALSE(watch.expired());
    c->unlock();
    EXPECT_TRUE(watch.expired() && calls == 0 && t.numConnections() == 0);
    EXPECT_TRUE(std::has_virtual_destructor_v<kyRTB::AsyncSignal>);
    std::make_unique<kyRTB::AsyncSignal>(); // a marker base with no behaviour of its own
}

TEST(SignalTest, CallablesCopiesAndReferenceArguments) {
    Signal<int> s;
    Signal<> v;
    int sum = 0;
    Connection* lambda = s.connect([&sum](int x) { sum += x; });
    s.connect(std::function<void(int)>([&sum](int x) { sum += 100 * x; }));
    struct Functor {
        int* out;
        void operator()(int x) const { *out += 10 * x; }
    };
    s.connect(Functor{&sum});
    s.emit(1);
    EXPECT_EQ(sum, 111);
    EXPECT_FALSE(lambda->callback()->isInstance(&sum) ||
                 lambda->callback()->isGlobalFunction(nullptr));
    s.disconnect(lambda);
    s.emit(1);
    EXPECT_EQ(sum, 221);
    Global::calls = 0;
    Connection* captureless = v.connect([]() { ++Global::calls; }); // a callable, not a function
    v.emit();
    v.disconnect(captureless);
    EXPECT_EQ(v.numConnections() * 10 + Global::calls, 1);

    Signal<int> copy(s);
    EXPECT_EQ(copy.numConnections(), 0); // a copy starts without connections
    copy.connect([](int) {});
    copy = s;
    EXPECT_EQ(copy.numConnections(), 1); // and assignment keeps its own
    EXPECT_EQ(s.numConnections(), 2);
    Signal<const std::string&> r;
    std::string seen;
    r.connect([&seen](const std::string& text) { seen += text; });
    r.emit("ab");
    EXPECT_EQ(seen, "ab");
}

} // namespace
