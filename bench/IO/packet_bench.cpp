// packet_bench.cpp - a million small objects through a binary packet file and back.
//
//   packets/write/1M   1,000,000 records {int, 3 doubles, a 12-character name, a pointer to an
//                      earlier record}, one packet each, written to a file through a binary
//                      write context (the pointer as a reference number).
//   packets/read/1M    the file read back into new records, pointers fixed up by the map.
//   packets/write-new/1M  the write into a new file each time: the last one is removed and the
//                      disk synced before the clock starts. Over the last file, the open's
//                      truncation and the file system's flush at close cost both sides tens of
//                      milliseconds that have nothing to do with the records; this case shows
//                      the ratios without them (no goals).
//
// Baselines, when installed (the bench builds without them and says so):
//   cereal   its binary archive over an ofstream; it cannot track raw pointers, so the
//            earlier record is stored as its index. Goals: write 3x, read 1.5x.
//   boost    Boost.Serialization's binary archive of the records as tracked pointers (the
//            same object graph as ours). Goals: write 5x, read 2x.
//   floor    (always) the same bytes written and read with none of the library's layers, only
//            the reference records that the map must keep: see below. Its ratio to ours, and
//            cereal's ratio to it, are printed without goals.
// The file size of each run is the "bytes" counter. Times are wall-clock milliseconds.
#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioHeader.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>

#include <kyBenchSupport.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <unistd.h>

#ifdef KY_BENCH_HAVE_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#endif
#ifdef KY_BENCH_HAVE_BOOST
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#endif

namespace {

namespace fs = std::filesystem;

#define KY_BENCHMARK_IO(fn, name)                                                                  \
    BENCHMARK(fn)->UseManualTime()->Unit(benchmark::kMillisecond)->Name(name)

constexpr int kRecords = 1000000;

struct Record {
    int id = 0;
    double xyz[3] = {};
    std::string name;
    Record* earlier = nullptr;

#ifdef KY_BENCH_HAVE_CEREAL
    int earlierIndex = -1; // cereal's stand-in for the pointer
    template <class Archive>
    void save(Archive& ar) const {
        ar(id, xyz[0], xyz[1], xyz[2], name, earlierIndex);
    }
    template <class Archive>
    void load(Archive& ar) {
        ar(id, xyz[0], xyz[1], xyz[2], name, earlierIndex);
    }
#endif
};

} // namespace

#ifdef KY_BENCH_HAVE_BOOST
// Outside the record, so that cereal does not see it as a second way to save one.
namespace boost {
namespace serialization {
template <class Archive>
void serialize(Archive& ar, Record& r, unsigned) {
    ar& r.id& r.xyz& r.name& r.earlier;
}
} // namespace serialization
} // namespace boost
#endif

namespace {

struct Data {
    std::vector<Record> records;
    fs::path dir;
    Data() : records(kRecords) {
        for (int i = 0; i < kRecords; ++i) {
            Record& r = records[static_cast<std::size_t>(i)];
            r.id = i;
            r.xyz[0] = i * 0.5, r.xyz[1] = -i * 0.25, r.xyz[2] = 1.0 / (i + 1);
            char name[16];
            std::snprintf(name, sizeof name, "rec%09d", i % 1000000000);
            r.name.assign(name, 12);
            // Any of the records before, spread evenly: the high bits of i times an odd
            // constant, modulo i (the product itself is a multiple of i).
            const int earlier =
                i == 0 ? -1
                       : static_cast<int>(((i * 2654435761ULL) >> 16) % static_cast<unsigned>(i));
            r.earlier = earlier < 0 ? nullptr : &records[static_cast<std::size_t>(earlier)];
#ifdef KY_BENCH_HAVE_CEREAL
            r.earlierIndex = earlier;
#endif
        }
        dir = fs::temp_directory_path() / ("kybench-packets-" + std::to_string(::getpid()));
        fs::create_directories(dir);
    }
    ~Data() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    fs::path file(const char* name) const {
        return dir / name;
    }
};

Data& data() {
    static Data d;
    return d;
}

// Times `op` per iteration; with `newFile`, the file is first removed and everything written
// so far flushed to disk, outside the clock.
template <class Op>
void timed(benchmark::State& state, const fs::path& file, Op&& op, bool newFile = false) {
    for (auto _ : state) {
        if (newFile) {
            std::error_code ec;
            fs::remove(file, ec);
            ::sync();
        }
        const auto start = std::chrono::steady_clock::now();
        const bool ok = op();
        const auto stop = std::chrono::steady_clock::now();
        if (!ok) {
            state.SkipWithError("the operation failed or read back wrong");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    }
    std::error_code ec;
    state.counters["bytes"] = static_cast<double>(fs::file_size(file, ec));
}

// Spot checks that a read reproduced the graph; `b` holds records or pointers to them.
template <class Read>
bool sameRecords(const std::vector<Record>& a, const std::vector<Read>& b) {
    if (b.size() != a.size()) {
        return false;
    }
    const auto record = [](const auto& r) -> const Record& {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(r)>>) {
            return *r;
        } else {
            return r;
        }
    };
    for (std::size_t i = 0; i < a.size(); i += 9973) {
        const Record& x = a[i];
        const Record& y = record(b[i]);
        if (x.id != y.id || x.xyz[2] != y.xyz[2] || x.name != y.name ||
            (x.earlier == nullptr) != (y.earlier == nullptr) ||
            (x.earlier != nullptr && x.earlier->id != y.earlier->id)) {
            std::fprintf(stderr, "record %zu: id %d/%d name %s/%s earlier %p/%p\n", i, x.id, y.id,
                         x.name.c_str(), y.name.c_str(), static_cast<void*>(x.earlier),
                         static_cast<void*>(y.earlier));
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// Base

std::vector<Record>* gReadInto = nullptr;

void readRecord(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    gReadInto->emplace_back();
    Record& rec = gReadInto->back();
    r.definePacketReference(&rec);
    r.readInt(rec.id);
    r.readDoubleArray(rec.xyz, 3);
    rec.name = r.readCString();
    r.readReferenceUsage(&rec.earlier, 0);
}

class RecordRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("record", &readRecord));
    }
};

bool writeBase(const fs::path& file) {
    ioBufferedStreamOutput out;
    out.openFile(kyString::IString(file.c_str()));
    RecordRegistry registry;
    ioWriteContextBinary w(out);
    w.associateRegistry(&registry);
    w.startFile();
    const ioPacketType* type = registry.lookup("record");
    for (const Record& rec : data().records) {
        w.startPacket(type, &rec);
        w.writeInt(rec.id);
        w.writeDoubleArray(rec.xyz, 3);
        w.writeCString(rec.name.c_str());
        w.writeReference(rec.earlier, false);
        w.endPacket();
    }
    w.endFile();
    out.close();
    return w.good() && out.good();
}

void BM_WriteBase(benchmark::State& state) {
    const fs::path file = data().file("base.pkt");
    timed(state, file, [&] { return writeBase(file); });
}

void BM_ReadBase(benchmark::State& state) {
    const fs::path file = data().file("base-read.pkt");
    if (!writeBase(file)) {
        state.SkipWithError("cannot write the input");
        return;
    }
    timed(state, file, [&] {
        std::vector<Record> records;
        records.reserve(kRecords); // the map holds addresses: no reallocation
        gReadInto = &records;
        ioBufferedStreamInput in;
        in.openFile(kyString::IString(file.c_str()));
        RecordRegistry registry;
        std::unique_ptr<ioReadContext> r(ioReadContextAlloc(in, &registry));
        if (r == nullptr) {
            return false;
        }
        ioClientReadContext client(*r);
        r->readFile(client);
        if (!r->good() || !sameRecords(data().records, records)) {
            std::fprintf(stderr, "read: status %d, %zu records\n", static_cast<int>(r->getStatus()),
                         records.size());
            return false;
        }
        return true;
    });
}

void BM_WriteNewBase(benchmark::State& state) {
    const fs::path file = data().file("base-new.pkt");
    timed(
        state, file, [&] { return writeBase(file); }, true);
}

KY_BENCHMARK_IO(BM_WriteBase, "packets/write/1M/base");
KY_BENCHMARK_IO(BM_WriteNewBase, "packets/write-new/1M/base");
KY_BENCHMARK_IO(BM_ReadBase, "packets/read/1M/base");

// ---------------------------------------------------------------------------------------------
// The floor: only the work that the file format and the reference map's records require, with
// no context, no call per value and no tree. It writes the very bytes of writeBase (checked
// before timing) and reads them back into records as readRecord does. Its map record holds
// the fields the map's record holds (flags, use count, address, defining type, fix-up list:
// 32 bytes), 1,250 to a page, made as numbers are first touched. The number of an earlier
// record is computed from its address, which is cheaper than any search (the library's map
// guesses it and reads the record to confirm). cereal / floor bounds what an implementation of
// that contract can reach on this machine and this file system.

struct FloorRecord {
    unsigned char inUse, defined, live, alias;
    int uses;
    void* address;
    const void* definingType;
    void* pending;
};

class FloorTable {
public:
    static constexpr int kPage = 1250;
    FloorTable() = default;
    FloorTable(const FloorTable&) = delete;
    FloorTable& operator=(const FloorTable&) = delete;
    ~FloorTable() {
        for (FloorRecord* page : pages_) {
            delete[] page;
        }
    }
    FloorRecord& touch(int number) {
        const auto index = static_cast<std::size_t>(number / kPage);
        if (index >= pages_.size()) {
            pages_.resize(index + 1, nullptr);
        }
        if (pages_[index] == nullptr) {
            pages_[index] = new FloorRecord[kPage]();
        }
        FloorRecord& record = pages_[index][number % kPage];
        record.inUse = record.live = 1;
        return record;
    }
    /// The record of `number`, defined as `address` by a packet of `type`.
    FloorRecord& define(int number, void* address, const void* type) {
        FloorRecord& record = touch(number);
        record.address = address;
        record.defined = 1;
        record.definingType = type;
        return record;
    }
    const FloorRecord& at(int number) const {
        return pages_[static_cast<std::size_t>(number / kPage)][number % kPage];
    }
    /// The objects defined and never used: what the end of a read reports.
    int unreferenced() const {
        int count = 0;
        for (const FloorRecord* page : pages_) {
            for (int i = 0; page != nullptr && i < kPage; ++i) {
                count += page[i].inUse && page[i].defined && page[i].uses == 0 ? 1 : 0;
            }
        }
        return count;
    }

private:
    std::vector<FloorRecord*> pages_;
};

// A virtual call as the library's layers make them: through an object whose class the compiler
// cannot know (two implementations, the pointer hidden from the optimiser).
class Dispatch {
public:
    virtual ~Dispatch() = default;
    virtual void call(std::uintptr_t value) = 0;
};
class SumDispatch : public Dispatch {
public:
    void call(std::uintptr_t value) override { sum += value; }
    std::uintptr_t sum = 0;
};
class XorDispatch : public Dispatch {
public:
    void call(std::uintptr_t value) override { sum ^= value; }
    std::uintptr_t sum = 0;
};

// The writer's virtual calls per record: the state made current and released, the packet's
// opening and closing, the three values, and for each of the two references the context's two
// writeReference calls, the map's call and the number's write; the object's also marks it
// defined in the map.
constexpr int kWriteCalls = 16;

// The floor, plus `calls` virtual calls per record that do no work.
bool writeFloor(const fs::path& file, int calls = 0) {
    static SumDispatch sum;
    static XorDispatch other;
    Dispatch* dispatch = &sum;
    benchmark::DoNotOptimize(dispatch);
    if (dispatch == nullptr) {
        dispatch = &other;
    }
    ioBufferedStreamOutput out;
    out.openFile(kyString::IString(file.c_str()));
    RecordRegistry registry;
    ioHeader(ioWriteBinary).writeHeader(out);
    registry.init();
    registry.writeRegistry(out, true);
    const ioPacketType* type = registry.lookup("record");
    FloorTable table;
    int count = 0;
    std::uintptr_t first = 0;
    std::uintptr_t last = 0;
    std::uintptr_t step = 0;
    char packet[128];
    for (const Record& rec : data().records) {
        for (int k = 0; k < calls; ++k) {
            dispatch->call(static_cast<std::uintptr_t>(k));
        }
        const std::int32_t number = ++count;
        table.define(number, const_cast<Record*>(&rec), type);
        // The records' addresses so far form one arithmetic progression (an array): an earlier
        // address's number is its distance from the first over the step, with no memory read.
        const auto at = reinterpret_cast<std::uintptr_t>(&rec);
        if (number == 2) {
            step = at - first;
        } else if (number > 2 && at != last + step) {
            return false; // the floor covers arrays only
        }
        first = number == 1 ? at : first;
        last = at;
        std::int32_t earlier = 0;
        if (rec.earlier != nullptr) {
            const auto want = reinterpret_cast<std::uintptr_t>(rec.earlier);
            if (want < first || want > last || step == 0 || (want - first) % step != 0) {
                return false;
            }
            earlier = static_cast<std::int32_t>((want - first) / step) + 1;
        }
        char* p = packet + 12;
        const auto put = [&p](const void* value, std::size_t size) {
            std::memcpy(p, value, size);
            p += size;
        };
        put(&number, 4);
        put(&rec.id, 4);
        put(rec.xyz, sizeof rec.xyz);
        put(rec.name.c_str(), rec.name.size() + 1);
        put(&earlier, 4);
        const std::int32_t head[3] = {type->getId(), 1, static_cast<std::int32_t>(p - packet) - 12};
        std::memcpy(packet, head, sizeof head);
        out.writeData(packet, static_cast<int>(p - packet));
    }
    const std::int32_t end[3] = {registry.lookup("packetFile_EOF")->getId(), 0, 0};
    out.writeData(reinterpret_cast<const char*>(end), sizeof end);
    out.close();
    return out.good();
}

bool readFloor(const fs::path& file) {
    std::vector<Record> records;
    records.reserve(kRecords);
    ioBufferedStreamInput in;
    in.openFile(kyString::IString(file.c_str()));
    ioHeader header;
    RecordRegistry registry;
    registry.init();
    if (!header.readHeader(in) || registry.readRegistry(in) != ioGood) {
        return false;
    }
    const int recordId = registry.lookup("record")->getId();
    const int eofId = registry.lookup("packetFile_EOF")->getId();
    const ioPacketType* type = registry.lookup(recordId);
    FloorTable table;
    char spare[128];
    const auto take = [&](int length) -> const char* {
        const char* bytes = in.takeInPlace(length);
        return bytes != nullptr ? bytes : in.readData(spare, length) == length ? spare : nullptr;
    };
    for (;;) {
        std::int32_t head[3];
        const char* bytes = take(12);
        if (bytes == nullptr) {
            return false;
        }
        std::memcpy(head, bytes, sizeof head);
        if (head[0] == eofId) {
            break;
        }
        const char* body = head[0] == recordId && head[1] == 1 && head[2] >= 37 &&
                                   head[2] <= static_cast<int>(sizeof spare)
                               ? take(head[2])
                               : nullptr;
        if (body == nullptr) {
            return false;
        }
        records.emplace_back();
        Record& rec = records.back();
        std::int32_t number;
        std::memcpy(&number, body, 4);
        table.define(number, &rec, type);
        std::memcpy(&rec.id, body + 4, 4);
        std::memcpy(rec.xyz, body + 8, sizeof rec.xyz);
        const std::size_t length = strnlen(body + 32, static_cast<std::size_t>(head[2]) - 36);
        rec.name.assign(body + 32, length);
        std::int32_t earlier;
        std::memcpy(&earlier, body + 33 + length, 4);
        if (earlier > 0) {
            FloorRecord& target = table.touch(earlier);
            ++target.uses;
            rec.earlier = target.defined ? static_cast<Record*>(target.address) : nullptr;
        }
    }
    return table.unreferenced() > 0 && sameRecords(data().records, records);
}

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void BM_WriteFloor(benchmark::State& state) {
    const fs::path file = data().file("floor.pkt");
    const fs::path ours = data().file("floor-base.pkt");
    if (!writeFloor(file) || !writeBase(ours) || contents(file) != contents(ours)) {
        state.SkipWithError("the floor does not write the library's bytes");
        return;
    }
    timed(state, file, [&] { return writeFloor(file); });
}

void BM_ReadFloor(benchmark::State& state) {
    const fs::path file = data().file("floor-read.pkt");
    if (!writeBase(file)) {
        state.SkipWithError("cannot write the input");
        return;
    }
    timed(state, file, [&] { return readFloor(file); });
}

void BM_WriteNewFloor(benchmark::State& state) {
    const fs::path file = data().file("floor-new.pkt");
    timed(
        state, file, [&] { return writeFloor(file); }, true);
}

void BM_WriteNewCalls(benchmark::State& state) {
    const fs::path file = data().file("calls-new.pkt");
    timed(
        state, file, [&] { return writeFloor(file, kWriteCalls); }, true);
}

KY_BENCHMARK_IO(BM_WriteFloor, "packets/write/1M/floor");
KY_BENCHMARK_IO(BM_WriteNewFloor, "packets/write-new/1M/floor");
KY_BENCHMARK_IO(BM_WriteNewCalls, "packets/write-new/1M/calls");
KY_BENCHMARK_IO(BM_ReadFloor, "packets/read/1M/floor");

// ---------------------------------------------------------------------------------------------
// cereal

#ifdef KY_BENCH_HAVE_CEREAL
bool writeCereal(const fs::path& file) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    {
        cereal::BinaryOutputArchive ar(out);
        ar(static_cast<std::uint32_t>(data().records.size()));
        for (const Record& rec : data().records) {
            ar(rec);
        }
    }
    return static_cast<bool>(out);
}

void BM_WriteCereal(benchmark::State& state) {
    const fs::path file = data().file("cereal.bin");
    timed(state, file, [&] { return writeCereal(file); });
}

void BM_ReadCereal(benchmark::State& state) {
    const fs::path file = data().file("cereal-read.bin");
    if (!writeCereal(file)) {
        state.SkipWithError("cannot write the input");
        return;
    }
    timed(state, file, [&] {
        std::ifstream in(file, std::ios::binary);
        std::vector<Record> records;
        cereal::BinaryInputArchive ar(in);
        std::uint32_t count = 0;
        ar(count);
        records.resize(count);
        for (Record& rec : records) {
            ar(rec);
            rec.earlier = rec.earlierIndex < 0
                              ? nullptr
                              : &records[static_cast<std::size_t>(rec.earlierIndex)];
        }
        return sameRecords(data().records, records);
    });
}

void BM_WriteNewCereal(benchmark::State& state) {
    const fs::path file = data().file("cereal-new.bin");
    timed(
        state, file, [&] { return writeCereal(file); }, true);
}

KY_BENCHMARK_IO(BM_WriteCereal, "packets/write/1M/cereal");
KY_BENCHMARK_IO(BM_WriteNewCereal, "packets/write-new/1M/cereal");
KY_BENCHMARK_IO(BM_ReadCereal, "packets/read/1M/cereal");
#endif

// ---------------------------------------------------------------------------------------------
// Boost.Serialization

#ifdef KY_BENCH_HAVE_BOOST
bool writeBoost(const fs::path& file) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    std::vector<const Record*> pointers;
    pointers.reserve(data().records.size());
    for (const Record& rec : data().records) {
        pointers.push_back(&rec);
    }
    {
        boost::archive::binary_oarchive ar(out);
        ar << pointers;
    }
    return static_cast<bool>(out);
}

void BM_WriteBoost(benchmark::State& state) {
    const fs::path file = data().file("boost.bin");
    timed(state, file, [&] { return writeBoost(file); });
}

void BM_ReadBoost(benchmark::State& state) {
    const fs::path file = data().file("boost-read.bin");
    if (!writeBoost(file)) {
        state.SkipWithError("cannot write the input");
        return;
    }
    timed(state, file, [&] {
        std::ifstream in(file, std::ios::binary);
        std::vector<Record*> pointers;
        {
            boost::archive::binary_iarchive ar(in);
            ar >> pointers;
        }
        const bool same = sameRecords(data().records, pointers);
        for (Record* p : pointers) {
            delete p;
        }
        return same;
    });
}

KY_BENCHMARK_IO(BM_WriteBoost, "packets/write/1M/boost");
KY_BENCHMARK_IO(BM_ReadBoost, "packets/read/1M/boost");
#endif

// The rows print grouped by case, and in this order within a case.
const bool kPacketGoals[] = {
    kybench::goal("packets/write/1M", "floor", 0),
    kybench::goal("packets/read/1M", "floor", 0),
    kybench::goal("packets/write-new/1M", "floor", 0),
    kybench::goal("packets/write-new/1M", "calls", 0),
#ifdef KY_BENCH_HAVE_CEREAL
    kybench::goal("packets/write/1M", "cereal", 3.0),
    kybench::goal("packets/read/1M", "cereal", 1.5),
    kybench::goal("packets/write-new/1M", "cereal", 0),
    kybench::goal("packets/write/1M", "cereal", 0, "floor"),
    kybench::goal("packets/read/1M", "cereal", 0, "floor"),
    kybench::goal("packets/write-new/1M", "cereal", 0, "floor"),
    kybench::goal("packets/write-new/1M", "cereal", 0, "calls"),
#endif
#ifdef KY_BENCH_HAVE_BOOST
    kybench::goal("packets/write/1M", "boost", 5.0),
    kybench::goal("packets/read/1M", "boost", 2.0),
#endif
    true,
};

const bool kAnnounced = [] {
#ifndef KY_BENCH_HAVE_CEREAL
    std::printf("packets: cereal not installed, its baseline is skipped\n");
#endif
#ifndef KY_BENCH_HAVE_BOOST
    std::printf("packets: Boost.Serialization not installed, its baseline is skipped\n");
#endif
    return true;
}();

} // namespace
