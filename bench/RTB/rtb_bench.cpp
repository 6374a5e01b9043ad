// rtb_bench.cpp - signal emission against a plain std::function loop and boost::signals2.
//
// Each case emits an int to 1 or 10 connections whose receiver adds it to a sum. The receiver
// method is kept out of line, so every contender pays one real call to it and the comparison
// measures the dispatch.
//   emit/N         a lambda calling the receiver, connected to kyRTB::Signal, stored in a
//                  std::vector<std::function<void(int)>> that a loop calls, or connected to
//                  boost::signals2::signal.
//   emit_member/N  the receiver's member function through a member-function pointer chosen at
//                  run time: kyRTB's member connection (FunctionArgMember) against a
//                  std::function wrapping the same pointer.
//   emit_churn/10  a callback disconnects and reconnects another connection during every
//                  emission.
// Goals: at most 1.5x the loop's time, at least 4x boost's speed. kyRTB pays for re-entrance
// safety, not with a copy of the connection list per emission, but with a flag that marks the
// connection being called, in the same word as its block count and other flags: one load,
// one compare and one store of that word on each side of the call. (A lock count incremented
// and decremented around every call chained each emission to the one before through memory;
// separate byte-sized flags cost four loads and branches; flags stored as bytes and read as a
// word stalled store-to-load forwarding. Only nested emissions take a count now.)
#include <Base/RTB/kyRTBSignal.h>

#include <kyBenchSupport.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#if defined(KY_BENCH_HAVE_BOOST_SIGNALS2)
#include <boost/signals2.hpp>
#endif

namespace {

struct Receiver {
    long long sum = 0;
    [[gnu::noinline]] void onValue(int v) { sum += v; }
};

using Member = void (Receiver::*)(int);

// Each benchmark iteration is a batch of emissions timed by the process's CPU clock: the
// machines these run on are shared, and CPU time does not count the time the benchmark sat
// descheduled. Every contender is timed the same way, so the ratios compare like with like.
constexpr int kBatch = 10000;

template <class Emit>
void runBatches(benchmark::State& state, int connections, Emit&& emit) {
    int i = 0;
    for (auto _ : state) {
        const std::clock_t start = std::clock();
        for (int k = 0; k < kBatch; ++k) {
            emit(++i);
        }
        const std::clock_t stop = std::clock();
        state.SetIterationTime(static_cast<double>(stop - start) / CLOCKS_PER_SEC);
    }
    state.SetItemsProcessed(state.iterations() * kBatch * connections);
}

// Opaque to the optimiser, so the member pointer is a run-time value everywhere.
[[gnu::noinline]] Member memberOf() {
    return &Receiver::onValue;
}

template <int n>
void BM_KyEmit(benchmark::State& state) {
    std::vector<Receiver> receivers(n);
    kyRTB::Signal<int> signal;
    for (Receiver& r : receivers) {
        Receiver* p = &r;
        signal.connect([p](int v) { p->onValue(v); });
    }
    runBatches(state, n, [&](int v) { signal.emit(v); });
    benchmark::DoNotOptimize(receivers.front().sum);
}

template <int n>
void BM_KyEmitMember(benchmark::State& state) {
    std::vector<Receiver> receivers(n);
    kyRTB::Signal<int> signal;
    const Member m = memberOf();
    for (Receiver& r : receivers) {
        signal.connect(&r, m);
    }
    runBatches(state, n, [&](int v) { signal.emit(v); });
    benchmark::DoNotOptimize(receivers.front().sum);
}

void callAll(const std::vector<std::function<void(int)>>& callbacks, int v) {
    for (const std::function<void(int)>& f : callbacks) {
        f(v);
    }
}

template <int n>
void BM_StdFunctionLoop(benchmark::State& state) {
    std::vector<Receiver> receivers(n);
    std::vector<std::function<void(int)>> callbacks;
    for (Receiver& r : receivers) {
        Receiver* p = &r;
        callbacks.emplace_back([p](int v) { p->onValue(v); });
    }
    runBatches(state, n, [&](int v) { callAll(callbacks, v); });
    benchmark::DoNotOptimize(receivers.front().sum);
}

template <int n>
void BM_StdFunctionLoopMember(benchmark::State& state) {
    std::vector<Receiver> receivers(n);
    std::vector<std::function<void(int)>> callbacks;
    const Member m = memberOf();
    for (Receiver& r : receivers) {
        Receiver* p = &r;
        callbacks.emplace_back([p, m](int v) { (p->*m)(v); });
    }
    runBatches(state, n, [&](int v) { callAll(callbacks, v); });
    benchmark::DoNotOptimize(receivers.front().sum);
}

#if defined(KY_BENCH_HAVE_BOOST_SIGNALS2)
template <int n>
void BM_BoostEmit(benchmark::State& state) {
    std::vector<Receiver> receivers(n);
    boost::signals2::signal<void(int)> signal;
    for (Receiver& r : receivers) {
        Receiver* p = &r;
        signal.connect([p](int v) { p->onValue(v); });
    }
    runBatches(state, n, [&](int v) { signal(v); });
    benchmark::DoNotOptimize(receivers.front().sum);
}
#endif

// Ten connections, one of which disconnects and reconnects another connection while the
// emission runs.
struct Churner {
    kyRTB::Signal<int>* signal = nullptr;
    Receiver* victim = nullptr;
    kyRTB::Connection* victimConnection = nullptr;
    [[gnu::noinline]] void onValue(int) {
        signal->disconnect(victimConnection);
        victimConnection = signal->connect(victim, &Receiver::onValue);
    }
};

void BM_KyEmitChurn(benchmark::State& state) {
    std::vector<Receiver> receivers(9);
    kyRTB::Signal<int> signal;
    Churner churner;
    churner.signal = &signal;
    churner.victim = &receivers[0];
    churner.victimConnection = signal.connect(&receivers[0], &Receiver::onValue);
    for (std::size_t k = 1; k < receivers.size(); ++k) {
        signal.connect(&receivers[k], &Receiver::onValue);
    }
    signal.connect(&churner, &Churner::onValue);
    runBatches(state, 10, [&](int v) { signal.emit(v); });
    benchmark::DoNotOptimize(receivers[1].sum);
}

#if defined(KY_BENCH_HAVE_BOOST_SIGNALS2)
void BM_BoostEmitChurn(benchmark::State& state) {
    std::vector<Receiver> receivers(9);
    boost::signals2::signal<void(int)> signal;
    Receiver* victim = &receivers[0];
    boost::signals2::connection victimConnection =
        signal.connect([victim](int v) { victim->onValue(v); });
    for (std::size_t k = 1; k < receivers.size(); ++k) {
        Receiver* p = &receivers[k];
        signal.connect([p](int v) { p->onValue(v); });
    }
    signal.connect([&](int) {
        victimConnection.disconnect();
        victimConnection = signal.connect([victim](int v) { victim->onValue(v); });
    });
    runBatches(state, 10, [&](int v) { signal(v); });
    benchmark::DoNotOptimize(receivers[1].sum);
}
#endif

BENCHMARK_TEMPLATE(BM_KyEmit, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/1/base");
BENCHMARK_TEMPLATE(BM_StdFunctionLoop, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/1/std_function");
BENCHMARK_TEMPLATE(BM_KyEmit, 10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/10/base");
BENCHMARK_TEMPLATE(BM_StdFunctionLoop, 10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/10/std_function");
BENCHMARK_TEMPLATE(BM_KyEmitMember, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_member/1/base");
BENCHMARK_TEMPLATE(BM_StdFunctionLoopMember, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_member/1/std_function");
BENCHMARK_TEMPLATE(BM_KyEmitMember, 10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_member/10/base");
BENCHMARK_TEMPLATE(BM_StdFunctionLoopMember, 10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_member/10/std_function");
BENCHMARK(BM_KyEmitChurn)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_churn/10/base");
#if defined(KY_BENCH_HAVE_BOOST_SIGNALS2)
BENCHMARK_TEMPLATE(BM_BoostEmit, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/1/boost_signals2");
BENCHMARK_TEMPLATE(BM_BoostEmit, 10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit/10/boost_signals2");
BENCHMARK(BM_BoostEmitChurn)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Name("emit_churn/10/boost_signals2");
#endif

// Times are CPU microseconds per batch of 10,000 emissions. Ratios are baseline time / kyRTB
// time: 1/1.5 means at most 1.5x the loop's time.
const bool kGoals[] = {
    kybench::goal("emit/1", "std_function", 1.0 / 1.5),
    kybench::goal("emit/10", "std_function", 1.0 / 1.5),
    kybench::goal("emit_member/1", "std_function", 1.0 / 1.5),
    kybench::goal("emit_member/10", "std_function", 1.0 / 1.5),
    kybench::goal("emit/1", "boost_signals2", 4.0),
    kybench::goal("emit/10", "boost_signals2", 4.0),
    kybench::goal("emit_churn/10", "boost_signals2", 4.0),
};

} // namespace

KY_BENCHMARK_MAIN()
