// ManagerTest.cpp - the undo manager: long random histories checked step by step against a
// reference model (the queue as a vector, the position as an index, steps and bytes recounted
// from scratch): after each operation the queue, the position, every flag, call count, deletion
// and signal emission must agree. The application's side takes part too: commands that join a
// group late, stray arguments, groups taken out of the queue (and deleted after the manager),
// the installed manager. Then the trace file, every kind of its lines in one history.
#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>
#include <Base/Undo/kyUndoReport.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fstream>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

using kyUndo::Group;
using kyUndo::Manager;

/// What a test command does and what happened to it; outlives the command.
struct Record {
    bool failDo = false, failUndo = false, deleted = false;
    int bytes = 1024, doCalls = 0, undoCalls = 0;
};

/// A command that counts its calls in a `Record` and fails on demand.
struct TestCommand : kyUndo::Command {
    TestCommand(Record* r, const char* name = nullptr, kyUndo::Group* group = nullptr)
        : Command(name, group), record(r) {}
    ~TestCommand() override { record->deleted = true; }
    bool performDo() override {
        ++record->doCalls;
        return !record->failDo;
    }
    bool performUndo() override {
        ++record->undoCalls;
        return !record->failUndo;
    }
    int getNumBytesUsed() const override { return record->bytes; }
    Record* record;
};

constexpr int kValid = 16;

struct MCommand {
    Record* record = nullptr;
    int bits = kValid;
    int calls[2] = {0, 0}; // undo, do
};

struct MGroup {
    MGroup(int i, bool d) : id(i), dynamic(d) {}
    int id;
    bool dynamic;
    bool prunable = true;
    int bits = kValid;
    std::vector<MCommand> commands;
    std::set<const void*> declared;

    long long bytes() const {
        return std::accumulate(
            commands.begin(), commands.end(), 0LL,
            [](long long sum, const MCommand& c) { return sum + c.record->bytes; });
    }
};

// Commands and groups alike: an invalid one fails, one whose last run went the same way
// succeeds without running again; otherwise `body` runs, and a failure invalidates for good. A
// command is marked done or undone even when its action fails, a group only when all succeed.
template <class T, class Body>
bool runOnce(T& x, bool redo, bool markFailure, const Body& body) {
    if ((x.bits & kValid) == 0) {
        return false;
    }
    if ((x.bits & (redo ? 4 : 8)) != 0) {
        return true;
    }
    const bool ok = body();
    if (ok || markFailure) { // "has been" and "last was" for this direction
        x.bits = redo ? (x.bits & ~8) | 1 | 4 : (x.bits & ~4) | 2 | 8;
    }
    x.bits &= ok ? ~0 : ~kValid;
    return ok;
}

bool runCommand(MCommand& c, bool redo) {
    return runOnce(c, redo, true, [&] {
        ++c.calls[redo];
        return !(redo ? c.record->failDo : c.record->failUndo);
    });
}

// Forwards to do, backwards to undo; the first failure stops the group.
bool runGroup(MGroup& g, bool redo) {
    return runOnce(g, redo, false, [&] {
        const auto run = [&](MCommand& c) { return runCommand(c, redo); };
        return redo ? std::all_of(g.commands.begin(), g.commands.end(), run)
                    : std::all_of(g.commands.rbegin(), g.commands.rend(), run);
    });
}

// The reference: vectors and indices, no signals, no lists.
struct Model {
    std::vector<MGroup> groups;
    std::size_t position = 0;
    int counter = 0;
    int maxGroups = 0;
    int maxBytes = 10000000;
    int queueChanged = 0;
    int groupRemoved = 0;
    int activeRuns = 0;
    std::vector<MCommand> deleted, taken; // deleted ones with their calls, checked to the end

    bool atEnd() const { return position == groups.size(); }

    // The oldest group starts a step even when it is dynamic.
    int steps() const {
        return static_cast<int>(std::count_if(groups.begin(), groups.end(), [&](const MGroup& g) {
            return &g == &groups.front() || !g.dynamic;
        }));
    }
    long long bytes() const {
        return std::accumulate(groups.begin(), groups.end(), 0LL,
                               [](long long sum, const MGroup& g) { return sum + g.bytes(); });
    }

    // Deleted, or taken out by the application (`take`), which deletes it later.
    void remove(std::size_t i, bool take = false) {
        ++groupRemoved;
        std::vector<MCommand>& to = take ? taken : deleted;
        to.insert(to.end(), groups[i].commands.begin(), groups[i].commands.end());
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
        queueChanged += !atEnd(); // undone groups go first
        while (!atEnd()) {
            remove(groups.size() - 1);
        }
        // Trailing invalid groups go; the signal comes only when none stops the pruning.
        while (!groups.empty() && (groups.back().bits & kValid) == 0 && groups.back().prunable) {
            remove(groups.size() - 1);
        }
        queueChanged += groups.empty();
        enforce(true);
        groups.emplace_back(++counter, dynamic);
        position = groups.size();
        ++queueChanged;
        return true;
    }

    // One step of groups, a group and the dynamic ones tied to it; a step without commands is
    // stepped over; a failure discards the whole history.
    bool run(bool redo) {
        bool ok = true;
        if (redo ? !atEnd() : position != 0) {
            ++activeRuns;
            std::size_t total = 0;
            do {
                position -= !redo;
                total += groups[position].commands.size();
                ok = runGroup(groups[position], redo);
                position += redo && ok;
            } while (ok && (redo ? !atEnd() : position != 0) && groups[position].dynamic);
            if (!ok) {
                clearAll();
            }
            if (total == 0) { // even after a failure (an invalid empty group)
                ok = run(redo);
            }
        }
        ++queueChanged;
        return ok;
    }

    // Only at the end; a group with commands cannot go alone.
    void deleteLast() {
        if (atEnd() && !groups.empty()) {
            groups.back().commands.empty() ? remove(groups.size() - 1) : clearAll();
            ++queueChanged;
        }
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
    // Back from the position to the start of the step.
    bool reaches(int id) const {
        for (std::size_t i = position; i > 0; --i) {
            if (groups[i - 1].id <= id || !groups[i - 1].dynamic) {
                return groups[i - 1].id <= id;
            }
        }
        return false;
    }
};

class ManagerModelTest : public ::testing::TestWithParam<std::uint32_t> {
protected:
    void SetUp() override {
        ASSERT_EQ(kyUndo::getInstalledManager(), nullptr);
        manager_.reset(kyUndo::newManager());
        kyUndo::installManager(manager_.get());
        ASSERT_EQ(kyUndo::getInstalledManager(), manager_.get());
        manager_->queueChanged.connect([this](bool value) { ++queueChanged_[value]; });
        manager_->groupRemoved.connect([this](Group*) { ++groupRemoved_; });
        manager_->activeChanged.connect([this](bool value) {
            ++activeChanged_[value];
            activeInHandlers_ = activeInHandlers_ && manager_->isActive(); // both ways
        });
    }
    void TearDown() override { kyUndo::installManager(nullptr); }

    // One of six objects that groups declare, or null (from index 6 on), which never
    // invalidates.
    const void* object(int i) const { return i < 6 ? &objects_[i] : nullptr; }

    // Each side's state as one tuple: the manager's, its signals', a group's, a command's.
    void compare(int step, int op) {
        SCOPED_TRACE("step " + std::to_string(step) + " (operation " + std::to_string(op) + ")");
        const int n = static_cast<int>(model_.groups.size());
        const Group* current = manager_->getCurrentGroup();
        ASSERT_EQ(std::make_tuple(manager_->getNumGroups(false), manager_->getNumGroups(true),
                                  manager_->canUndo(), manager_->canRedo(),
                                  current == nullptr ? 0 : current->getID(),
                                  manager_->getMaxGroups(), manager_->getMaxBytes(),
                                  manager_->isActive()),
                  std::make_tuple(n, model_.steps(), model_.position != 0, !model_.atEnd(),
                                  model_.atEnd() ? 0 : model_.groups[model_.position].id,
                                  model_.maxGroups, model_.maxBytes, false));
        // Never a false queue change; the manager is active in both active handlers.
        ASSERT_EQ(std::make_tuple(queueChanged_[1], queueChanged_[0], groupRemoved_,
                                  activeChanged_[1], activeChanged_[0], activeInHandlers_),
                  std::make_tuple(model_.queueChanged, 0, model_.groupRemoved, model_.activeRuns,
                                  model_.activeRuns, true));
        for (int i = 0; i < n; ++i) {
            const MGroup& m = model_.groups[static_cast<std::size_t>(i)];
            Group* g = manager_->getGroup(i);
            // The same group counted from the end and found by its id.
            ASSERT_TRUE(g != nullptr && manager_->getGroup(i - n) == g &&
                        manager_->findGroup(m.id) == g)
                << "group " << i;
            const int commands = static_cast<int>(m.commands.size());
            ASSERT_EQ(std::make_tuple(g->getID(), g->isDynamic(), g->isPrunable(), g->stateBits(),
                                      g->getNumBytesUsed(), g->getNumCommands()),
                      std::make_tuple(m.id, m.dynamic, m.prunable, m.bits,
                                      static_cast<int>(m.bytes()), commands))
                << "group " << i;
            ASSERT_TRUE(g->getCommand(-1) == nullptr && g->getCommand(commands) == nullptr);
            for (int k = 0; k < commands; ++k) {
                const MCommand& mc = m.commands[static_cast<std::size_t>(k)];
                const kyUndo::Command* c = g->getCommand(k);
                ASSERT_EQ(std::make_tuple(c->getID(), c->stateBits(), mc.record->undoCalls,
                                          mc.record->doCalls, mc.record->deleted),
                          std::make_tuple(k + 1, mc.bits, mc.calls[0], mc.calls[1], false))
                    << "group " << i << " command " << k;
            }
        }
        ASSERT_TRUE(manager_->getGroup(n) == nullptr && manager_->getGroup(-n - 1) == nullptr &&
                    manager_->findGroup(0) == nullptr);
        for (const MCommand& mc : model_.deleted) {
            ASSERT_EQ(std::make_tuple(mc.record->undoCalls, mc.record->doCalls, mc.record->deleted),
                      std::make_tuple(mc.calls[0], mc.calls[1], true));
        }
    }

    // Declared first so that they outlive the manager, whose destruction reaches them; groups
    // taken out of the queue are deleted after the manager.
    std::deque<Record> records_;
    std::vector<std::unique_ptr<Group>> taken_;
    int objects_[6] = {};
    int queueChanged_[2] = {}, activeChanged_[2] = {}, groupRemoved_ = 0;
    bool activeInHandlers_ = true;
    Model model_;
    std::unique_ptr<Manager> manager_;
};

TEST_P(ManagerModelTest, RandomHistoriesMatchTheModel) {
    kytest::Random random(GetParam());
    // Per cent of the steps given to each operation, in the order of the switch below.
    const int weights[] = {30, 20, 18, 4, 4, 1, 3, 3, 3, 4, 3, 3, 4, 6, 2, 3};
    int opCounts[16] = {};
    auto below = [&](std::size_t n) { return random.range(0, static_cast<int>(n) - 1); };

    for (int step = 0; step < 4000; ++step) {
        int op = 0;
        for (int roll = random.range(0, 110); roll >= weights[op]; ++op) {
            roll -= weights[op];
        }
        ++opCounts[op];
        // A group of the queue for the operations on one, with its model.
        const int i = model_.groups.empty() ? -1 : below(model_.groups.size());
        Group* g = i < 0 ? nullptr : manager_->getGroup(i);
        MGroup* m = i < 0 ? nullptr : &model_.groups[static_cast<std::size_t>(i)];
        switch (op) {
        case 0: {
            const bool dynamic = random.chance(25);
            const char* name = random.chance(70) ? "g" : nullptr;
            g = manager_->newGroup(name, dynamic);
            ASSERT_EQ(g != nullptr, model_.newGroup(dynamic));
            if (g == nullptr) {
                break;
            }
            ASSERT_STREQ(g->getName(), name);
            m = &model_.groups.back();
            for (int k = random.chance(15) ? 0 : random.range(1, 4); k > 0; --k) {
                records_.push_back(
                    Record{random.chance(4), random.chance(4), false, random.range(1, 4) * 256});
                const bool late = random.chance(20); // made alone, added to the group after
                auto* c = new TestCommand(&records_.back(), random.chance(50) ? "c" : nullptr,
                                          late ? nullptr : g);
                if (late) {
                    ASSERT_EQ(c->getID(), 0);
                    c->addToGroup(nullptr); // ignored
                    g->addCommand(c);
                }
                c->addToGroup(manager_->getGroup(0)); // numbered already: ignored
                m->commands.push_back(MCommand{&records_.back()});
            }
            g->addCommand(nullptr);                      // ignored
            const void* p = object(random.range(0, 15)); // mostly null, which is ignored
            g->declarePointer(p);
            m->declared.insert(p);
            m->declared.erase(nullptr);
            m->prunable = !random.chance(5);
            g->setPrunable(m->prunable);
            if (random.chance(50)) { // the application does the group as it records it
                ASSERT_EQ(g->doIt(), runGroup(*m, true));
            }
            break;
        }
        case 1:
        case 2: {
            const bool redo = op == 2;
            ASSERT_EQ(redo ? manager_->doIt() : manager_->undoIt(), model_.run(redo));
            break;
        }
        case 3: // the last group, or all
        case 5:
            op == 3 ? manager_->deleteLastGroup() : manager_->clearAllGroups();
            op == 3 ? model_.deleteLast() : model_.clearAll();
            break;
        case 4: {
            const int first = random.range(model_.counter - 6, model_.counter + 1);
            const int last = first + random.range(-1, 4);
            manager_->associateGroups(first, last);
            model_.associate(first, last);
            break;
        }
        case 6: {
            const void* p = object(random.range(0, 6));
            manager_->pointerDestroyed(p);
            for (MGroup& each : model_.groups) {
                each.bits &= each.declared.count(p) != 0 ? ~kValid : ~0;
            }
            break;
        }
        case 7: // the count limit (negative: recording off) or the memory limit
        case 8: {
            const bool count = op == 7;
            const int limit = count ? (random.chance(10) ? -1 : random.range(0, 8))
                                    : (random.chance(20) ? 0 : random.range(1, 16) * 512);
            count ? manager_->setMaxGroups(limit) : manager_->setMaxBytes(limit);
            model_.setLimits(count ? limit : model_.maxGroups, count ? model_.maxBytes : limit);
            break;
        }
        case 9: // change what a recorded command will do next time
            if (m != nullptr && !m->commands.empty()) {
                Record* r = m->commands[static_cast<std::size_t>(below(m->commands.size()))].record;
                r->failDo = random.chance(30);
                r->failUndo = random.chance(30);
            }
            break;
        case 10: // the application deletes a group it holds
        case 15: // or takes it out of the queue and owns it from then on
            if (g != nullptr) {
                if (op == 10) {
                    delete g;
                } else {
                    manager_->removeGroup(g);
                    manager_->removeGroup(g); // no longer in the queue: ignored
                    taken_.emplace_back(g);
                }
                model_.remove(static_cast<std::size_t>(i), op == 15);
            }
            break;
        case 11: {
            const int id = random.range(model_.counter - 8, model_.counter + 1); // near the end
            ASSERT_EQ(manager_->currentStepReaches(id), model_.reaches(id)) << "step " << step;
            break;
        }
        case 12:
            if (g != nullptr) {
                g->stateInvalid();
                m->bits &= ~kValid;
            }
            break;
        case 13: // a direct call, which runs nothing twice in a row and fails for good
            if (g != nullptr) {
                const bool redo = random.chance(50);
                if (m->commands.empty() || random.chance(50)) {
                    ASSERT_EQ(redo ? g->doIt() : g->undoIt(), runGroup(*m, redo));
                } else {
                    const int k = below(m->commands.size());
                    kyUndo::Command* c = g->getCommand(k);
                    ASSERT_EQ(redo ? c->doIt() : c->undoIt(),
                              runCommand(m->commands[static_cast<std::size_t>(k)], redo));
                }
            }
            break;
        case 14:
            ASSERT_EQ(manager_->nextGroupID(), ++model_.counter); // an id for the caller
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
    for (int op = 0; op < 16; ++op) {
        EXPECT_GT(opCounts[op], 10) << "operation " << op << " was hardly exercised";
    }
    // Undo and redo must have done real work, failures included.
    int calls[2] = {0, 0};
    manager_.reset();
    taken_.clear(); // their manager's tracker has cut their ties to it
    for (const Record& r : records_) {
        calls[0] += r.undoCalls;
        calls[1] += r.doCalls;
        EXPECT_TRUE(r.deleted);
    }
    EXPECT_GT(std::min(calls[0], calls[1]), 500);
    EXPECT_GT(groupRemoved_, 200);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ManagerModelTest,
                         ::testing::Values(1u, 7u, 2024u, 31337u, 4000000007u));

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line); lines.push_back(line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back(); // text mode on Windows writes CR LF
        }
    }
    return lines;
}

// As the trace prints an address after its "0x" (which the C library may print again).
std::string pointerText(const void* p) {
    char text[64];
    std::snprintf(text, sizeof text, "%p", p);
    return text;
}

// Each test ends with tracing off, which the other tests expect.
using TraceTest = kytest::TempDirTest;

// The expectation lists each kind of line where it first appears; the trace must contain them
// in this order and, in all, exactly as many lines as this history writes. Around the history:
// opening and closing the file, and a line too long for the formatter.
TEST_F(TraceTest, EveryKindOfLineInOneHistory) {
    kyUndoReport("nothing %d\n", 1); // no file: nothing happens
    const std::string file = path("undo-trace.txt");
    kyUndoReportInit(file.c_str());
    Record records[4] = {{false, false, false, 100}, {false, true}, {true}, {}};
    std::string at[3]; // the addresses of two commands and of the declared object
    int object = 0;
    at[2] = pointerText(&object);
    kyUndo::Manager* m = kyUndo::newManager();

    // An unnamed dynamic group, done by the application; its unnamed command fails to undo.
    kyUndo::Group* g = m->newGroup(nullptr, true);
    new TestCommand(&records[0], "alpha", g);
    at[0] = pointerText(new TestCommand(&records[1], nullptr, g));
    EXPECT_TRUE(g->doIt());
    EXPECT_FALSE(m->undoIt());
    // A command fails to do; the group is then invalid both ways and loses a declared object.
    g = m->newGroup("second", false);
    g->declarePointer(&object);
    new TestCommand(&records[2], "gamma", g);
    EXPECT_FALSE(g->doIt());
    EXPECT_FALSE(g->doIt());
    EXPECT_FALSE(g->undoIt());
    m->pointerDestroyed(&object);
    // The next group prunes it; an empty step is stepped over both ways up to the queue's ends.
    m->newGroup("empty", false);
    at[1] = pointerText(new TestCommand(&records[3], "delta", m->newGroup("last", false)));
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->doIt());
    EXPECT_TRUE(m->doIt());
    EXPECT_TRUE(m->undoIt());
    m->newGroup("next", false); // discards the undone group
    m->deleteLastGroup();
    m->associateGroups(1, 10);
    delete m;
    kyUndoReportInit(""); // an empty path only closes
    kyUndoReport("lost\n");
    kyUndoReportInit(dir().string().c_str()); // unopenable: tracing stays off
    kyUndoReport("lost too\n");
    kyUndoReportInit(file.c_str()); // reopened for appending
    kyUndoReport("%s and %d\n", std::string(3000, 'x').c_str(), 2);
    kyUndoReportInit(nullptr);
    kyUndoReport("not written\n");

    const std::string separator = "------------------------------";
    const std::string expected[] = {
        "",
        separator,
        "",
        "--------------------------------------------------------",
        "kyUndo::newGroup (noname, dynamic = 1)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (noname)",
        "    kyUndo::Command: new (noname, 0x" + at[0] + ")",
        "  + kyUndo::Group: doIt() - (noname) 2 commands 1124 bytes.",
        "    + kyUndo::Command: doIt ((null), 0x" + at[0] + "), 1024 bytes",
        "- kyUndo::Manager: undoIt() - 1 groups, 1124 bytes used",
        "  - kyUndo::Group: undoIt() - (noname) 2 commands 1124 bytes.",
        "    - kyUndo::Command: undoIt ((null), 0x" + at[0] + "), 1024 bytes",
        "    - kyUndo::Command: undo of noname returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'undo' of command 1 (noname) returnedfailure status",
        "  ! kyUndo::Group: marking group (noname) invalid.",
        "kyUndo::Manager: currentGroupIsInvalid()",
        "kyUndo::Manager: clearAllGroups()",
        "  kyUndo::Group: delete group (noname) - 1124 bytes",
        "    kyUndo::Command: delete (noname, 0x" + at[0] + ")",
        "kyUndo::newGroup (second, dynamic = 0)",
        "    - kyUndo::Command: 'do' of gamma returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'do' of command 0 (gamma) returnedfailure status",
        "  ! kyUndo::Group: doIt() - (second) invalid group.",
        "  ! kyUndo::Group: undoIt() - (second) invalid group.",
        "!   kyUndo::Group: pointer 0x" + at[2] + " declared by group has been destroyed",
        "!   kyUndo::Group: marking group (second) invalid.",
        "  kyUndo::Group: delete group (second) - 1024 bytes",
        "    - kyUndo::Command: undoIt (delta, 0x" + at[1] + "), 1024 bytes",
        "- kyUndo::Manager: undoIt() - empty group, undoing again.",
        "- kyUndo::Manager: undoIt() - at beginning of queue.",
        "+ kyUndo::Manager: doIt() - 2 groups, 1024 bytes used",
        "+ kyUndo::Manager: doIt() - empty group, doing again.",
        "+ kyUndo::Manager: doIt() - at end of queue.",
        "kyUndo::Manager: pruneUndoneGroups()",
        "  kyUndo::Group: delete group (last) - 1024 bytes",
        "kyUndo::Manager: deleteLastGroup()",
        "kyUndo::Manager: associateGroups (1, 10)",
        "",
        separator,
        "",
        std::string(1023, 'x'),
    };
    const std::vector<std::string> actual = readLines(file);
    std::size_t found = 0;
    for (std::size_t i = 0; i < actual.size() && found < std::size(expected); ++i) {
        found += actual[i] == expected[found];
    }
    EXPECT_EQ(found, std::size(expected)) << "missing or out of order: " << expected[found];
    EXPECT_EQ(actual.size(), 85u);
    EXPECT_EQ(actual.back(), expected[std::size(expected) - 1]);
}

} // namespace
