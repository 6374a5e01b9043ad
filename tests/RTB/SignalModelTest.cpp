// SignalModelTest.cpp - random re-entrant use of a signal checked against a reference model.
//
// Callbacks disconnect themselves and others, connect (some tied to one of three trackers),
// block, unblock, destroy a tracker (their own, perhaps) and emit again while an emission runs. The
// same deterministic script runs once on a real signal and once on a plain model (block counts by
// id; newest first is highest id first, walked over a snapshot), and the calls and the connections
// left must agree after every step.
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
    // Per cent of the calls, by action in the order of the enum; only a top-level call emits.
    const int upTo[] = {48, 56, 66, 76, 84, 92, 95, 100};
    int action = 0;
    while (static_cast<int>(h % 100) >= upTo[action]) {
        ++action;
    }
    return {action == kEmit && depth != 0 ? kNothing : static_cast<Action>(action), h >> 8};
}

// What both sides share: the live connections by id, the tracker each is tied to (-1: none),
// the calls seen, the script's position.
template <class T>
struct Side {
    explicit Side(std::uint32_t s) : seed(s) {}
    int byRank(std::uint64_t pick) const {
        return std::next(live.begin(), static_cast<long>(pick % live.size()))->first;
    }
    void record(int id, int depth) {
        calls.push_back(std::to_string(id) + "@" + std::to_string(depth));
    }
    void forget(int id) {
        live.erase(id);
        tie.erase(id);
    }
    // A tracker's destruction takes its tied connections along.
    void forgetTied(int tracker) {
        for (int id = 1; id < nextId; ++id) {
            if (live.count(id) != 0 && tie[id] == tracker) {
                forget(id);
            }
        }
    }
    int tiedTo(int tracker) const {
        return static_cast<int>(std::count_if(tie.begin(), tie.end(),
                                              [&](const auto& e) { return e.second == tracker; }));
    }
    std::uint32_t seed;
    int emission = 0;
    int nextId = 1;
    std::map<int, T> live;
    std::map<int, int> tie;
    std::vector<std::string> calls;
};

// Runs a scripted step of connection `id` on either side; `emit` re-enters the emission.
template <class S, class Emit>
void perform(S& side, const Step& step, int id, const Emit& emit) {
    switch (step.action) {
    case kNothing:
        break;
    case kDisconnectSelf:
        side.disconnect(id);
        break;
    case kDisconnectOther:
        side.disconnect(side.byRank(step.pick));
        break;
    case kConnectNew:
        if (side.live.size() < 40) {
            side.tie[side.nextId] = static_cast<int>(step.pick % 4) - 1;
            side.connect();
        }
        break;
    case kBlock:
        side.block(side.byRank(step.pick));
        break;
    case kUnblock:
        side.unblock(side.byRank(step.pick));
        break;
    case kDropTracker:
        side.dropTracker(static_cast<int>(step.pick % 3));
        break;
    case kEmit:
        emit();
        break;
    }
}

// The real side: a signal whose callbacks run the script.
struct RealSide : Side<Connection*> {
    using Side::Side;
    struct Callback : kyRTB::FunctionArg<int> {
        Callback(RealSide* s, int i) : side(s), id(i) {}
        void call(int depth) override {
            side->record(id, depth);
            perform(*side, stepFor(side->seed, side->emission, id, depth), id,
                    [&] { side->signal.emit(depth + 1); });
        }
        RealSide* side;
        int id;
    };
    void connect() {
        auto* f = new Callback(this, nextId);
        const int t = tie[nextId];
        live[nextId++] = t < 0 ? signal.addCallback(f) : signal.addCallback(f, *trackers[t]);
    }
    void disconnect(int id) {
        if (live.count(id) != 0) {
            signal.disconnect(live[id]);
            forget(id);
        }
    }
    void dropTracker(int t) {
        trackers[t] = std::make_unique<kyRTB::Signal<>>();
        forgetTied(t);
    }
    void block(int id) { signal.block(live.at(id)); }
    void unblock(int id) { signal.unblock(live.at(id)); }
    kyRTB::Signal<int> signal;
    std::unique_ptr<kyRTB::Signal<>> trackers[3] = {std::make_unique<kyRTB::Signal<>>(),
                                                    std::make_unique<kyRTB::Signal<>>(),
                                                    std::make_unique<kyRTB::Signal<>>()};
};

// The model: block counts by id.
struct ModelSide : Side<int> {
    using Side::Side;
    void connect() { live[nextId++] = 0; }
    void disconnect(int id) { forget(id); }
    void dropTracker(int t) { forgetTied(t); }
    void block(int id) { live.at(id) = std::min(live.at(id) + 1, 65535); }
    void unblock(int id) { live.at(id) = std::max(live.at(id) - 1, 0); }
    // New connections go to the head and are never reached by a running walk, so walking a
    // snapshot of the ids and skipping the ones gone meanwhile is exact.
    void walk(int depth) {
        std::vector<int> order;
        for (auto it = live.rbegin(); it != live.rend(); ++it) {
            order.push_back(it->first);
        }
        for (int id : order) {
            if (live.count(id) != 0 && live[id] == 0) {
                record(id, depth);
                perform(*this, stepFor(seed, emission, id, depth), id, [&] { walk(depth + 1); });
            }
        }
    }
};

class SignalModelTest : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(SignalModelTest, RandomReentrantUseMatchesTheModel) {
    const std::uint32_t seed = GetParam();
    kytest::Random random(seed);
    RealSide real(seed);
    ModelSide model(seed);
    int emissions = 0;
    int nonTrivialEmissions = 0;
    for (int step = 0; step < 600; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        // The test itself runs the same actions from outside any emission.
        const int roll = random.range(0, 99);
        const Step outside{roll < 25 || real.live.empty() ? kConnectNew
                           : roll < 35                    ? kDisconnectOther
                           : roll < 42                    ? kBlock
                           : roll < 50                    ? kUnblock
                           : roll < 53                    ? kDropTracker
                                                          : kEmit,
                           static_cast<std::uint64_t>(random.range(0, 1 << 20))};
        const std::size_t before = real.calls.size();
        emissions += outside.action == kEmit;
        real.emission = model.emission = emissions;
        perform(real, outside, 0, [&] { real.signal.emit(0); });
        perform(model, outside, 0, [&] { model.walk(0); });
        nonTrivialEmissions += real.calls.size() > before + 1;

        ASSERT_EQ(real.calls, model.calls);
        ASSERT_EQ(static_cast<std::size_t>(real.signal.numConnections()), model.live.size());
        for (const auto& [id, c] : real.live) {
            ASSERT_EQ(model.live.count(id), 1u) << id;
            EXPECT_EQ(static_cast<int>(c->blockCount()), model.live[id]);
            EXPECT_EQ(real.signal.isBlocked(c), model.live[id] > 0);
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
