// undo_bench.cpp - recording, undoing and redoing a long history.
//
// 1,000,000 commands in 100,000 groups of 10: record them (each group opened with newGroup,
// each command made into it), undo everything step by step, redo everything, and delete the
// manager. The memory limit is switched off (setMaxBytes(0)) so that the whole history stays;
// with the default 10,000,000 bytes the manager would keep only the newest ~9,700 commands.
// Tracing is off, as in production. Times are reported as nanoseconds per command.
#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>

#include <kyBenchSupport.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace {

constexpr int kGroups = 100000;
constexpr int kCommandsPerGroup = 10;
constexpr int kCommands = kGroups * kCommandsPerGroup;

// Adds to or subtracts from a shared value: the cheapest real action.
class AddCommand : public kyUndo::Command {
public:
    AddCommand(long long* target, int amount, kyUndo::Group* group)
        : Command("add", group), target_(target), amount_(amount) {}
    bool performDo() override {
        *target_ += amount_;
        return true;
    }
    bool performUndo() override {
        *target_ -= amount_;
        return true;
    }

private:
    long long* target_;
    int amount_;
};

using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

struct Phases {
    double record = 0;
    double undoAll = 0;
    double redoAll = 0;
    double destroy = 0;
};

// One whole run; checks that the history really was undone and redone.
Phases runOnce() {
    Phases phases;
    long long value = 0;
    std::unique_ptr<kyUndo::Manager> manager(kyUndo::newManager());
    manager->setMaxBytes(0);

    Clock::time_point t0 = Clock::now();
    for (int g = 0; g < kGroups; ++g) {
        kyUndo::Group* group = manager->newGroup("group", false);
        for (int c = 0; c < kCommandsPerGroup; ++c) {
            new AddCommand(&value, 1, group);
        }
        group->doIt();
    }
    Clock::time_point t1 = Clock::now();
    while (manager->canUndo()) {
        manager->undoIt();
    }
    Clock::time_point t2 = Clock::now();
    while (manager->canRedo()) {
        manager->doIt();
    }
    Clock::time_point t3 = Clock::now();
    if (value != kCommands || manager->getNumGroups(false) != kGroups) {
        std::fprintf(stderr, "undo bench: wrong history (value %lld, %d groups)\n", value,
                     manager->getNumGroups(false));
    }
    manager.reset();
    Clock::time_point t4 = Clock::now();
    phases.record = seconds(t0, t1);
    phases.undoAll = seconds(t1, t2);
    phases.redoAll = seconds(t2, t3);
    phases.destroy = seconds(t3, t4);
    return phases;
}

enum Phase { kRecord, kUndoAll, kRedoAll, kDestroy };

template <Phase phase>
void BM_History(benchmark::State& state) {
    for (auto _ : state) {
        const Phases p = runOnce();
        const double t = phase == kRecord    ? p.record
                         : phase == kUndoAll ? p.undoAll
                         : phase == kRedoAll ? p.redoAll
                                             : p.destroy;
        state.SetIterationTime(t);
        state.counters["ns_per_command"] = t * 1e9 / kCommands;
    }
}

BENCHMARK_TEMPLATE(BM_History, kRecord)
    ->Name("history/record_1M_commands_in_100k_groups")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_History, kUndoAll)
    ->Name("history/undo_all")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_History, kRedoAll)
    ->Name("history/redo_all")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_History, kDestroy)
    ->Name("history/delete_manager")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace

KY_BENCHMARK_MAIN()
