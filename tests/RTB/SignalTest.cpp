// SignalTest.cpp - tests of kyRTB signals: order, re-entrance, blocking, ties, destruction.
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

// A bound function that runs a test-supplied action and reports its own destruction, so that
// tests can see exactly when a connection's memory is released.
class Probe : public FunctionArg<int> {
public:
    Probe(std::function<void(int)> action, bool* destroyed)
        : action_(std::move(action)), destroyed_(destroyed) {}
    ~Probe() override {
        if (destroyed_ != nullptr) {
            *destroyed_ = true;
        }
    }
    void call(int arg) override { action_(arg); }

private:
    std::function<void(int)> action_;
    bool* destroyed_;
};

Connection* connectProbe(Signal<int>& s, std::function<void(int)> action,
                         bool* destroyed = nullptr) {
    return s.addCallback(new Probe(std::move(action), destroyed));
}

struct Recorder {
    std::vector<std::string> calls;
    std::function<void(int)> named(const std::string& name) {
        return [this, name](int) { calls.push_back(name); };
    }
};

TEST(SignalTest, EmptySignal) {
    Signal<int> s;
    EXPECT_FALSE(s.isConnected());
    EXPECT_EQ(s.numConnections(), 0);
    s.emit(1); // nothing to call
    EXPECT_TRUE(s.isBlocked(nullptr));
}

TEST(SignalTest, NewestConnectionIsCalledFirst) {
    Signal<int> s;
    Recorder r;
    connectProbe(s, r.named("a"));
    connectProbe(s, r.named("b"));
    connectProbe(s, r.named("c"));
    EXPECT_EQ(s.numConnections(), 3);
    EXPECT_TRUE(s.isConnected());
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"c", "b", "a"}));
}

TEST(SignalTest, ArgumentReachesEveryCallback) {
    Signal<int> s;
    std::vector<int> seen;
    connectProbe(s, [&](int v) { seen.push_back(v); });
    connectProbe(s, [&](int v) { seen.push_back(v * 10); });
    s.emit(7);
    s(8);
    EXPECT_EQ(seen, (std::vector<int>{70, 7, 80, 8}));
}

TEST(SignalTest, CallbackDisconnectingItselfIsReleasedWhenEmissionLeavesIt) {
    Signal<int> s;
    Recorder r;
    bool destroyed = false;
    Connection* self = nullptr;
    connectProbe(s, r.named("a"));
    self = connectProbe(
        s,
        [&](int) {
            r.calls.push_back("self");
            s.disconnect(self);
            // Still linked and counted while it runs; its function object is alive.
            EXPECT_FALSE(destroyed);
            EXPECT_EQ(s.numConnections(), 3);
            EXPECT_TRUE(self->isDestroyed());
            EXPECT_EQ(self->lockCount(), 1u);
            EXPECT_EQ(s.findInstance(nullptr), nullptr);
        },
        &destroyed);
    connectProbe(s, r.named("c"));
    s.emit(0);
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(s.numConnections(), 2);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"c", "self", "a"}));
    r.calls.clear();
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"c", "a"}));
}

TEST(SignalTest, DisconnectingAnOlderConnectionDuringEmissionSkipsIt) {
    Signal<int> s;
    Recorder r;
    bool destroyed = false;
    Connection* a = connectProbe(s, r.named("a"));
    Connection* b = connectProbe(s, r.named("b"), &destroyed);
    connectProbe(s, [&](int) {
        r.calls.push_back("c");
        s.disconnect(b);
        // Not locked: unlinked and freed at once.
        EXPECT_TRUE(destroyed);
        EXPECT_EQ(s.numConnections(), 2);
    });
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"c", "a"}));
    EXPECT_FALSE(s.isBlocked(a));
}

TEST(SignalTest, DisconnectingANewerConnectionDuringEmission) {
    Signal<int> s;
    Recorder r;
    Connection* c = nullptr;
    connectProbe(s, r.named("a"));
    connectProbe(s, [&](int) {
        r.calls.push_back("b");
        s.disconnect(c); // already called in this emission
    });
    c = connectProbe(s, r.named("c"));
    s.emit(0);
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"c", "b", "a", "b", "a"}));
    EXPECT_EQ(s.numConnections(), 2);
}

TEST(SignalTest, ConnectionMadeDuringEmissionWaitsForTheNextOne) {
    Signal<int> s;
    Recorder r;
    bool connected = false;
    connectProbe(s, r.named("a"));
    connectProbe(s, [&](int) {
        r.calls.push_back("b");
        if (!connected) {
            connected = true;
            connectProbe(s, r.named("new"));
        }
    });
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"b", "a"}));
    r.calls.clear();
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"new", "b", "a"}));
}

TEST(SignalTest, NestedEmission) {
    Signal<int> s;
    std::vector<std::string> calls;
    connectProbe(s, [&](int depth) { calls.push_back("a" + std::to_string(depth)); });
    connectProbe(s, [&](int depth) {
        calls.push_back("b" + std::to_string(depth));
        if (depth == 0) {
            s.emit(1);
        }
    });
    connectProbe(s, [&](int depth) { calls.push_back("c" + std::to_string(depth)); });
    s.emit(0);
    EXPECT_EQ(calls, (std::vector<std::string>{"c0", "b0", "c1", "b1", "a1", "a0"}));
}

TEST(SignalTest, NestedEmissionDisconnectingTheOuterCaller) {
    Signal<int> s;
    std::vector<std::string> calls;
    bool bDestroyed = false;
    Connection* b = nullptr;
    connectProbe(s, [&](int depth) {
        calls.push_back("a" + std::to_string(depth));
        if (depth == 1) {
            s.disconnect(b); // b is locked twice: by both emissions
        }
    });
    b = connectProbe(
        s,
        [&](int depth) {
            calls.push_back("b" + std::to_string(depth));
            if (depth == 0) {
                s.emit(1);
                EXPECT_FALSE(bDestroyed); // the outer emission still holds it
            }
        },
        &bDestroyed);
    s.emit(0);
    EXPECT_TRUE(bDestroyed);
    EXPECT_EQ(calls, (std::vector<std::string>{"b0", "b1", "a1", "a0"}));
    EXPECT_EQ(s.numConnections(), 1);
}

TEST(SignalTest, BlockCounts) {
    Signal<int> s;
    Recorder r;
    Connection* a = connectProbe(s, r.named("a"));
    Connection* b = connectProbe(s, r.named("b"));
    s.block(a);
    EXPECT_TRUE(s.isBlocked(a));
    EXPECT_FALSE(s.isBlocked(b));
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"b"}));

    s.block(a);
    EXPECT_EQ(a->blockCount(), 2u);
    s.unblock(a);
    EXPECT_TRUE(s.isBlocked(a)); // blocked twice: needs two unblocks
    s.unblock(a);
    EXPECT_FALSE(s.isBlocked(a));
    s.unblock(a); // unblocking an unblocked connection stays at zero
    EXPECT_EQ(a->blockCount(), 0u);
    EXPECT_FALSE(s.isBlocked(a));

    r.calls.clear();
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"b", "a"}));
}

TEST(SignalTest, BlockCountSaturates) {
    Signal<int> s;
    Connection* a = connectProbe(s, [](int) {});
    for (int i = 0; i < 70000; ++i) {
        a->block();
    }
    EXPECT_EQ(a->blockCount(), 65535u);
    EXPECT_TRUE(s.isBlocked(a));
}

TEST(SignalTest, BlockingDuringEmissionSkipsAConnectionNotYetReached) {
    Signal<int> s;
    Recorder r;
    Connection* a = connectProbe(s, r.named("a"));
    connectProbe(s, [&](int) {
        r.calls.push_back("b");
        s.block(a);
    });
    s.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"b"}));
}

TEST(SignalTest, ForeignOrUnknownConnectionCountsAsBlocked) {
    Signal<int> s;
    Signal<int> other;
    Recorder r;
    Connection* mine = connectProbe(s, r.named("mine"));
    Connection* theirs = connectProbe(other, r.named("theirs"));
    EXPECT_FALSE(s.isBlocked(mine));
    EXPECT_TRUE(s.isBlocked(theirs)); // kept: unknown counts as blocked
    EXPECT_TRUE(s.isBlocked(nullptr));
    EXPECT_FALSE(other.isBlocked(theirs));

    // Operations on a foreign connection are ignored.
    s.block(theirs);
    EXPECT_EQ(theirs->blockCount(), 0u);
    s.disconnect(theirs);
    EXPECT_EQ(other.numConnections(), 1);
    s.unblock(theirs);
    s.disconnect(static_cast<Connection*>(nullptr));
    EXPECT_EQ(s.numConnections(), 1);

    other.emit(0);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"theirs"}));
}

struct Receiver {
    std::vector<int> got;
    kyRTB::Signal<> tracker;
    void onInt(int v) { got.push_back(v); }
    void onPing() { got.push_back(-1); }
};

TEST(SignalTest, MemberConnectionsAndInstances) {
    Signal<int> s;
    Receiver x;
    Receiver y;
    Connection* cx = s.connect(&x, &Receiver::onInt);
    s.connect(&y, &Receiver::onInt);
    s.connect(&x, &Receiver::onInt);
    ASSERT_NE(cx, nullptr);
    s.emit(3);
    EXPECT_EQ(x.got, (std::vector<int>{3, 3}));
    EXPECT_EQ(y.got, (std::vector<int>{3}));

    // findInstance returns the newest one.
    Connection* found = s.findInstance(&x);
    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, cx);

    s.disconnectInstance(&x);
    EXPECT_EQ(s.numConnections(), 1);
    EXPECT_EQ(s.findInstance(&x), nullptr);
    s.emit(4);
    EXPECT_EQ(x.got.size(), 2u);
    EXPECT_EQ(y.got, (std::vector<int>{3, 4}));
}

TEST(SignalTest, DisconnectInstanceDuringEmission) {
    Signal<int> s;
    Receiver x;
    std::vector<std::string> calls;
    s.connect(&x, &Receiver::onInt);
    connectProbe(s, [&](int v) {
        calls.push_back("probe");
        s.disconnectInstance(&x);
        (void)v;
    });
    s.connect(&x, &Receiver::onInt); // newest: already called when the probe runs
    s.emit(5);
    EXPECT_EQ(x.got, (std::vector<int>{5}));
    EXPECT_EQ(s.numConnections(), 1);
}

TEST(SignalTest, ConnectNullAddsNothing) {
    Signal<int> s;
    Signal<> v;
    Receiver x;
    EXPECT_EQ(s.connect(static_cast<Receiver*>(nullptr), &Receiver::onInt), nullptr);
    EXPECT_EQ(s.connect(&x, static_cast<void (Receiver::*)(int)>(nullptr)), nullptr);
    EXPECT_EQ(s.connect(static_cast<void (*)(int)>(nullptr)), nullptr);
    EXPECT_EQ(s.addCallback(nullptr), nullptr);
    EXPECT_EQ(v.connect(static_cast<void (*)()>(nullptr)), nullptr);
    EXPECT_EQ(s.numConnections(), 0);
    EXPECT_EQ(v.numConnections(), 0);
}

int gGlobalCalls = 0;
int gGlobalSum = 0;
void globalPing() {
    ++gGlobalCalls;
}
void globalOther() {
    gGlobalCalls += 100;
}
void globalAdd(int v) {
    gGlobalSum += v;
}

TEST(SignalTest, GlobalFunctions) {
    gGlobalCalls = 0;
    Signal<> v;
    Connection* first = v.connect(&globalPing);
    Connection* second = v.connect(&globalPing);
    v.connect(&globalOther);
    v.emit();
    EXPECT_EQ(gGlobalCalls, 102);
    EXPECT_EQ(v.find(&globalPing), second); // the newest one
    v.disconnect(&globalPing);
    EXPECT_EQ(v.find(&globalPing), first);
    EXPECT_EQ(v.numConnections(), 2);
    v();
    EXPECT_EQ(gGlobalCalls, 203);
    v.disconnect(&globalPing);
    v.disconnect(&globalPing); // nothing left to find: ignored
    EXPECT_EQ(v.find(&globalPing), nullptr);
    EXPECT_EQ(v.numConnections(), 1);

    gGlobalSum = 0;
    Signal<int> s;
    s.connect(&globalAdd);
    s.connect(&globalAdd);
    s.emit(4);
    EXPECT_EQ(gGlobalSum, 8);
    ASSERT_NE(s.find(&globalAdd), nullptr);
    EXPECT_EQ(s.find(&globalAdd)->callback()->isInstance(nullptr), false);
}

Signal<>* gSelfRemovingSignal = nullptr;
Connection* gFoundWhileWaiting = nullptr;
void selfRemovingGlobal() {
    gSelfRemovingSignal->disconnect(&selfRemovingGlobal);
    // Still linked, marked destroyed: the lookup by function still finds it.
    gFoundWhileWaiting = gSelfRemovingSignal->find(&selfRemovingGlobal);
}

struct SelfRemovingReceiver {
    Signal<>* signal = nullptr;
    Connection* foundWhileWaiting = reinterpret_cast<Connection*>(1);
    void onPing() {
        signal->disconnectInstance(this);
        foundWhileWaiting = signal->findInstance(this); // skips items waiting for destruction
    }
};

TEST(SignalTest, LookupsDuringDeferredDestruction) {
    Signal<> v;
    gSelfRemovingSignal = &v;
    gFoundWhileWaiting = nullptr;
    Connection* global = v.connect(&selfRemovingGlobal);
    v.emit();
    EXPECT_EQ(gFoundWhileWaiting, global);
    EXPECT_EQ(v.numConnections(), 0);
    EXPECT_EQ(v.find(&selfRemovingGlobal), nullptr);

    SelfRemovingReceiver x;
    x.signal = &v;
    v.connect(&x, &SelfRemovingReceiver::onPing);
    v.emit();
    EXPECT_EQ(x.foundWhileWaiting, nullptr);
    EXPECT_EQ(v.numConnections(), 0);
    gSelfRemovingSignal = nullptr;
}

TEST(SignalTest, VoidSignalWithMembersAndTracker) {
    Signal<> v;
    auto x = std::make_unique<Receiver>();
    v.connect(x.get(), &Receiver::onPing, x->tracker);
    v.connect(x.get(), &Receiver::onPing);
    v.emit();
    EXPECT_EQ(x->got, (std::vector<int>{-1, -1}));
    EXPECT_EQ(x->tracker.numConnections(), 1);
    v.disconnectInstance(x.get());
    EXPECT_EQ(v.numConnections(), 0);
    EXPECT_EQ(x->tracker.numConnections(), 0); // the partner end went with it
}

TEST(SignalTest, DestroyingTheTrackerRemovesTiedConnectionsEverywhere) {
    Signal<int> s1;
    Signal<int> s2;
    Receiver bystander;
    s1.connect(&bystander, &Receiver::onInt);
    auto x = std::make_unique<Receiver>();
    s1.connect(x.get(), &Receiver::onInt, x->tracker);
    s2.connect(x.get(), &Receiver::onInt, x->tracker);
    s2.connect(x.get(), &Receiver::onInt, x->tracker);
    EXPECT_EQ(x->tracker.numConnections(), 3);
    EXPECT_EQ(s1.numConnections(), 2);
    EXPECT_EQ(s2.numConnections(), 2);
    s1.emit(1);
    s2.emit(2);
    EXPECT_EQ(x->got, (std::vector<int>{1, 2, 2}));

    x.reset(); // its tracker goes with it
    EXPECT_EQ(s1.numConnections(), 1);
    EXPECT_EQ(s2.numConnections(), 0);
    EXPECT_FALSE(s2.isConnected());
    s1.emit(3);
    s2.emit(4);
    EXPECT_EQ(bystander.got, (std::vector<int>{1, 3}));
}

TEST(SignalTest, DestroyingTheEmittingSignalRemovesPartnerItems) {
    Receiver x;
    {
        Signal<int> s;
        s.connect(&x, &Receiver::onInt, x.tracker);
        s.connect(&x, &Receiver::onInt, x.tracker);
        EXPECT_EQ(x.tracker.numConnections(), 2);
    }
    EXPECT_EQ(x.tracker.numConnections(), 0);
}

TEST(SignalTest, DisconnectingATiedConnectionRemovesItsPartner) {
    Receiver x;
    Signal<int> s;
    Connection* c = s.connect(&x, &Receiver::onInt, x.tracker);
    ASSERT_NE(c, nullptr);
    ASSERT_NE(c->partner(), nullptr);
    EXPECT_EQ(c->partner()->partner(), c);
    EXPECT_EQ(c->partner()->owner(), &x.tracker);
    EXPECT_EQ(c->partner()->callback(), nullptr);
    s.disconnect(c);
    EXPECT_EQ(x.tracker.numConnections(), 0);
    EXPECT_EQ(s.numConnections(), 0);

    // Tying to the signal itself gives a plain connection.
    Connection* selfTied =
        s.addCallback(new kyRTB::FunctionArgMember<int, Receiver>(&x, &Receiver::onInt), s);
    EXPECT_EQ(selfTied->partner(), nullptr);
    EXPECT_EQ(s.numConnections(), 1);
}

TEST(SignalTest, ReceiverDestroyedDuringItsOwnCallback) {
    Signal<int> s;
    Recorder r;
    connectProbe(s, r.named("older"));
    struct Suicidal {
        kyRTB::Signal<> tracker;
        std::unique_ptr<Suicidal>* owner = nullptr;
        int* calls = nullptr;
        void onInt(int) {
            ++*calls;
            owner->reset(); // deletes this, and its tracker with it
        }
    };
    int calls = 0;
    auto receiver = std::make_unique<Suicidal>();
    receiver->owner = &receiver;
    receiver->calls = &calls;
    s.connect(receiver.get(), &Suicidal::onInt, receiver->tracker);
    s.emit(0);
    EXPECT_EQ(receiver, nullptr);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(s.numConnections(), 1);
    EXPECT_EQ(r.calls, (std::vector<std::string>{"older"}));
    s.emit(0);
    EXPECT_EQ(calls, 1);
}

TEST(SignalTest, DestroyingTheSignalWhileOneOfItsItemsIsLocked) {
    auto s = std::make_unique<Signal<int>>();
    Receiver x;
    bool destroyed = false;
    int olderCalls = 0;
    connectProbe(*s, [&](int) { ++olderCalls; });
    s->connect(&x, &Receiver::onInt, x.tracker);
    connectProbe(
        *s,
        [&](int) {
            s.reset(); // the emitting signal goes away under its own emission
            EXPECT_FALSE(destroyed);
        },
        &destroyed);
    s->emit(1);
    EXPECT_TRUE(destroyed); // freed by its last unlock
    EXPECT_EQ(olderCalls, 0);
    EXPECT_TRUE(x.got.empty());
    EXPECT_EQ(x.tracker.numConnections(), 0);
}

TEST(SignalTest, LockedItemOutlivesItsSignal) {
    bool destroyed = false;
    Connection* c = nullptr;
    {
        Signal<int> s;
        c = connectProbe(
            s, [](int) {}, &destroyed);
        c->lock();
        s.disconnect(c);
        EXPECT_TRUE(c->isDestroyed());
        EXPECT_EQ(s.numConnections(), 1); // waits for its unlock
        EXPECT_FALSE(destroyed);
        s.emit(0); // a destroyed item is not called
    }
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(c->owner(), nullptr);
    c->unlock();
    EXPECT_TRUE(destroyed);
}

TEST(SignalTest, DirectLockAndUnlock) {
    Signal<int> s;
    bool destroyed = false;
    Connection* c = connectProbe(
        s, [](int) {}, &destroyed);
    c->unlock(); // not locked: nothing happens
    EXPECT_EQ(c->lockCount(), 0u);
    c->lock();
    c->lock();
    c->destroy();
    c->unlock();
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(s.numConnections(), 1);
    c->unlock();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(s.numConnections(), 0);
}

TEST(SignalTest, CallableConnections) {
    Signal<int> s;
    Signal<> v;
    int sum = 0;
    int pings = 0;
    Connection* lambda = s.connect([&sum](int x) { sum += x; });
    std::function<void(int)> wrapped = [&sum](int x) { sum += 100 * x; };
    s.connect(wrapped);
    struct Functor {
        int* out;
        void operator()(int x) const { *out += 10 * x; }
    };
    s.connect(Functor{&sum});
    v.connect([&pings]() { ++pings; });
    s.emit(1);
    v.emit();
    EXPECT_EQ(sum, 111);
    EXPECT_EQ(pings, 1);
    ASSERT_NE(lambda, nullptr);
    EXPECT_FALSE(lambda->callback()->isInstance(&sum));
    s.disconnect(lambda);
    s.emit(1);
    EXPECT_EQ(sum, 221);
    // A captureless lambda is a callable too, not a free function.
    Connection* captureless = v.connect([]() {});
    EXPECT_EQ(v.numConnections(), 2);
    v.disconnect(captureless);
    EXPECT_EQ(v.numConnections(), 1);
}

TEST(SignalTest, BraceInitialisedSignalsAndMembers) {
    Signal<> v{};
    Signal<int> s{};
    struct Holder {
        int id;
        Signal<> tracker;
    };
    Holder h{7, {}};
    EXPECT_EQ(v.numConnections() + s.numConnections() + h.tracker.numConnections(), 0);
    EXPECT_EQ(h.id, 7);
}

TEST(SignalTest, CopyStartsWithoutConnections) {
    Signal<int> s;
    Receiver x;
    s.connect(&x, &Receiver::onInt);
    Signal<int> copy(s);
    EXPECT_EQ(copy.numConnections(), 0);
    Signal<int> assigned;
    assigned.connect(&x, &Receiver::onInt);
    assigned = s;
    EXPECT_EQ(assigned.numConnections(), 1); // keeps its own
    EXPECT_EQ(s.numConnections(), 1);
}

TEST(SignalTest, ReferenceArguments) {
    Signal<const std::string&> s;
    std::string seen;
    struct Sink : FunctionArg<const std::string&> {
        std::string* out;
        explicit Sink(std::string* o) : out(o) {}
        void call(const std::string& v) override { *out += v; }
    };
    s.addCallback(new Sink(&seen));
    s.addCallback(new Sink(&seen));
    const std::string text = "ab";
    s.emit(text);
    EXPECT_EQ(seen, "abab");
}

class Derived : public kyRTB::AsyncSignal {
public:
    explicit Derived(bool* gone) : gone_(gone) {}
    ~Derived() override { *gone_ = true; }

private:
    bool* gone_;
};

TEST(SignalTest, AsyncSignalIsAPolymorphicMarker) {
    bool gone = false;
    kyRTB::AsyncSignal* s = new Derived(&gone);
    delete s;
    EXPECT_TRUE(gone);
}

} // namespace

namespace {

// An item being called is held by the running call, by nested emissions of its signal and by
// explicit locks; it is freed when the last of them lets go, whichever that is.
TEST(SignalTest, ItemIsFreedWhenItsLastHoldLetsGo) {
    struct Case {
        bool nested;        // destroyed from a nested emission of the same signal
        bool keepLock;      // the callback takes a lock it releases only after the emission
        bool destroySignal; // the signal itself goes away during the call, not just the item
    };
    const Case cases[] = {{false, false, false}, {false, true, false}, {true, false, false},
                          {true, true, false},   {false, false, true}, {false, true, true},
                          {true, false, true},   {true, true, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.nested << c.keepLock << c.destroySignal);
        bool destroyed = false;
        auto s = std::make_unique<Signal<int>>();
        Connection* item = nullptr;
        std::vector<unsigned> locks;
        item = connectProbe(
            *s,
            [&](int depth) {
                locks.push_back(item->lockCount());
                if (depth == 0 && c.keepLock) {
                    item->lock();
                }
                if (depth == 0 && c.nested) {
                    s->emit(1);
                } else if (c.destroySignal) {
                    s.reset();
                } else {
                    s->disconnect(item);
                }
                EXPECT_FALSE(destroyed); // the running call still holds it
                EXPECT_TRUE(item->isDestroyed());
            },
            &destroyed);
        Signal<int>* emitting = s.get();
        emitting->emit(0);
        // The nested call took a count on top of the outer call and, with it, the lock.
        const std::vector<unsigned> expected =
            c.nested ? std::vector<unsigned>{1u, c.keepLock ? 3u : 2u} : std::vector<unsigned>{1u};
        EXPECT_EQ(locks, expected);
        EXPECT_EQ(destroyed, !c.keepLock);
        if (c.keepLock) {
            EXPECT_EQ(item->lockCount(), 1u);
            item->unlock();
            EXPECT_TRUE(destroyed);
        }
        if (s != nullptr) {
            EXPECT_EQ(s->numConnections(), 0);
        }
    }
}

} // namespace
