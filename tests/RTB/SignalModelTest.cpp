// SignalModelTest.cpp - random re-entrant use of a signal checked against a reference model.
// During emission, callbacks disconnect, connect (perhaps tied to one of three trackers), block,
// unblock, hold their own connection, destroy a tracker or the signal itself, and emit again.
// One deterministic script runs on a real signal and on a plain model; the calls, the lock
// count each call finds and the connections left must agree after every step.
#include <Base/RTB/kyRTBSignal.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
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
    std::uint64_t pick;
};

std::uint64_t mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// The action a roll picks: `upTo` holds the cumulative per mille of each, in enum order.
Action actionFor(std::uint64_t roll, const int (&upTo)[kEmit + 1]) {
    int action = 0;
    while (static_cast<int>(roll % 1000) >= upTo[action]) {
        ++action;
    }
    return static_cast<Action>(action);
}

// What the connection `id` does when called at `depth` during top-level emission `emission`;
// only a top-level call emits.
Step stepFor(std::uint32_t seed, int emission, int id, int depth) {
    const std::uint64_t h =
        mix(mix(seed) ^ (static_cast<std::uint64_t>(emission) << 32 ^
                         static_cast<std::uint64_t>(id) << 8 ^ static_cast<std::uint64_t>(depth)));
    const Action action = actionFor(h, {470, 550, 650, 750, 830, 910, 940, 957, 960, 1000});
    return {action == kEmit && depth != 0 ? kNothing : action, h >> 10};
}

// One side of the comparison. The model keeps the block counts and ties (-1: none) of the live
// connections by id, the holds taken during a step and the calls in progress by id; with `real`
// set the same script also drives a real signal, whose callbacks run it. Both record the calls
// with the lock count each finds.
struct Side {
    Side(std::uint32_t s, bool r) : seed(s), real(r) {}

    struct Callback : kyRTB::FunctionArg<int> {
        Callback(Side* s, int i) : side(s), id(i) {}
        void call(int depth) override { side->call(id, depth, side->items[id]->lockCount()); }
        Side* side;
        int id;
    };

    // A call holds its item, and so does each call of it in progress further out.
    void call(int id, int depth, unsigned locks) {
        calls.push_back(std::to_string(id) + "@" + std::to_string(depth) + "#" +
                        std::to_string(locks));
        ++active[id];
        perform(stepFor(seed, emission, id, depth), id, depth);
        --active[id];
    }
    void perform(const Step& step, int id, int depth) {
        auto ranked = blocks.begin(); // picks the target among the live connections
        std::advance(ranked, blocks.empty() ? 0 : step.pick % blocks.size());
        const int target = ranked == blocks.end() ? 0 : ranked->first;
        const int tracker = static_cast<int>(step.pick % 4) - 1;
        switch (step.action) {
        case kDisconnectSelf:
        case kDisconnectOther:
            id = step.action == kDisconnectSelf ? id : target;
            if (real && blocks.count(id) != 0) { // the signal's call or the item's own, alike
                id % 2 == 0 ? signal->disconnect(items[id]) : items[id]->destroy();
            }
            blocks.erase(id);
            tie.erase(id);
            break;
        case kConnectNew:
            if (blocks.size() < 40) {
                if (real) {
                    auto* f = new Callback(this, nextId);
                    items[nextId] = tracker < 0 ? signal->addCallback(f)
                                                : signal->addCallback(f, *trackers[tracker]);
                }
                blocks[nextId] = 0;
                tie[nextId++] = tracker;
            }
            break;
        case kBlock:
        case kUnblock:
            if (real) {
                step.action == kBlock ? signal->block(items[target])
                                      : signal->unblock(items[target]);
            }
            blocks[target] =
                std::clamp(blocks[target] + (step.action == kBlock ? 1 : -1), 0, 65535);
            break;
        case kDropTracker: // takes the connections tied to it along
            if (real) {
                trackers[step.pick % 3] = std::make_unique<kyRTB::Signal<>>();
            }
            for (int other = 1; other < nextId; ++other) {
                if (tie.count(other) != 0 && tie[other] == static_cast<int>(step.pick % 3)) {
                    blocks.erase(other);
                    tie.erase(other);
                }
            }
            break;
        case kHold: // on the calling connection, released after the step
            if (real) {
                items[id]->lock();
                held.push_back(items[id]);
            }
            ++holds[id];
            break;
        case kDestroySignal: // the signal goes, and a new one takes its place
            if (real) {
                signal = std::make_unique<kyRTB::Signal<int>>();
            }
            blocks.clear();
            tie.clear();
            break;
        case kEmit:
            real ? signal->emit(depth + 1) : emitModel(depth + 1);
            break;
        default:
            break;
        }
    }
    // New connections go to the head and are never reached by a running walk, so walking a
    // snapshot of the ids and skipping the ones gone meanwhile is exact.
    void emitModel(int depth) {
        const std::map<int, int> snapshot = blocks;
        for (auto it = snapshot.rbegin(); it != snapshot.rend(); ++it) {
            const int id = it->first;
            if (blocks.count(id) != 0 && blocks[id] == 0) {
                call(id, depth, 1u + static_cast<unsigned>(active[id] + holds[id]));
            }
        }
    }
    void release() {
        for (Connection* c : held) {
            c->unlock(); // frees what was destroyed meanwhile, even after its signal
        }
        held.clear();
        holds.clear();
    }

    std::uint32_t seed;
    bool real;
    int emission = 0;
    int nextId = 1;
    std::map<int, int> blocks, tie, holds, active;
    std::vector<std::string> calls;
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
    Side real(seed, true);
    Side model(seed, false);
    int emissions = 0, nonTrivialEmissions = 0;
    for (int step = 0; step < 600; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        // The test itself runs the same actions from outside any emission.
        const Action action = actionFor(static_cast<std::uint64_t>(random.range(0, 999)),
                                        {0, 0, 100, 350, 420, 500, 530, 530, 540, 1000});
        const Step outside{real.blocks.empty() ? kConnectNew : action,
                           static_cast<std::uint64_t>(random.range(0, 1 << 20))};
        const std::size_t before = real.calls.size();
        emissions += outside.action == kEmit;
        real.emission = model.emission = emissions;
        for (Side* side : {&real, &model}) {
            side->perform(outside, 0, -1);
            side->release();
        }
        nonTrivialEmissions += real.calls.size() > before + 1;

        ASSERT_EQ(real.calls, model.calls);
        ASSERT_EQ(real.blocks, model.blocks);
        ASSERT_EQ(real.signal->numConnections(), static_cast<int>(model.blocks.size()));
        for (const auto& [id, blocks] : model.blocks) {
            const Connection* c = real.items[id];
            EXPECT_EQ(std::make_tuple(static_cast<int>(c->blockCount()), real.signal->isBlocked(c),
                                      c->lockCount(), c->isDestroyed(), c->partner() != nullptr),
                      std::make_tuple(blocks, blocks > 0, 0u, false, model.tie[id] >= 0))
                << id;
        }
        for (int t = 0; t < 3; ++t) { // the partner ends, one per tied connection
            EXPECT_EQ(real.trackers[t]->numConnections(),
                      std::count_if(model.tie.begin(), model.tie.end(),
                                    [t](const auto& e) { return e.second == t; }))
                << "tracker " << t;
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
