// ReferenceMapTest.cpp - reference numbers: the map's records and pages, and random object
// graphs (cycles, self-references, shared targets, null) through a file and back.
#include "PacketTestSupport.h"

#include <Base/IO/internal/ioReferenceMapImpl.h>
#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

namespace {

TEST(ReferenceMap, NumbersRecordsAndPages) {
    ioReferenceMapImpl map;
    int a = 0, b = 0;
    EXPECT_EQ(map.lookup(nullptr), 0); // (numbering and lookups: the model test below)
    EXPECT_EQ(map.getCapacity(), 0);
    // Growth steps: 10, 100, 1,000, then the number plus 20,000.
    const std::pair<int, int> growth[] = {{1, 10}, {9, 10}, {10, 100}, {999, 1000}, {1250, 21250}};
    for (const auto& step : growth) {
        map.define(step.first, &b, false);
        EXPECT_EQ(map.getCapacity(), step.second) << step.first;
    }
    map.markDefined(1250, nullptr);
    EXPECT_TRUE(map.isDefined(1250));
    EXPECT_EQ(map.find(1250), map.find(1251) - 1); // 1,250 opens the second page
    EXPECT_NE(map.find(1249) + 1, map.find(1250));
    EXPECT_FALSE(map.isDefined(0));
    EXPECT_FALSE(map.isDefined(-3));
    EXPECT_FALSE(map.isDefined(map.getCapacity()));
    EXPECT_EQ(map.definition(map.getCapacity()), nullptr);
    map.define(0, &a, false); // ignored
    map.define(5, nullptr, false);
    EXPECT_EQ(map.definition(5), nullptr);
    map.undefine(&b);
    EXPECT_EQ(map.definition(1250), nullptr);
}

// Lookups by address against a plain model of the map, first while objects of an array are
// numbered in rising address order (the map then searches its records, or computes the number
// from the address when they are evenly spaced), then through random definitions, aliases,
// redefinitions and undefinitions that end that order. Objects of several sizes: a power of
// two, odd, and an odd factor times a power of two.
TEST(ReferenceMap, LookupsAgreeWithAModelInAndOutOfRisingOrder) {
    static const std::size_t kSizes[] = {8, 1, 3, 12, 24, 56, 72, 40, 7, 16, 96, 5};
    for (unsigned seed = 1; seed <= 24; ++seed) {
        std::mt19937 random(seed);
        const std::size_t size = kSizes[seed % (sizeof kSizes / sizeof kSizes[0])];
        std::vector<char> storage((1500 + seed * 37) * size);
        const std::size_t count = storage.size() / size;
        const auto object = [&](std::size_t i) { return storage.data() + i * size; };
        ioReferenceMapImpl map;
        std::map<const void*, int> numberOf;                 // the tree as the model has it
        std::map<int, std::pair<const void*, bool>> records; // address, live
        int last = 0;
        auto model = [&](int number, const void* address, bool alias) {
            numberOf[address] = number;
            auto& record = records[number];
            if (!alias || record.first == nullptr) {
                record.first = address;
            }
            record.second = true;
            last = std::max(last, number);
        };
        auto define = [&](int number, const void* address, bool alias) {
            map.define(number, const_cast<void*>(address), alias);
            model(number, address, alias);
        };
        auto check = [&](const char* phase) {
            for (std::size_t i = 0; i < count; i += 1 + random() % 7) {
                const void* address = object(i);
                const auto it = numberOf.find(address);
                const int expected =
                    it == numberOf.end() || !records[it->second].second ? -1 : it->second;
                ASSERT_EQ(map.lookup(address), expected) << phase << " seed " << seed << " @" << i;
                // Inside an object: never a number, whatever the spacing of those numbered.
                if (size > 1) {
                    ASSERT_EQ(map.lookup(object(i) + 1 + i % (size - 1)), -1);
                }
            }
        };
        // Rising: every object up to a point, each above the one before; for half the seeds
        // of each size some are skipped, so that the addresses are not evenly spaced.
        const std::size_t rising = count / 2 + random() % (count / 2);
        const unsigned skips = seed / 12 % 2;
        for (std::size_t i = 0; i < rising; i += 1 + (random() % 5 < skips ? random() % 4 : 0)) {
            EXPECT_EQ(map.newReference(object(i)), last + 1);
            model(last + 1, object(i), false);
        }
        check("rising");
        EXPECT_EQ(map.lookup(object(count)), -1);
        for (int step = 0; step < 300; ++step) {
            const void* address = object(random() % count);
            const int number = 1 + static_cast<int>(random() % static_cast<unsigned>(last + 5));
            switch (random() % 5) {
            case 0: {
                const int got = map.newReference(const_cast<void*>(address));
                EXPECT_EQ(got, last + 1);
                model(got, address, false);
                break;
            }
            case 1:
            case 2:
                define(number, address, random() % 3 == 0);
                break;
            case 3:
                if (records.count(number) != 0) {
                    map.undefine(number);
                    records[number] = {nullptr, false};
                }
                break;
            default: {
                const auto it = numberOf.find(address);
                if (it != numberOf.end() && records[it->second].second) {
                    map.undefine(const_cast<void*>(address));
                    records[it->second] = {nullptr, false};
                }
            }
            }
            if (step % 10 == 0) {
                check("mixed");
            }
        }
        check("end");
    }
}

// Fix-ups wait on their number in the order they were queued, each slot null until the
// definition fills it. (Aliases and uses after the definition: the graph tests.)
TEST(ReferenceMap, FixupsWaitInOrderAndFillOnDefinition) {
    ioReferenceMapImpl map;
    ioPacketType asker("asker");
    int object = 0;
    void* slot1 = &map;
    void* slot2 = &map;
    map.resolve(3, &slot1, &asker, 7);
    map.resolve(3, &slot2, &asker, 8);
    EXPECT_EQ(slot1, nullptr); // nulled at once, filled later
    static std::vector<int> gSeen;
    const auto report = [](void*, int extra) { gSeen.push_back(extra); };
    map.reportUnresolved(&asker, report);
    EXPECT_EQ(gSeen, (std::vector<int>{7, 8}));
    map.define(3, &object, false);
    map.markDefined(3, &asker);
    EXPECT_EQ(slot1, &object);
    EXPECT_EQ(slot2, &object);
    gSeen.clear();
    map.reportUnresolved(&asker, report);
    EXPECT_TRUE(gSeen.empty());
}

// --- Random graphs through a file -----------------------------------------------------------

struct GNode {
    int id = 0;
    std::vector<GNode*> edges;
    GNode* alias = nullptr; // read through an alias of another node's inner field
    int inner = 0;
};

std::vector<std::unique_ptr<GNode>> gRead;
int gUnresolvedReports = 0;

class GNodeType : public ioPacketType {
public:
    GNodeType() : ioPacketType("gnode") {}
    void read(ioClientReadContext& client) override {
        ioReadContext& r = client.getContext();
        gRead.emplace_back(new GNode());
        GNode& n = *gRead.back();
        r.definePacketReference(&n);
        r.defineReferenceAlias(r.getPacketReference(), &n.inner);
        r.readInt(n.id);
        int count = 0;
        r.readInt(count);
        n.edges.assign(static_cast<std::size_t>(std::max(0, std::min(count, 64))), nullptr);
        for (std::size_t i = 0; i < n.edges.size(); ++i) {
            r.readReferenceUsage(&n.edges[i], static_cast<int>(i));
        }
    }
    void hasUnresolvedPointer(ioClientReadContext&, void*, int) override { ++gUnresolvedReports; }
};

class GraphRegistry : public ioPacketRegistry {
public:
    using ioPacketRegistry::ioPacketRegistry;
    void registerAllTypes() override { supportedType(new GNodeType()); }
};

void writeGNode(ioWriteContext& w, GNode* n) {
    w.startPacket("gnode", n);
    w.writeInt(n->id);
    w.writeInt(static_cast<int>(n->edges.size()));
    for (GNode* e : n->edges) {
        w.writeReference(e, false);
    }
    w.endPacket();
}

// Seed, and whether the file is written as text rather than binary.
class ReferenceGraph : public ::testing::TestWithParam<std::tuple<std::uint32_t, bool>> {};

TEST_P(ReferenceGraph, RandomGraphsComeBackIsomorphic) {
    kytest::Random random(std::get<0>(GetParam()));
    const bool text = std::get<1>(GetParam());
    const int count = random.range(1, 300);
    std::vector<std::unique_ptr<GNode>> nodes;
    for (int i = 0; i < count; ++i) {
        nodes.emplace_back(new GNode());
        nodes.back()->id = i;
    }
    for (auto& n : nodes) {
        const int edges = random.range(0, 5);
        for (int e = 0; e < edges; ++e) {
            const int pick = random.range(-1, count); // -1 null, count self
            n->edges.push_back(pick < 0        ? nullptr
                               : pick == count ? n.get()
                                               : nodes[static_cast<std::size_t>(pick)].get());
        }
    }
    // Packets in a shuffled order: references come before and after their definitions.
    std::vector<GNode*> order;
    for (auto& n : nodes) {
        order.push_back(n.get());
    }
    std::shuffle(order.begin(), order.end(), random.engine());

    GraphRegistry writer;
    const bool debug = random.chance(50);
    const ioWriteMethod method = text ? (debug ? ioWriteAsciiDebug : ioWriteAscii)
                                      : (debug ? ioWriteBinaryDebug : ioWriteBinary);
    std::map<const GNode*, int> numbers;
    const std::string file = packettest::writeFile(method, writer, [&](ioWriteContext& w) {
        for (GNode* n : order) {
            writeGNode(w, n);
            numbers[n] = w.getReference(n);
        }
    });
    // The same object always gets the same number; the first written gets 1.
    EXPECT_EQ(numbers[order[0]], 1);

    gRead.clear();
    GraphRegistry reader(random.chance(50));
    const ioStatus status = packettest::readFile(file, reader, [&](ioReadContext& r) {
        ASSERT_EQ(gRead.size(), nodes.size());
        std::vector<GNode*> byId(nodes.size(), nullptr);
        for (auto& n : gRead) {
            ASSERT_GE(n->id, 0);
            ASSERT_LT(n->id, count);
            byId[static_cast<std::size_t>(n->id)] = n.get();
        }
        for (auto& original : nodes) {
            const GNode* copy = byId[static_cast<std::size_t>(original->id)];
            ASSERT_NE(copy, nullptr);
            ASSERT_EQ(copy->edges.size(), original->edges.size());
            for (std::size_t e = 0; e < copy->edges.size(); ++e) {
                ASSERT_EQ(copy->edges[e] == nullptr, original->edges[e] == nullptr);
                if (original->edges[e] != nullptr) {
                    EXPECT_EQ(copy->edges[e]->id, original->edges[e]->id);
                }
            }
            // The alias names the same number as the node.
            EXPECT_EQ(r.getReference(&copy->inner), r.getReference(copy));
        }
    });
    EXPECT_EQ(status, ioGood);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReferenceGraph,
                         ::testing::Combine(::testing::Range<std::uint32_t>(1, 25),
                                            ::testing::Bool()));

TEST(ReferenceGraph, UnresolvedAndUnreferencedAreReported) {
    // Node 1 refers to number 9, which no packet defines; nothing refers to node 1.
    packettest::Bytes b;
    b.raw("^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n   0 packetFile_string\n   1 packetFile_EOF\n");
    b.raw("   2 gnode\n@\n").i32(2).i32(1).i32(16).i32(1).i32(0).i32(1).i32(2);
    b.i32(1).i32(0).i32(0);
    GraphRegistry reader;
    gRead.clear();
    gUnresolvedReports = 0;
    static int gReported = 0;
    gReported = 0;
    EXPECT_EQ(packettest::readFile(b.out, reader,
                                   [&](ioReadContext& r) {
                                       r.reportUnresolvedPtrs(reader.lookup("gnode"),
                                                              [](void*, int) { ++gReported; });
                                   }),
              ioGood);
    ASSERT_EQ(gRead.size(), 1u);
    EXPECT_EQ(gRead[0]->edges[0], nullptr);
    EXPECT_EQ(gUnresolvedReports, 1);
    EXPECT_EQ(gReported, 1);
    EXPECT_TRUE(reader.lookup("gnode")->isUnresolved());
    EXPECT_TRUE(reader.lookup("gnode")->isUnreferenced());
}

// Objects of an array, read back into an array: the map's path for objects in rising order.
// Each refers to another or to none; with `forward`, also to later ones, which ends that order.
struct Item {
    int id = 0;
    Item* other = nullptr;
};
std::vector<Item>* gItems = nullptr;
std::vector<int> gUnreferencedIds;

class ItemType : public ioPacketType {
public:
    ItemType() : ioPacketType("item") {}
    void read(ioClientReadContext& client) override {
        ioReadContext& r = client.getContext();
        gItems->emplace_back();
        Item& item = gItems->back();
        r.definePacketReference(&item);
        r.readInt(item.id);
        r.readReferenceUsage(&item.other, 0);
    }
    void memoryNotReferenced(ioClientReadContext&, void* address) override {
        gUnreferencedIds.push_back(static_cast<Item*>(address)->id);
    }
};

class ItemRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override { supportedType(new ItemType()); }
};

TEST(ReferenceGraph, ArraysComeBackWithUsesCounted) {
    for (const bool forward : {false, true}) {
        kytest::Random random(forward ? 7 : 3);
        const int count = 2 * ioReferenceMapImpl::kPageSize + 1; // three pages, the last short
        std::vector<Item> items(static_cast<std::size_t>(count));
        std::vector<bool> referenced(items.size(), false);
        for (int i = 0; i < count; ++i) {
            const int pick = random.range(-1, forward ? count - 1 : i - 1); // -1: none
            items[static_cast<std::size_t>(i)].id = i;
            if (pick >= 0) {
                items[static_cast<std::size_t>(i)].other = &items[static_cast<std::size_t>(pick)];
                referenced[static_cast<std::size_t>(pick)] = true;
            }
        }
        ItemRegistry writer;
        const std::string file =
            packettest::writeFile(ioWriteBinary, writer, [&](ioWriteContext& w) {
                for (const Item& item : items) {
                    w.startPacket("item", &item);
                    w.writeInt(item.id);
                    w.writeReference(item.other, false);
                    w.endPacket();
                }
            });
        std::vector<Item> read;
        read.reserve(items.size());
        gItems = &read;
        gUnreferencedIds.clear();
        ItemRegistry reader;
        int fresh = 0;
        ASSERT_EQ(packettest::readFile(file, reader,
                                       [&](ioReadContext& r) {
                                           // Numbers read are taken: a new one comes after them.
                                           EXPECT_EQ(r.getReferenceMap()->newReference(&fresh),
                                                     count + 1);
                                       }),
                  ioGood)
            << forward;
        ASSERT_EQ(read.size(), items.size());
        std::vector<int> expected;
        for (std::size_t i = 0; i < items.size(); ++i) {
            ASSERT_EQ(read[i].id, items[i].id);
            ASSERT_EQ(read[i].other == nullptr ? -1 : read[i].other->id,
                      items[i].other == nullptr ? -1 : items[i].other->id)
                << forward << " @" << i;
            if (!referenced[i]) {
                expected.push_back(items[i].id);
            }
        }
        std::sort(gUnreferencedIds.begin(), gUnreferencedIds.end());
        EXPECT_EQ(gUnreferencedIds, expected) << forward;
    }
}

TEST(ReferenceGraph, MapsAreSharedAndCounted) {
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    ioReferenceMap* shared = ioPacketFileNewReferenceMap();
    int object = 0;
    {
        ioWriteContextBinary first(out), second(out);
        first.associateReferenceMap(shared);
        second.associateReferenceMap(shared);
        EXPECT_EQ(shared->count(), 2);
        EXPECT_EQ(first.getReferenceMap(), second.getReferenceMap());
        shared->newReference(&object);
        EXPECT_EQ(second.getReference(&object), 1);
        shared->incrementCount(); // keep it past the contexts
    }
    EXPECT_EQ(shared->count(), 1);
    shared->decrementCount();
}

struct Halting : ioClientReadContext {
    using ioClientReadContext::ioClientReadContext;
    void postPacketRead() override { getContext().halt(); }
};

TEST(ReferenceGraph, FilesInOneStreamShareNumbersAndHaltStops) {
    // Two files back to back; the second refers to a node of the first by its number.
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    GraphRegistry writer;
    GNode first, second;
    first.id = 1;
    second.id = 2;
    second.edges.push_back(&first);
    ioWriteContextBinary w(out);
    w.associateRegistry(&writer);
    for (GNode* n : {&first, &second}) {
        w.startFile();
        writeGNode(w, n);
        w.endFile();
    }
    out.close();

    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    GraphRegistry reader;
    std::unique_ptr<ioReadContext> r(ioReadContextAlloc(in, &reader));
    ioClientReadContext client(*r);
    gRead.clear();
    r->readFile(client);
    EXPECT_EQ(r->getStatus(), ioGood);
    ASSERT_TRUE(r->reusePacketFile());
    r->readFile(client);
    EXPECT_EQ(r->getStatus(), ioGood);
    ASSERT_EQ(gRead.size(), 2u);
    EXPECT_EQ(gRead[1]->edges[0], gRead[0].get());
    EXPECT_FALSE(r->reusePacketFile()); // nothing follows: halted
    EXPECT_EQ(r->getStatus(), ioGood);

    ioBufferedStreamInput again;
    again.openIOStream(&memory);
    memory.rewind();
    std::unique_ptr<ioReadContext> h(ioReadContextAlloc(again, &reader));
    Halting halting(*h);
    h->readFile(halting);
    EXPECT_EQ(h->getStatus(), ioHalted);
}

} // namespace
