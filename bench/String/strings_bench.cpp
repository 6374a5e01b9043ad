// strings_bench.cpp - UTF-8 conversions against glibc's iconv, interning against
// std::unordered_set, CString::format against snprintf; prints the ratios of the medians.
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringConvert.h>
#include <Base/String/kyStringIntern.h>

#include <benchmark/benchmark.h>

#if KY_BENCH_HAVE_ICONV
#include <iconv.h>
#endif

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

// Test texts of about 64 KiB: ASCII prose, mixed European text and CJK text.
std::string makeText(int kind) {
    const char* pieces[3][4] = {
        {"The quick brown fox jumps over the lazy dog. ", "Render layer 12, frame 0042. ",
         "Scene/objects/mesh_001 saved. ", "Undo step: move vertices. "},
        {"Gr\xC3\xBC\xC3\x9F"
         "e aus K\xC3\xB6ln, ",
         "caf\xC3\xA9 cr\xC3\xA8me br\xC3\xBBl\xC3\xA9"
         "e, ",
         "se\xC3\xB1or \xC3\xA5r \xC3\xB8l, ", "plain words between them. "},
        {"\xE4\xB8\xAD\xE6\x96\x87\xE3\x81\xAE\xE6\x96\x87\xE7\xAB\xA0\xE3\x80\x82",
         "\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88\xE3\x82\x92\xE5\xA4\x89\xE6\x8F\x9B",
         "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4 \xEB\xAC\xB8\xEC\x9E\xA5",
         "\xE6\xB8\xB2\xE6\x9F\x93\xE5\xB1\x82\xE3\x80\x81"},
    };
    std::string text;
    for (int i = 0; text.size() < 64 * 1024; ++i) {
        text += pieces[kind][i % 4];
    }
    return text;
}

const char* kKindNames[3] = {"ascii", "european", "cjk"};

std::wstring toWide(const std::string& utf8) {
    const unsigned int n = kyString::UTF8toWCS(utf8.data(), static_cast<unsigned int>(utf8.size()),
                                               nullptr, 0, false, nullptr);
    std::wstring out(n + 1, L'\0');
    out.resize(kyString::UTF8toWCS(utf8.data(), static_cast<unsigned int>(utf8.size()), &out[0],
                                   n + 1, false, nullptr));
    return out;
}

void BM_UTF8ToWide_Base(benchmark::State& state) {
    const std::string text = makeText(static_cast<int>(state.range(0)));
    std::vector<wchar_t> out(text.size() + 1);
    for (auto _ : state) {
        bool lossless = false;
        const unsigned int n =
            kyString::UTF8toWCS(text.data(), static_cast<unsigned int>(text.size()), out.data(),
                                static_cast<unsigned int>(out.size()), false, &lossless);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.SetLabel(kKindNames[state.range(0)]);
}

void BM_WideToUTF8_Base(benchmark::State& state) {
    const std::wstring wide = toWide(makeText(static_cast<int>(state.range(0))));
    std::vector<char> out(wide.size() * 4 + 1);
    for (auto _ : state) {
        bool lossless = false;
        const unsigned int n =
            kyString::WCStoUTF8(wide.data(), static_cast<unsigned int>(wide.size()), out.data(),
                                static_cast<unsigned int>(out.size()), &lossless);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(
        static_cast<int64_t>(state.iterations() * wide.size() * sizeof(wchar_t)));
    state.SetLabel(kKindNames[state.range(0)]);
}

#if KY_BENCH_HAVE_ICONV
void BM_UTF8ToWide_Iconv(benchmark::State& state) {
    const std::string text = makeText(static_cast<int>(state.range(0)));
    std::vector<wchar_t> out(text.size() + 1);
    iconv_t cd = iconv_open("WCHAR_T", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        state.SkipWithError("iconv_open failed");
        return;
    }
    for (auto _ : state) {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char* in = const_cast<char*>(text.data());
        size_t inLeft = text.size();
        char* o = reinterpret_cast<char*>(out.data());
        size_t outLeft = out.size() * sizeof(wchar_t);
        const size_t r = iconv(cd, &in, &inLeft, &o, &outLeft);
        benchmark::DoNotOptimize(r);
        benchmark::DoNotOptimize(out.data());
    }
    iconv_close(cd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.SetLabel(kKindNames[state.range(0)]);
}

void BM_WideToUTF8_Iconv(benchmark::State& state) {
    const std::wstring wide = toWide(makeText(static_cast<int>(state.range(0))));
    std::vector<char> out(wide.size() * 4 + 1);
    iconv_t cd = iconv_open("UTF-8", "WCHAR_T");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        state.SkipWithError("iconv_open failed");
        return;
    }
    for (auto _ : state) {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char* in = reinterpret_cast<char*>(const_cast<wchar_t*>(wide.data()));
        size_t inLeft = wide.size() * sizeof(wchar_t);
        char* o = out.data();
        size_t outLeft = out.size();
        const size_t r = iconv(cd, &in, &inLeft, &o, &outLeft);
        benchmark::DoNotOptimize(r);
        benchmark::DoNotOptimize(out.data());
    }
    iconv_close(cd);
    state.SetBytesProcessed(
        static_cast<int64_t>(state.iterations() * wide.size() * sizeof(wchar_t)));
    state.SetLabel(kKindNames[state.range(0)]);
}
#endif

// Interning: look-ups of texts that are already interned (the common case: names used again
// and again), against finding the same keys in an unordered set of std::string.
std::vector<std::string> makeNames() {
    std::vector<std::string> names;
    for (int i = 0; i < 10000; ++i) {
        names.push_back("scene/object_" + std::to_string(i * 7919 % 10007) + "/shape");
    }
    return names;
}

void BM_InternLookup_Base(benchmark::State& state) {
    const std::vector<std::string> names = makeNames();
    std::vector<kyString::CString> keys;
    for (const std::string& n : names) {
        keys.emplace_back(n.c_str());
        (void)kyString::intern(keys.back());
    }
    size_t i = 0;
    for (auto _ : state) {
        kyString::ConstantCString c = kyString::intern(keys[i]);
        benchmark::DoNotOptimize(c);
        if (++i == keys.size()) {
            i = 0;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_InternLookupChars_Base(benchmark::State& state) {
    const std::vector<std::string> names = makeNames();
    for (const std::string& n : names) {
        (void)kyString::intern(n.c_str());
    }
    size_t i = 0;
    for (auto _ : state) {
        kyString::ConstantCString c = kyString::intern(names[i].c_str());
        benchmark::DoNotOptimize(c);
        if (++i == names.size()) {
            i = 0;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_InternLookup_UnorderedSet(benchmark::State& state) {
    const std::vector<std::string> names = makeNames();
    std::unordered_set<std::string> set(names.begin(), names.end());
    size_t i = 0;
    for (auto _ : state) {
        auto it = set.find(names[i]);
        benchmark::DoNotOptimize(it);
        if (++i == names.size()) {
            i = 0;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_Format_Base(benchmark::State& state) {
    kyString::CString s;
    int i = 0;
    for (auto _ : state) {
        ++i;
        const unsigned int n = s.format("%s_%04d: %.3f", "frame", i & 1023, 0.5 * i);
        benchmark::DoNotOptimize(n);
    }
}

void BM_Format_Snprintf(benchmark::State& state) {
    std::string s;
    int i = 0;
    for (auto _ : state) {
        std::string buffer(256, '\0');
        ++i;
        const int n =
            std::snprintf(&buffer[0], buffer.size(), "%s_%04d: %.3f", "frame", i & 1023, 0.5 * i);
        buffer.resize(static_cast<size_t>(n));
        s.swap(buffer);
        benchmark::DoNotOptimize(s.data());
    }
}

constexpr int kRepetitions = 7;

BENCHMARK(BM_UTF8ToWide_Base)
    ->DenseRange(0, 2)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_WideToUTF8_Base)
    ->DenseRange(0, 2)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly(true);
#if KY_BENCH_HAVE_ICONV
BENCHMARK(BM_UTF8ToWide_Iconv)
    ->DenseRange(0, 2)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_WideToUTF8_Iconv)
    ->DenseRange(0, 2)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly(true);
#endif
BENCHMARK(BM_InternLookup_Base)->Repetitions(kRepetitions)->ReportAggregatesOnly(true);
BENCHMARK(BM_InternLookupChars_Base)->Repetitions(kRepetitions)->ReportAggregatesOnly(true);
BENCHMARK(BM_InternLookup_UnorderedSet)->Repetitions(kRepetitions)->ReportAggregatesOnly(true);
BENCHMARK(BM_Format_Base)->Repetitions(kRepetitions)->ReportAggregatesOnly(true);
BENCHMARK(BM_Format_Snprintf)->Repetitions(kRepetitions)->ReportAggregatesOnly(true);

// Keeps the median time of every benchmark so that the summary can print the ratios.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                medians_[run.run_name.function_name + "/" + run.run_name.args] =
                    run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void summary() const {
        std::printf("\nSummary of median CPU times (ratio = baseline / Base; > 1 means Base is "
                    "faster)\n");
        for (int kind = 0; kind < 3; ++kind) {
            const std::string arg = std::to_string(kind);
            ratio("UTF-8 -> wide", kKindNames[kind], "BM_UTF8ToWide_Iconv/" + arg,
                  "BM_UTF8ToWide_Base/" + arg, "iconv");
            ratio("wide -> UTF-8", kKindNames[kind], "BM_WideToUTF8_Iconv/" + arg,
                  "BM_WideToUTF8_Base/" + arg, "iconv");
        }
        ratio("intern(CString)", "10000 names", "BM_InternLookup_UnorderedSet/",
              "BM_InternLookup_Base/", "unordered_set<string>");
        ratio("intern(char*)", "10000 names", "BM_InternLookup_UnorderedSet/",
              "BM_InternLookupChars_Base/", "unordered_set<string>");
        ratio("format", "\"%s_%04d: %.3f\"", "BM_Format_Snprintf/", "BM_Format_Base/",
              "snprintf into std::string");
    }

private:
    void ratio(const char* what, const char* data, const std::string& baseline,
               const std::string& ours, const char* baselineName) const {
        const auto b = medians_.find(baseline);
        const auto o = medians_.find(ours);
        if (b == medians_.end() || o == medians_.end() || o->second <= 0) {
            std::printf("  %-15s %-22s (baseline %s not measured)\n", what, data, baselineName);
            return;
        }
        std::printf("  %-15s %-22s Base %10.1f ns  %-26s %10.1f ns  ratio %.2fx\n", what, data,
                    o->second, baselineName, b->second, b->second / o->second);
    }

    std::map<std::string, double> medians_;
};

} // namespace

int main(int argc, char** argv) {
    // Repetitions of the compared benchmarks are interleaved, so that load from elsewhere on a
    // shared machine falls on both sides of a ratio alike.
    std::vector<char*> args(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    args.insert(args.begin() + 1, interleave);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) {
        return 1;
    }
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.summary();
    benchmark::Shutdown();
    return 0;
}
