// ManagerModelTest.cpp - long random histories checked step by step against a reference model.
//
// The model keeps the queue as a vector of plain group records and the position as an index,
// recounts steps and bytes from scratch whenever it needs them, and tracks every command's
// flag bits and calls. The real manager and the model get the same seeded sequence of
// operations; after each one the queue, the position, every flag, every call count, every
// deletion and every signal emission must agree.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

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

void done(int& bits) {
    bits = (bits & ~8) | 1 | 4;
}
void undone(int& bits) {
    bits = (bits & ~4) | 2 | 8;
}

struct MCommand {
    Record* record = nullptr;
    int bits = kValid;
    int expectedDo = 0;
    int expectedUndo = 0;
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
    std::vector<Record*> deletedRecords;

    bool atEnd() const { return position == groups.size(); }

    int steps() const {
        int n = 0;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            if (i == 0 || !groups[i].dynamic) {
                ++n;
            }
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
        for (MCommand& c : groups[i].commands) {
            deletedRecords.push_back(c.record);
        }
        groups.erase(groups.begin() + static_cast<long>(i));
        if (position > i) {
            --position;
        }
    }
    void clearAll() {
        while (!groups.empty()) {
            remove(0);
        }
        position = 0;
        ++queueChanged;
    }
    void deleteOldestStep() {
        const bool firstDynamic = groups.front().dynamic;
        remove(0);
        if (!firstDynamic) {
            while (!groups.empty() && groups.front().dynamic) {
                remove(0);
            }
        }
        ++queueChanged;
    }
    void enforce(bool reserve) {
        if (maxGroups != 0) {
            const long long limit = reserve ? maxGroups - 1LL : maxGroups;
            while (steps() > limit && !groups.empty() && groups.front().prunable) {
                deleteOldestStep();
            }
        }
        if (maxBytes != 0) {
            while (bytes() > maxBytes && !groups.empty() && groups.front().prunable) {
                deleteOldestStep();
            }
        }
        position = groups.size();
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
        while (!groups.empty()) {
            const MGroup& last = groups.back();
            if ((last.bits & kValid) != 0 || !last.prunable) {
                stopped = true;
                break;
            }
            remove(groups.size() - 1);
            position = groups.size();
        }
        if (!stopped) {
            ++queueChanged;
        }
        enforce(true);
        MGroup group;
        group.id = ++counter;
        group.dynamic = dynamic;
        groups.push_back(group);
        position = groups.size();
        ++queueChanged;
        return true;
    }

    static bool commandDo(MCommand& c) {
        if ((c.bits & kValid) == 0) {
            return false;
        }
        if ((c.bits & 4) != 0) {
            done(c.bits);
            return true;
        }
        ++c.expectedDo;
        const bool ok = !c.record->failDo;
        done(c.bits);
        if (!ok) {
            c.bits &= ~kValid;
        }
        return ok;
    }
    static bool commandUndo(MCommand& c) {
        if ((c.bits & kValid) == 0) {
            return false;
        }
        if ((c.bits & 8) != 0) {
            undone(c.bits);
            return true;
        }
        ++c.expectedUndo;
        const bool ok = !c.record->failUndo;
        undone(c.bits);
        if (!ok) {
            c.bits &= ~kValid;
        }
        return ok;
    }
    static bool groupDo(MGroup& g) {
        if ((g.bits & kValid) == 0) {
            return false;
        }
        if ((g.bits & 4) != 0) {
            return true;
        }
        for (MCommand& c : g.commands) {
            if (!commandDo(c)) {
                g.bits &= ~kValid;
                return false;
            }
        }
        done(g.bits);
        return true;
    }
    static bool groupUndo(MGroup& g) {
        if ((g.bits & kValid) == 0) {
            return false;
        }
        if ((g.bits & 8) != 0) {
            return true;
        }
        for (std::size_t i = g.commands.size(); i-- > 0;) {
            if (!commandUndo(g.commands[i])) {
                g.bits &= ~kValid;
                return false;
            }
        }
        undone(g.bits);
        return true;
    }

    bool redo() {
        bool result = true;
        if (!atEnd()) {
            ++activeRuns;
            std::size_t total = 0;
            for (;;) {
                MGroup& g = groups[position];
                total += g.commands.size();
                if (!groupDo(g)) {
                    clearAll();
                    result = false;
                    break;
                }
                ++position;
                if (atEnd() || !groups[position].dynamic) {
                    break;
                }
            }
            if (total == 0) {
                result = redo();
            }
        }
        ++queueChanged;
        return result;
    }
    bool undo() {
        bool result = true;
        if (position != 0) {
            ++activeRuns;
            std::size_t total = 0;
            for (;;) {
                --position;
                MGroup& g = groups[position];
                total += g.commands.size();
                if (!groupUndo(g)) {
                    clearAll();
                    result = false;
                    break;
                }
                if (position == 0 || !g.dynamic) {
                    break;
                }
            }
            if (total == 0) {
                result = undo();
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
    void pointerDestroyed(const void* p) {
        for (MGroup& g : groups) {
            if (g.declared.count(p) != 0) {
                g.bits &= ~kValid;
            }
        }
    }
    bool reaches(int id) const {
        std::size_t i = position;
        while (i > 0) {
            --i;
            if (groups[i].id <= id) {
                return true;
            }
            if (!groups[i].dynamic) {
                return false;
            }
        }
        return false;
    }
};

class ManagerModelTest : public ::testing::TestWithParam<std::uint32_t> {
protected:
    void compare(int step, const char* op) {
        SCOPED_TRACE(std::string("step ") + std::to_string(step) + " (" + op + ")");
        const int n = static_cast<int>(model_.groups.size());
        ASSERT_EQ(manager_->getNumGroups(false), n);
        ASSERT_EQ(manager_->getNumGroups(true), model_.steps());
        ASSERT_EQ(manager_->canRedo(), !model_.atEnd());
        ASSERT_EQ(manager_->canUndo(), model_.position != 0);
        Group* current = manager_->getCurrentGroup();
        if (model_.atEnd()) {
            ASSERT_EQ(current, nullptr);
        } else {
            ASSERT_NE(current, nullptr);
            ASSERT_EQ(current->getID(), model_.groups[model_.position].id);
        }
        for (int i = 0; i < n; ++i) {
            const MGroup& m = model_.groups[static_cast<std::size_t>(i)];
            Group* g = manager_->getGroup(i);
            ASSERT_NE(g, nullptr);
            ASSERT_EQ(g->getID(), m.id) << "group " << i;
            ASSERT_EQ(g->isDynamic(), m.dynamic) << "group " << i;
            ASSERT_EQ(g->isPrunable(), m.prunable) << "group " << i;
            ASSERT_EQ(g->stateBits(), m.bits) << "group " << i;
            ASSERT_EQ(g->getNumCommands(), static_cast<int>(m.commands.size()));
            ASSERT_EQ(g->getNumBytesUsed(), static_cast<int>(m.bytes()));
            for (std::size_t k = 0; k < m.commands.size(); ++k) {
                const MCommand& mc = m.commands[k];
                ASSERT_EQ(g->getCommand(static_cast<int>(k))->stateBits(), mc.bits);
                ASSERT_EQ(mc.record->doCalls, mc.expectedDo) << "group " << i << " command " << k;
                ASSERT_EQ(mc.record->undoCalls, mc.expectedUndo);
                ASSERT_FALSE(mc.record->deleted);
            }
        }
        for (Record* r : model_.deletedRecords) {
            ASSERT_TRUE(r->deleted);
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
    int opCounts[16] = {};
    const char* opName = "";

    for (int step = 0; step < 4000; ++step) {
        const int roll = random.range(0, 99);
        if (roll < 30) {
            opName = "newGroup";
            ++opCounts[0];
            const bool dynamic = random.chance(25);
            const bool named = random.chance(70);
            Group* g = manager_->newGroup(named ? "g" : nullptr, dynamic);
            const bool recorded = model_.newGroup(dynamic);
            ASSERT_EQ(g != nullptr, recorded);
            if (g != nullptr) {
                MGroup& m = model_.groups.back();
                const int commands = random.chance(15) ? 0 : random.range(1, 4);
                for (int k = 0; k < commands; ++k) {
                    records_.emplace_back();
                    Record& r = records_.back();
                    r.bytes = random.range(1, 4) * 256;
                    r.failDo = random.chance(4);
                    r.failUndo = random.chance(4);
                    new TestCommand(&r, random.chance(50) ? "c" : nullptr, g);
                    MCommand command;
                    command.record = &r;
                    m.commands.push_back(command);
                }
                if (random.chance(30)) {
                    const int which = random.range(0, 5);
                    g->declarePointer(&pointers[which]);
                    m.declared.insert(&pointers[which]);
                }
                if (random.chance(5)) {
                    g->setPrunable(false);
                    m.prunable = false;
                }
                if (random.chance(50)) {
                    // The application does the group right away, as it records it.
                    const bool ok = g->doIt();
                    ASSERT_EQ(ok, Model::groupDo(m));
                }
            }
        } else if (roll < 50) {
            opName = "undoIt";
            ++opCounts[1];
            const bool expected = model_.undo();
            ASSERT_EQ(manager_->undoIt(), expected) << "step " << step;
        } else if (roll < 68) {
            opName = "doIt";
            ++opCounts[2];
            const bool expected = model_.redo();
            ASSERT_EQ(manager_->doIt(), expected) << "step " << step;
        } else if (roll < 72) {
            opName = "deleteLastGroup";
            ++opCounts[3];
            manager_->deleteLastGroup();
            model_.deleteLast();
        } else if (roll < 76) {
            opName = "associateGroups";
            ++opCounts[4];
            const int first = random.range(model_.counter - 6, model_.counter + 1);
            const int last = first + random.range(-1, 4);
            manager_->associateGroups(first, last);
            model_.associate(first, last);
        } else if (roll < 77) {
            opName = "clearAllGroups";
            ++opCounts[5];
            manager_->clearAllGroups();
            model_.clearAll();
        } else if (roll < 80) {
            opName = "pointerDestroyed";
            ++opCounts[6];
            const void* p = &pointers[random.range(0, 5)];
            manager_->pointerDestroyed(p);
            model_.pointerDestroyed(p);
        } else if (roll < 83) {
            opName = "setMaxGroups";
            ++opCounts[7];
            const int limit = random.chance(10) ? -1 : random.range(0, 8);
            manager_->setMaxGroups(limit);
            model_.maxGroups = limit;
            if (model_.atEnd()) {
                model_.enforce(false);
            }
        } else if (roll < 86) {
            opName = "setMaxBytes";
            ++opCounts[8];
            const int limit = random.chance(20) ? 0 : random.range(1, 16) * 512;
            manager_->setMaxBytes(limit);
            model_.maxBytes = limit;
            if (model_.atEnd()) {
                model_.enforce(false);
            }
        } else if (roll < 90) {
            opName = "toggle failure";
            ++opCounts[9];
            if (!model_.groups.empty()) {
                MGroup& m = model_.groups[static_cast<std::size_t>(
                    random.range(0, static_cast<int>(model_.groups.size()) - 1))];
                if (!m.commands.empty()) {
                    Record* r = m.commands[static_cast<std::size_t>(random.range(
                                               0, static_cast<int>(m.commands.size()) - 1))]
                                    .record;
                    r->failDo = random.chance(30);
                    r->failUndo = random.chance(30);
                }
            }
        } else if (roll < 93) {
            opName = "delete group";
            ++opCounts[10];
            if (!model_.groups.empty()) {
                const int i = random.range(0, static_cast<int>(model_.groups.size()) - 1);
                delete manager_->getGroup(i);
                model_.remove(static_cast<std::size_t>(i));
            }
        } else if (roll < 96) {
            opName = "currentStepReaches";
            ++opCounts[11];
            const int id = random.range(0, model_.counter + 1);
            ASSERT_EQ(manager_->currentStepReaches(id), model_.reaches(id)) << "step " << step;
        } else {
            opName = "invalidate";
            ++opCounts[12];
            if (!model_.groups.empty()) {
                const int i = random.range(0, static_cast<int>(model_.groups.size()) - 1);
                manager_->getGroup(i)->stateInvalid();
                model_.groups[static_cast<std::size_t>(i)].bits &= ~kValid;
            }
        }
        // Recording stays mostly on so that histories grow.
        if (model_.maxGroups < 0 && random.chance(30)) {
            manager_->setMaxGroups(0);
            model_.maxGroups = 0;
            if (model_.atEnd()) {
                model_.enforce(false);
            }
        }
        compare(step, opName);
        if (HasFatalFailure()) {
            return;
        }
    }
    for (int op = 0; op <= 12; ++op) {
        EXPECT_GT(opCounts[op], 10) << "operation " << op << " was hardly exercised";
    }
    // Undo and redo must have done real work, failures included.
    int doCalls = 0;
    int undoCalls = 0;
    for (const Record& r : records_) {
        doCalls += r.doCalls;
        undoCalls += r.undoCalls;
    }
    EXPECT_GT(doCalls, 500);
    EXPECT_GT(undoCalls, 500);
    EXPECT_GT(counts_.groupRemoved, 200);

    manager_.reset();
    for (const Record& r : records_) {
        EXPECT_TRUE(r.deleted);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ManagerModelTest,
                         ::testing::Values(1u, 7u, 2024u, 31337u, 4000000007u));

} // namespace
