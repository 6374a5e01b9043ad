// ManagerModelTest.cpp - long random histories checked step by step against a reference model
// (the queue as a vector, the position as an index, steps and bytes recounted from scratch):
// after each operation the queue, the position, every flag, call count, deletion and signal
// emission must agree.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

using kyUndo::Group;
using kyUndo::Manager;
using undotest::Record;
using undotest::SignalCounts;
using undotest::TestCommand;

constexpr int kValid = 16;

// The bits after a do (`redo`) or an undo: "has been" and "last was" for that direction.
void mark(int& bits, bool redo) {
    bits = redo ? (bits & ~8) | 1 | 4 : (bits & ~4) | 2 | 8;
}

struct MCommand {
    Record* record = nullptr;
    int bits = kValid;
    int calls[2] = {0, 0}; // undo, do
};

struct MGroup {
    int id = 0;
    bool dynamic = false;
    bool prunable = true;
    int bits = kValid;
    std::vector<MCommand> commands;
    std::set<const void*> declared;

    long long bytes() const {
        long long sum = 0;
        for (const MCommand& c : commands) {
            sum += c.record->bytes;
        }
        return sum;
    }
};

// A command runs its action once per change of direction and is marked even when the action
// fails, which invalidates it for good.
bool runCommand(MCommand& c, bool redo) {
    if ((c.bits & kValid) == 0) {
        return false;
    }
    if ((c.bits & (redo ? 4 : 8)) != 0) {
        return true;
    }
    ++c.calls[redo];
    const bool ok = !(redo ? c.record->failDo : c.record->failUndo);
    mark(c.bits, redo);
    if (!ok) {
        c.bits &= ~kValid;
    }
    return ok;
}

// A group runs its commands forwards to do and backwards to undo; the first failure stops it
// unmarked and invalid.
bool runGroup(MGroup& g, bool redo) {
    if ((g.bits & kValid) == 0) {
        return false;
    }
    if ((g.bits & (redo ? 4 : 8)) != 0) {
        return true;
    }
    const std::size_t n = g.commands.size();
    for (std::size_t k = 0; k < n; ++k) {
        if (!runCommand(g.commands[redo ? k : n - 1 - k], redo)) {
            g.bits &= ~kValid;
            return false;
        }
    }
    mark(g.bits, redo);
    return true;
}

// The reference: vectors and indices, no signals, no lists.
class Model {
public:
    std::vector<MGroup> groups;
    std::size_t position = 0;
    int counter = 0;
    int maxGroups = 0;
    int maxBytes = 10000000;
    int queueChanged = 0;
    int groupRemoved = 0;
    int activeRuns = 0;
    std::vector<MCommand> deleted; // with their calls, checked to the end

    bool atEnd() const { return position == groups.size(); }

    int steps() const {
        int n = 0;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            n += i == 0 || !groups[i].dynamic;
        }
        return n;
    }
    long long bytes() const {
        long long sum = 0;
        for (const MGroup& g : groups) {
            sum += g.bytes();
        }
        return sum;
    }

    void remove(std::size_t i) {
        ++groupRemoved;
        deleted.insert(deleted.end(), groups[i].commands.begin(), groups[i].commands.end());
        groups.erase(groups.begin() + static_cast<long>(i));
        position -= position > i;
    }
    void clearAll() {
        while (!groups.empty()) {
            remove(0);
        }
        ++queueChanged;
    }
    void deleteOldestStep() {
        const bool firstDynamic = groups.front().dynamic;
        remove(0);
        while (!firstDynamic && !groups.empty() && groups.front().dynamic) {
            remove(0);
        }
        ++queueChanged;
    }
    void enforce(bool reserve) {
        const long long limit = reserve ? maxGroups - 1LL : maxGroups;
        while (maxGroups != 0 && steps() > limit && !groups.empty() && groups.front().prunable) {
            deleteOldestStep();
        }
        while (maxBytes != 0 && bytes() > maxBytes && !groups.empty() && groups.front().prunable) {
            deleteOldestStep();
        }
        position = groups.size();
    }
    void setLimits(int groupLimit, int byteLimit) {
        maxGroups = groupLimit;
        maxBytes = byteLimit;
        if (atEnd()) {
            enforce(false);
        }
    }

    // Returns false when recording is off.
    bool newGroup(bool dynamic) {
        if (maxGroups < 0) {
            return false;
        }
        if (!atEnd()) {
            while (groups.size() > position) {
                remove(groups.size() - 1);
            }
            ++queueChanged;
        }
        bool stopped = false;
        while (!groups.empty() && !stopped) {
            const MGroup& last = groups.back();
            stopped = (last.bits & kValid) != 0 || !last.prunable;
            if (!stopped) {
                remove(groups.size() - 1);
            }
        }
        queueChanged += !stopped;
        enforce(true);
        MGroup group;
        group.id = ++counter;
        group.dynamic = dynamic;
        groups.push_back(group);
        position = groups.size();
        ++queueChanged;
        return true;
    }

    // One step of groups, a group and the dynamic ones tied to it; a step without commands is
    // stepped over; a failure discards the whole history.
    bool run(bool redo) {
        bool result = true;
        if (redo ? !atEnd() : position != 0) {
            ++activeRuns;
            std::size_t total = 0;
            for (;;) {
                position -= !redo;
                MGroup& g = groups[position];
                total += g.commands.size();
                if (!runGroup(g, redo)) {
                    clearAll();
                    result = false;
                    break;
                }
                position += redo;
                if (redo ? atEnd() || !groups[position].dynamic : position == 0 || !g.dynamic) {
                    break;
                }
            }
            if (total == 0) {
                result = run(redo);
            }
        }
        ++queueChanged;
        return result;
    }

    void deleteLast() {
        if (!atEnd() || groups.empty()) {
            return;
        }
        if (!groups.back().commands.empty()) {
            clearAll();
        } else {
            remove(groups.size() - 1);
        }
        ++queueChanged;
    }
    void associate(int first, int last) {
        bool isFirst = true;
        for (MGroup& g : groups) {
            if (g.id >= first && g.id <= last) {
                g.dynamic = !isFirst;
                isFirst = false;
            }
        }
        ++queueChanged;
    }
    bool reaches(int id) const {
        for (std::size_t i = position; i > 0; --i) {
            if (groups[i - 1].id <= id) {
                return true;
            }
            if (!groups[i - 1].dynamic) {
                return false;
            }
        }
        return false;
    }
};

class ManagerModelTest : public ::testing::TestWithParam<std::uint32_t> {
protected:
    void compare(int step, int op) {
        SCOPED_TRACE("step " + std::to_string(step) + " (operation " + std::to_string(op) + ")");
        const int n = static_cast<int>(model_.groups.size());
        ASSERT_EQ(manager_->getNumGroups(false), n);
        ASSERT_EQ(manager_->getNumGroups(true), model_.steps());
        ASSERT_EQ(manager_->canRedo(), !model_.atEnd());
        ASSERT_EQ(manager_->canUndo(), model_.position != 0);
        Group* current = manager_->getCurrentGroup();
        ASSERT_EQ(current == nullptr ? 0 : current->getID(),
                  model_.atEnd() ? 0 : model_.groups[model_.position].id);
        for (int i = 0; i < n; ++i) {
            const MGroup& m = model_.groups[static_cast<std::size_t>(i)];
            Group* g = manager_->getGroup(i);
            ASSERT_NE(g, nullptr);
            ASSERT_EQ(g->getID(), m.id) << "group " << i;
            ASSERT_EQ(manager_->getGroup(i - n), g); // counted from the end
            ASSERT_EQ(manager_->findGroup(m.id), g);
            ASSERT_EQ(g->isDynamic(), m.dynamic) << "group " << i;
            ASSERT_EQ(g->isPrunable(), m.prunable) << "group " << i;
            ASSERT_EQ(g->stateBits(), m.bits) << "group " << i;
            ASSERT_EQ(g->getNumCommands(), static_cast<int>(m.commands.size()));
            ASSERT_EQ(g->getNumBytesUsed(), static_cast<int>(m.bytes()));
            for (std::size_t k = 0; k < m.commands.size(); ++k) {
                const MCommand& mc = m.commands[k];
                ASSERT_EQ(g->getCommand(static_cast<int>(k))->stateBits(), mc.bits);
                ASSERT_EQ(g->getCommand(static_cast<int>(k))->getID(), static_cast<int>(k) + 1);
                ASSERT_EQ(mc.record->doCalls, mc.calls[1]) << "group " << i << " command " << k;
                ASSERT_EQ(mc.record->undoCalls, mc.calls[0]);
                ASSERT_FALSE(mc.record->deleted);
            }
        }
        ASSERT_EQ(manager_->getGroup(n), nullptr);
        ASSERT_EQ(manager_->getGroup(-n - 1), nullptr);
        ASSERT_EQ(manager_->findGroup(0), nullptr);
        for (const MCommand& mc : model_.deleted) {
            ASSERT_TRUE(mc.record->deleted);
            ASSERT_EQ(mc.record->doCalls, mc.calls[1]);
            ASSERT_EQ(mc.record->undoCalls, mc.calls[0]);
        }
        ASSERT_EQ(counts_.queueChanged, model_.queueChanged);
        ASSERT_EQ(counts_.queueChangedFalse, 0);
        ASSERT_EQ(counts_.groupRemoved, model_.groupRemoved);
        ASSERT_EQ(counts_.activeTrue, model_.activeRuns);
        ASSERT_EQ(counts_.activeFalse, model_.activeRuns);
        ASSERT_TRUE(counts_.activeSeenInHandler);
        ASSERT_FALSE(manager_->isActive());
        ASSERT_EQ(manager_->getMaxGroups(), model_.maxGroups);
        ASSERT_EQ(manager_->getMaxBytes(), model_.maxBytes);
    }

    // Declared first so that they outlive the manager, whose destruction reaches them.
    std::deque<Record> records_;
    SignalCounts counts_;
    Model model_;
    std::unique_ptr<Manager> manager_;
};

TEST_P(ManagerModelTest, RandomHistoriesMatchTheModel) {
    kytest::Random random(GetParam());
    manager_.reset(kyUndo::newManager());
    counts_.attach(manager_.get());
    int pointers[6] = {};
    // Per cent of the steps given to each operation, in the order of the switch below.
    const int weights[] = {30, 20, 18, 4, 4, 1, 3, 3, 3, 4, 3, 3, 4, 6, 2};
    int opCounts[15] = {};
    auto below = [&](std::size_t n) { return random.range(0, static_cast<int>(n) - 1); };
    auto anyGroup = [&] { return below(model_.groups.size()); };

    for (int step = 0; step < 4000; ++step) {
        int op = 0;
        for (int roll = random.range(0, 107); roll >= weights[op]; ++op) {
            roll -= weights[op];
        }
        ++opCounts[op];
        switch (op) {
        case 0: {
            const bool dynamic = random.chance(25);
            Group* g = manager_->newGroup(random.chance(70) ? "g" : nullptr, dynamic);
            ASSERT_EQ(g != nullptr, model_.newGroup(dynamic));
            if (g == nullptr) {
                break;
            }
            MGroup& m = model_.groups.back();
            const int commands = random.chance(15) ? 0 : random.range(1, 4);
            for (int k = 0; k < commands; ++k) {
                records_.emplace_back();
                Record& r = records_.back();
                r.bytes = random.range(1, 4) * 256;
                r.failDo = random.chance(4);
                r.failUndo = random.chance(4);
                new TestCommand(&r, random.chance(50) ? "c" : nullptr, g);
                m.commands.push_back(MCommand{&r});
            }
            if (random.chance(30)) {
                const int* p = &pointers[random.range(0, 5)];
                g->declarePointer(p);
                m.declared.insert(p);
            }
            if (random.chance(5)) {
                g->setPrunable(false);
                m.prunable = false;
            }
            if (random.chance(50)) { // the application does the group as it records it
                ASSERT_EQ(g->doIt(), runGroup(m, true));
            }
            break;
        }
        case 1:
        case 2: {
            const bool redo = op == 2;
            const bool expected = model_.run(redo);
            ASSERT_EQ(redo ? manager_->doIt() : manager_->undoIt(), expected) << "step " << step;
            break;
        }
        case 3:
            manager_->deleteLastGroup();
            model_.deleteLast();
            break;
        case 4: {
            const int first = random.range(model_.counter - 6, model_.counter + 1);
            const int last = first + random.range(-1, 4);
            manager_->associateGroups(first, last);
            model_.associate(first, last);
            break;
        }
        case 5:
            manager_->clearAllGroups();
            model_.clearAll();
            break;
        case 6: {
            const void* p = &pointers[random.range(0, 5)];
            manager_->pointerDestroyed(p);
            for (MGroup& g : model_.groups) {
                g.bits &= g.declared.count(p) != 0 ? ~kValid : ~0;
            }
            break;
        }
        case 7: {
            const int limit = random.chance(10) ? -1 : random.range(0, 8);
            manager_->setMaxGroups(limit);
            model_.setLimits(limit, model_.maxBytes);
            break;
        }
        case 8: {
            const int limit = random.chance(20) ? 0 : random.range(1, 16) * 512;
            manager_->setMaxBytes(limit);
            model_.setLimits(model_.maxGroups, limit);
            break;
        }
        case 9: // change what a recorded command will do next time
            if (!model_.groups.empty()) {
                MGroup& m = model_.groups[static_cast<std::size_t>(anyGroup())];
                if (!m.commands.empty()) {
                    Record* r =
                        m.commands[static_cast<std::size_t>(below(m.commands.size()))].record;
                    r->failDo = random.chance(30);
                    r->failUndo = random.chance(30);
                }
            }
            break;
        case 10: // the application deletes a group it holds
            if (!model_.groups.empty()) {
                const int i = anyGroup();
                delete manager_->getGroup(i);
                model_.remove(static_cast<std::size_t>(i));
            }
            break;
        case 11: {
            const int id = random.range(0, model_.counter + 1);
            ASSERT_EQ(manager_->currentStepReaches(id), model_.reaches(id)) << "step " << step;
            break;
        }
        case 13: // a direct call, which runs nothing twice in a row and fails for good
            if (!model_.groups.empty()) {
                const int i = anyGroup();
                MGroup& m = model_.groups[static_cast<std::size_t>(i)];
                Group* g = manager_->getGroup(i);
                const bool redo = random.chance(50);
                if (m.commands.empty() || random.chance(50)) {
                    ASSERT_EQ(redo ? g->doIt() : g->undoIt(), runGroup(m, redo));
                } else {
                    const int k = below(m.commands.size());
                    kyUndo::Command* c = g->getCommand(k);
                    ASSERT_EQ(redo ? c->doIt() : c->undoIt(),
                              runCommand(m.commands[static_cast<std::size_t>(k)], redo));
                }
            }
            break;
        case 14:
            ASSERT_EQ(manager_->nextGroupID(), ++model_.counter); // an id for the caller
            break;
        default:
            if (!model_.groups.empty()) {
                const int i = anyGroup();
                manager_->getGroup(i)->stateInvalid();
                model_.groups[static_cast<std::size_t>(i)].bits &= ~kValid;
            }
            break;
        }
        // Recording stays mostly on so that histories grow.
        if (model_.maxGroups < 0 && random.chance(30)) {
            manager_->setMaxGroups(0);
            model_.setLimits(0, model_.maxBytes);
        }
        compare(step, op);
        if (HasFatalFailure()) {
            return;
        }
    }
    for (int op = 0; op < 15; ++op) {
        EXPECT_GT(opCounts[op], 10) << "operation " << op << " was hardly exercised";
    }
    // Undo and redo must have done real work, failures included.
    int calls[2] = {0, 0};
    manager_.reset();
    for (const Record& r : records_) {
        calls[0] += r.undoCalls;
        calls[1] += r.doCalls;
        EXPECT_TRUE(r.deleted);
    }
    EXPECT_GT(std::min(calls[0], calls[1]), 500);
    EXPECT_GT(counts_.groupRemoved, 200);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ManagerModelTest,
                         ::testing::Values(1u, 7u, 2024u, 31337u, 4000000007u));

} // namespace
