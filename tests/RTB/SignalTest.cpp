// SignalTest.cpp - kyRTB signal rules the reference model does not reach: lookups by free
// function, the accessors of ties and locks, failure paths and the kinds of callable.
#include <Base/RTB/kyRTBSignal.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using kyRTB::Connection;
using kyRTB::FunctionArg;
using kyRTB::Signal;

bool gIgnored = false;

// A bound function that runs a test-supplied action and reports its own destruction.
struct Probe : FunctionArg<int> {
    Probe(std::function<void(int)> a, bool* d) : action(std::move(a)), destroyed(d) {}
    ~Probe() override { *destroyed = true; }
    void call(int arg) override { action(arg); }
    std::function<void(int)> action;
    bool* destroyed;
};

Connection* connectProbe(Signal<int>& s, std::function<void(int)> action,
                         bool* destroyed = &gIgnored) {
    return s.addCallback(new Probe(std::move(action), destroyed));
}

struct Receiver {
    std::vector<int> got;
    kyRTB::Signal<> tracker;
    void onInt(int v) { got.push_back(v); }
    void onPing() { got.push_back(-1); }
};

TEST(SignalTest, UnknownNullOrSaturatedConnections) {
    Signal<int> s;
    Signal<int> other;
    Signal<> v;
    Receiver x;
    Receiver* none = nullptr;
    s.emit(1); // nothing to call
    EXPECT_FALSE(s.isConnected());
    EXPECT_TRUE(s.isBlocked(nullptr));
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

    Connection* mine = connectProbe(s, [](int) {});
    Connection* theirs = connectProbe(other, [](int) {});
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

int gGlobalCalls = 0;
void globalPing() {
    ++gGlobalCalls;
}
void globalOther() {
    gGlobalCalls += 100;
}
void globalAdd(int v) {
    gGlobalCalls += v;
}
Signal<>* gSelfRemovingSignal = nullptr;
Connection* gFoundWhileWaiting = nullptr;
void selfRemovingGlobal() {
    gSelfRemovingSignal->disconnect(&selfRemovingGlobal);
    // Still linked, marked destroyed: the lookup by function still finds it.
    gFoundWhileWaiting = gSelfRemovingSignal->find(&selfRemovingGlobal);
}

// Lookups by free function (the newest first) and by receiver, and the two ends of a tie; the
// model test covers ties and receivers at random, these are the accessors and the members.
TEST(SignalTest, LookupsAndTies) {
    gGlobalCalls = 0;
    Signal<> v;
    Connection* first = v.connect(&globalPing);
    EXPECT_EQ(static_cast<kyRTB::FunctionVoidGlobal*>(first->callback())->function(), &globalPing);
    Connection* second = v.connect(&globalPing);
    v.connect(&globalOther);
    v();
    EXPECT_EQ(gGlobalCalls, 102);
    EXPECT_EQ(v.find(&globalPing), second);
    v.disconnect(&globalPing);
    EXPECT_EQ(v.find(&globalPing), first);
    v.disconnect(&globalPing);
    v.disconnect(&globalPing); // nothing left to find: ignored
    EXPECT_EQ(v.find(&globalPing), nullptr);
    EXPECT_FALSE(v.find(&globalOther)->callback()->isInstance(nullptr));
    Signal<int> s;
    Connection* add = s.connect(&globalAdd);
    s(4);
    EXPECT_EQ(gGlobalCalls, 106);
    EXPECT_EQ(s.find(&globalAdd), add);

    Receiver x;
    Connection* member = s.connect(&x, &Receiver::onInt);
    using Member = kyRTB::FunctionArgMember<int, Receiver>;
    EXPECT_EQ(static_cast<Member*>(member->callback())->instance(), &x);
    connectProbe(s, [&](int) { s.disconnectInstance(&x); });         // during emission
    Connection* newest = s.connect(&x, &Receiver::onInt, x.tracker); // called first
    EXPECT_EQ(s.findInstance(&x), newest);
    Connection* tied = v.connect(&x, &Receiver::onPing, x.tracker);
    EXPECT_EQ(static_cast<kyRTB::FunctionVoidMember<Receiver>*>(tied->callback())->instance(), &x);
    EXPECT_EQ(tied->partner()->partner(), tied);
    EXPECT_EQ(tied->partner()->owner(), &x.tracker);
    EXPECT_EQ(tied->partner()->callback(), nullptr);
    // Tying to the signal itself gives a plain connection.
    EXPECT_EQ(v.connect(&x, &Receiver::onPing, v)->partner(), nullptr);
    s.emit(5);
    v.emit();
    EXPECT_EQ(x.got, (std::vector<int>{5, -1, -1}));
    EXPECT_EQ(s.findInstance(&x), nullptr);
    {
        Signal<> w;
        w.connect(&x, &Receiver::onPing, x.tracker);
        EXPECT_EQ(x.tracker.numConnections(), 2);
    } // a signal's destruction takes the partners along
    EXPECT_EQ(x.tracker.numConnections(), 1);
    v.disconnectInstance(&x);

    gSelfRemovingSignal = &v;
    Connection* global = v.connect(&selfRemovingGlobal);
    v.emit();
    EXPECT_EQ(gFoundWhileWaiting, global);
    EXPECT_EQ(v.find(&selfRemovingGlobal), nullptr);
    struct SelfRemoving {
        Signal<>* signal = nullptr;
        Connection* found = reinterpret_cast<Connection*>(1);
        void onPing() {
            signal->disconnectInstance(this);
            found = signal->findInstance(this); // skips items waiting for destruction
        }
    } r{&v};
    v.connect(&r, &SelfRemoving::onPing);
    v.emit();
    EXPECT_EQ(r.found, nullptr);
    EXPECT_EQ(v.numConnections(), 1);
}

// An item is held by the running call and by explicit locks and freed when the last of them
// lets go, even after its signal. The model test takes holds and destroys the signal during
// emission at random; here are the accessors and the holds from outside any emission.
TEST(SignalTest, ItemIsFreedWhenItsLastHoldLetsGo) {
    bool destroyed = false;
    auto s = std::make_unique<Signal<int>>();
    Connection* item = nullptr;
    item = connectProbe(
        *s,
        [&](int) {
            item->lock();
            s.reset(); // the signal goes under its own emission
            EXPECT_TRUE(item->isDestroyed() && !destroyed);
        },
        &destroyed);
    s->emit(0);
    EXPECT_TRUE(item->lockCount() == 1u && item->owner() == nullptr && !destroyed);
    item->unlock();
    EXPECT_TRUE(destroyed);

    Signal<int> t;
    Connection* c = connectProbe(
        t, [](int) {}, &destroyed);
    destroyed = false;
    c->unlock(); // not locked: nothing happens
    EXPECT_EQ(c->lockCount(), 0u);
    c->lock();
    c->destroy();
    EXPECT_EQ(t.numConnections(), 1);
    t.emit(0); // a destroyed item is not called
    c->unlock();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(t.numConnections(), 0);
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
    gGlobalCalls = 0;
    Connection* captureless = v.connect([]() { ++gGlobalCalls; }); // a callable, not a function
    v.emit();
    v.disconnect(captureless);
    EXPECT_EQ(v.numConnections() * 10 + gGlobalCalls, 1);
    std::unique_ptr<kyRTB::AsyncSignal> marker(new kyRTB::AsyncSignal());

    Signal<int> copy(s);
    EXPECT_EQ(copy.numConnections(), 0); // a copy starts without connections
    connectProbe(copy, [](int) {});
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
