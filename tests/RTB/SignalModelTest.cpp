// SignalModelTest.cpp - random re-entrant use of a signal checked against a reference model.
//
// While an emission runs, callbacks disconnect themselves and others, connect (some tied to one
// of three trackers), block, unblock, hold their own connection, destroy a tracker (theirs,
// perhaps) or the signal itself, and emit again. The same deterministic script runs once on a
// real signal and once on a plain model (block counts by id; newest first is highest id first,
// walked over a snapshot); the calls, the lock count each call finds and the connections left
// must agree after every step.
#include <Base/RTB/kyRTBSignal.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using kyRTB::Connection;

enum Action {
    kNothing,
    kDisconnectSelf,
    kDisconnectOther,
    kConnectNew,
    kBlock,
    kUnblock,
    kDropTracker,
    kHold,
    kDestroySignal,
    kEmit
};

struct Step {
    Action action;
    std::uint64_t pick; // picks the target among the live connections
};

std::uint64_t mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// What the connection `id` does when called at `depth` during top-level emission `emission`.
Step stepFor(std::uint32_t seed, int emission, int id, int depth) {
    const std::uint64_t h =
        mix(mix(seed) ^ (static_cast<std::uint64_t>(emission) << 32 ^
                         static_cast<std::uint64_t>(id) << 8 ^ static_cast<std::uint64_t>(depth)));
    // Per mille of the calls, by action in the order of the enum; only a top-level call emits.
    const int upTo[] = {470, 550, 650, 750, 830, 910, 940, 957, 960, 1000};
    int action = 0;
    while (static_cast<int>(h % 1000) >= upTo[action]) {
        ++action;
    }
    return {action == kEmit && depth != 0 ? kNothing : static_cast<Action>(action), h >> 10};
}

// The model, which the real side extends: block counts and ties (-1: none) of the live
// connections by id, the holds taken during a step, the calls in progress by id, the calls seen
// with the lock count each finds, the script's position.
struct Side {
    explicit Side(std::uint32_t s) : seed(s) {}
    virtual ~Side() = default;

    // A call holds its item, and so does each call of it in progress further out.
    void call(int id, int depth, unsigned locks) {
        calls.push_back(std::to_string(id) + "@" + std::to_string(depth) + "#" +
                        std::to_string(locks));
        ++active[id];
        perform(stepFor(seed, emission, id, depth), id, depth);
        --active[id];
    }
    unsigned expectedLocks(int id) { return 1u + static_cast<unsigned>(active[id] + holds[id]); }
    int byRank(std::uint64_t pick) const {
        return std::next(blocks.begin(), static_cast<long>(pick % blocks.size()))->first;
    }
    int tiedTo(int tracker) const {
        return static_cast<int>(std::count_if(tie.begin(), tie.end(),
                                              [&](const auto& e) { return e.second == tracker; }));
    }
    void perform(const Step& step, int id, int depth) {
        const int target = blocks.empty() ? 0 : byRank(step.pick);
        switch (step.action) {
        case kNothing:
            break;
        case kDisconnectSelf:
        case kDisconnectOther:
            disconnect(step.action == kDisconnectSelf ? id : target);
            break;
        case kConnectNew:
            if (blocks.size() < 40) {
                connect(nextId++, static_cast<int>(step.pick % 4) - 1);
            }
            break;
        case kBlock:
        case kUnblock:
            block(target, step.action == kBlock ? 1 : -1);
            break;
        case kDropTracker:
            dropTracker(static_cast<int>(step.pick % 3));
            break;
        case kHold: // on the calling connection, released after the step
            hold(id);
            break;
        case kDestroySignal: // the signal goes, and a new one takes its place
            destroySignal();
            break;
        case kEmit:
            emit(depth + 1);
            break;
        }
    }

    virtual void connect(int id, int tracker) {
        blocks[id] = 0;
        tie[id] = tracker;
    }
    virtual void disconnect(int id) {
        blocks.erase(id);
        tie.erase(id);
    }
    virtual void block(int id, int by) { blocks[id] = std::clamp(blocks[id] + by, 0, 65535); }
    // A tracker's destruction takes its tied connections along.
    virtual void dropTracker(int tracker) {
        for (int id = 1; id < nextId; ++id) {
            if (tie.count(id) != 0 && tie[id] == tracker) {
                Side::disconnect(id);
            }
        }
    }
    virtual void hold(int id) { ++holds[id]; }
    virtual void destroySignal() {
        blocks.clear();
        tie.clear();
    }
    virtual void release() { holds.clear(); }
    // New connections go to the head and are never reached by a running walk, so walking a
    // snapshot of the ids and skipping the ones gone meanwhile is exact.
    virtual void emit(int depth) {
        std::vector<int> order;
        for (auto it = blocks.rbegin(); it != blocks.rend(); ++it) {
            order.push_back(it->first);
        }
        for (int id : order) {
            if (blocks.count(id) != 0 && blocks[id] == 0) {
                call(id, depth, expectedLocks(id));
            }
        }
    }

    std::uint32_t seed;
    int emission = 0;
    int nextId = 1;
    std::map<int, int> blocks, tie, holds, active;
    std::vector<std::string> calls;
};

// The real side: a signal whose callbacks run the script.
struct RealSide : Side {
    using Side::Side;
    struct Callback : kyRTB::FunctionArg<int> {
        Callback(RealSide* s, int i) : side(s), id(i) {}
        void call(int depth) override { side->call(id, depth, side->items[id]->lockCount()); }
        RealSide* side;
        int id;
    };
    void connect(int id, int tracker) override {
        auto* f = new Callback(this, id);
        items[id] =
            tracker < 0 ? signal->addCallback(f) : signal->addCallback(f, *trackers[tracker]);
        Side::connect(id, tracker);
    }
    void disconnect(int id) override {
        if (blocks.count(id) != 0) {
            signal->disconnect(items[id]);
            Side::disconnect(id);
        }
    }
    void block(int id, int by) override {
        by > 0 ? signal->block(items[id]) : signal->unblock(items[id]);
        Side::block(id, by);
    }
    void dropTracker(int tracker) override {
        trackers[tracker] = std::make_unique<kyRTB::Signal<>>();
        Side::dropTracker(tracker);
    }
    void hold(int id) override {
        items[id]->lock();
        held.push_back(items[id]);
        Side::hold(id);
    }
    void destroySignal() override {
        signal = std::make_unique<kyRTB::Signal<int>>();
        Side::destroySignal();
    }
    void release() override {
        for (Connection* c : held) {
            c->unlock(); // frees what was destroyed meanwhile, even after its signal
        }
        held.clear();
        Side::release();
    }
    void emit(int depth) override { signal->emit(depth); }

    std::unique_ptr<kyRTB::Signal<int>> signal = std::make_unique<kyRTB::Signal<int>>();
    std::map<int, Connection*> items; // by id; only those of live ids are valid
    std::vector<Connection*> held;
    std::unique_ptr<kyRTB::Signal<>> trackers[3] = {std::make_unique<kyRTB::Signal<>>(),
                                                    std::make_unique<kyRTB::Signal<>>(),
                                                    std::make_unique<kyRTB::Signal<>>()};
};

class SignalModelTest : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(SignalModelTest, RandomReentrantUseMatchesTheModel) {
    const std::uint32_t seed = GetParam();
    kytest::Random random(seed);
    RealSide real(seed);
    Side model(seed);
    int emissions = 0;
    int nonTrivialEmissions = 0;
    for (int step = 0; step < 600; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        // The test itself runs the same actions from outside any emission.
        const int roll = random.range(0, 99);
        const Step outside{roll < 25 || real.blocks.empty() ? kConnectNew
                           : roll < 35                      ? kDisconnectOther
                           : roll < 42                      ? kBlock
                           : roll < 50                      ? kUnblock
                           : roll < 53                      ? kDropTracker
                           : roll < 54                      ? kDestroySignal
                                                            : kEmit,
                           static_cast<std::uint64_t>(random.range(0, 1 << 20))};
        const std::size_t before = real.calls.size();
        emissions += outside.action == kEmit;
        real.emission = model.emission = emissions;
        for (Side* side : {static_cast<Side*>(&real), &model}) {
            side->perform(outside, 0, -1);
            side->release();
        }
        nonTrivialEmissions += real.calls.size() > before + 1;

        ASSERT_EQ(real.calls, model.calls);
        ASSERT_EQ(real.blocks, model.blocks);
        ASSERT_EQ(real.signal->numConnections(), static_cast<int>(model.blocks.size()));
        for (const auto& [id, blocks] : model.blocks) {
            const Connection* c = real.items[id];
            EXPECT_EQ(static_cast<int>(c->blockCount()), blocks) << id;
            EXPECT_EQ(real.signal->isBlocked(c), blocks > 0);
            EXPECT_EQ(c->lockCount(), 0u);
            EXPECT_FALSE(c->isDestroyed());
            EXPECT_EQ(c->partner() != nullptr, model.tie[id] >= 0);
        }
        for (int t = 0; t < 3; ++t) { // the partner ends, one per tied connection
            EXPECT_EQ(real.trackers[t]->numConnections(), model.tiedTo(t)) << "tracker " << t;
        }
        if (HasFailure()) {
            return;
        }
    }
    // The script must actually have exercised emission.
    EXPECT_GT(emissions, 100);
    EXPECT_GT(nonTrivialEmissions, 50);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SignalModelTest, ::testing::Values(1u, 2u, 3u, 42u, 1234u, 99991u));

} // namespace
