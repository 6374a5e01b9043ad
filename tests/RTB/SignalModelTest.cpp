// SignalModelTest.cpp - random re-entrant use of a signal checked against a reference model.
//
// Callbacks disconnect themselves and others, connect, block, unblock and emit again while an
// emission runs. The same deterministic script runs once on a real signal and once on a
// plain model (a vector, newest first, walked over a snapshot), and the calls and the
// connections left must agree after every step.
#include <Base/RTB/kyRTBSignal.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace {

using kyRTB::Connection;

enum Action { kNothing, kDisconnectSelf, kDisconnectOther, kConnectNew, kBlock, kUnblock, kEmit };

std::uint64_t mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// What the connection `id` does when it is called at `depth` during top-level emission
// `emission`, and the number that picks its target.
struct Step {
    Action action;
    std::uint64_t pick;
};

Step stepFor(std::uint32_t seed, int emission, int id, int depth) {
    const std::uint64_t h = mix(mix(mix(mix(seed) ^ static_cast<std::uint64_t>(emission)) ^
                                    static_cast<std::uint64_t>(id)) ^
                                static_cast<std::uint64_t>(depth));
    // Per cent of the calls, by action in the order of the enum; only a top-level call emits.
    const int upTo[] = {50, 58, 68, 78, 86, 94, 100};
    int action = 0;
    while (static_cast<int>(h % 100) >= upTo[action]) {
        ++action;
    }
    return {action == kEmit && depth != 0 ? kNothing : static_cast<Action>(action), h >> 8};
}

constexpr std::size_t kMaxLive = 40;

std::string callName(int id, int depth) {
    return std::to_string(id) + "@" + std::to_string(depth);
}

// Runs the scripted step of connection `id` on either side; `emit` re-enters the emission.
template <class Side, class Emit>
void perform(Side& side, std::size_t live, const Step& step, int id, const Emit& emit) {
    switch (step.action) {
    case kNothing:
        break;
    case kDisconnectSelf:
        side.disconnect(id);
        break;
    case kDisconnectOther:
        side.disconnect(side.idByRank(step.pick));
        break;
    case kConnectNew:
        if (live < kMaxLive) {
            side.connect();
        }
        break;
    case kBlock:
        side.block(side.idByRank(step.pick));
        break;
    case kUnblock:
        side.unblock(side.idByRank(step.pick));
        break;
    case kEmit:
        emit();
        break;
    }
}

// The real side: a signal whose callbacks run the script.
class RealSide {
public:
    explicit RealSide(std::uint32_t seed) : seed_(seed) {}

    class Callback : public kyRTB::FunctionArg<int> {
    public:
        Callback(RealSide* side, int id) : side_(side), id_(id) {}
        void call(int depth) override { side_->called(id_, depth); }

    private:
        RealSide* side_;
        int id_;
    };

    void connect() {
        const int id = nextId_++;
        live_[id] = signal_.addCallback(new Callback(this, id));
    }
    void disconnect(int id) {
        auto it = live_.find(id);
        if (it != live_.end()) {
            signal_.disconnect(it->second);
            live_.erase(it);
        }
    }
    void block(int id) { signal_.block(live_.at(id)); }
    void unblock(int id) { signal_.unblock(live_.at(id)); }
    int idByRank(std::uint64_t pick) const {
        auto it = live_.begin();
        std::advance(it, static_cast<long>(pick % live_.size()));
        return it->first;
    }
    void emit(int emission) {
        emission_ = emission;
        signal_.emit(0);
    }

    void called(int id, int depth) {
        calls.push_back(callName(id, depth));
        perform(*this, live_.size(), stepFor(seed_, emission_, id, depth), id,
                [&] { signal_.emit(depth + 1); });
    }

    std::vector<std::string> calls;
    const std::map<int, Connection*>& live() const { return live_; }
    kyRTB::Signal<int>& signal() { return signal_; }

private:
    std::uint32_t seed_;
    int emission_ = 0;
    int nextId_ = 1;
    kyRTB::Signal<int> signal_;
    std::map<int, Connection*> live_;
};

// The model: connections newest first with their block counts.
class ModelSide {
public:
    explicit ModelSide(std::uint32_t seed) : seed_(seed) {}

    struct Item {
        int id;
        int blocks;
    };

    void connect() { items_.insert(items_.begin(), Item{nextId_++, 0}); }
    void disconnect(int id) {
        auto it = findItem(id);
        if (it != items_.end()) {
            items_.erase(it);
        }
    }
    void block(int id) {
        Item& item = *findItem(id);
        item.blocks = std::min(item.blocks + 1, 65535);
    }
    void unblock(int id) {
        Item& item = *findItem(id);
        item.blocks = std::max(item.blocks - 1, 0);
    }
    int idByRank(std::uint64_t pick) const {
        std::vector<int> ids = sortedIds();
        return ids[static_cast<std::size_t>(pick % ids.size())];
    }
    std::vector<int> sortedIds() const {
        std::vector<int> ids;
        for (const Item& item : items_) {
            ids.push_back(item.id);
        }
        std::sort(ids.begin(), ids.end());
        return ids;
    }
    void emit(int emission) {
        emission_ = emission;
        walk(0);
    }
    int blocksOf(int id) { return findItem(id)->blocks; }
    std::size_t size() const { return items_.size(); }

    std::vector<std::string> calls;

private:
    // New connections go to the head and are never reached by a running walk, so walking a
    // snapshot of the ids and skipping the ones gone meanwhile is exact.
    void walk(int depth) {
        std::vector<int> order;
        for (const Item& item : items_) {
            order.push_back(item.id);
        }
        for (int id : order) {
            auto it = findItem(id);
            if (it == items_.end() || it->blocks > 0) {
                continue;
            }
            calls.push_back(callName(id, depth));
            perform(*this, items_.size(), stepFor(seed_, emission_, id, depth), id,
                    [&] { walk(depth + 1); });
        }
    }
    std::vector<Item>::iterator findItem(int id) {
        return std::find_if(items_.begin(), items_.end(),
                            [id](const Item& item) { return item.id == id; });
    }

    std::uint32_t seed_;
    int emission_ = 0;
    int nextId_ = 1;
    std::vector<Item> items_;
};

void expectSameState(RealSide& real, ModelSide& model, int step) {
    SCOPED_TRACE("step " + std::to_string(step));
    ASSERT_EQ(real.calls, model.calls);
    ASSERT_EQ(static_cast<std::size_t>(real.signal().numConnections()), model.size());
    std::vector<int> realIds;
    for (const auto& entry : real.live()) {
        realIds.push_back(entry.first);
        EXPECT_EQ(static_cast<int>(entry.second->blockCount()), model.blocksOf(entry.first));
        EXPECT_EQ(real.signal().isBlocked(entry.second), model.blocksOf(entry.first) > 0);
        EXPECT_EQ(entry.second->lockCount(), 0u);
        EXPECT_FALSE(entry.second->isDestroyed());
    }
    ASSERT_EQ(realIds, model.sortedIds());
}

class SignalModelTest : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(SignalModelTest, RandomReentrantUseMatchesTheModel) {
    const std::uint32_t seed = GetParam();
    kytest::Random random(seed);
    RealSide real(seed);
    ModelSide model(seed);
    int emissions = 0;
    int nonTrivialEmissions = 0;
    for (int step = 0; step < 600; ++step) {
        // The test itself runs the same actions from outside any emission.
        const int roll = random.range(0, 99);
        const Step outside{roll < 25 || real.live().empty() ? kConnectNew
                           : roll < 35                      ? kDisconnectOther
                           : roll < 42                      ? kBlock
                           : roll < 50                      ? kUnblock
                                                            : kEmit,
                           static_cast<std::uint64_t>(random.range(0, 1 << 20))};
        const std::size_t before = real.calls.size();
        emissions += outside.action == kEmit;
        perform(real, real.live().size(), outside, 0, [&] { real.emit(emissions); });
        perform(model, model.size(), outside, 0, [&] { model.emit(emissions); });
        nonTrivialEmissions += real.calls.size() > before + 1;
        expectSameState(real, model, step);
        if (HasFatalFailure()) {
            return;
        }
    }
    // The script must actually have exercised emission.
    EXPECT_GT(emissions, 100);
    EXPECT_GT(nonTrivialEmissions, 50);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SignalModelTest, ::testing::Values(1u, 2u, 3u, 42u, 1234u, 99991u));

} // namespace
