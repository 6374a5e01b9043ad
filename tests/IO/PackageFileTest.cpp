// PackageFileTest.cpp - package files on real files: the layout byte for byte, block reuse,
// names, header variants, error codes, and a random edit sequence checked against a model.
#include "IOTestSupport.h"

#include <Base/IO/ioPackageFile.h>

#include <gtest/gtest.h>
#include <kyTestSupport.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace {

using iotest::get;
using iotest::name;
using iotest::pattern;
using iotest::put;
using kyString::IString;

constexpr std::int64_t kData = 85;

class PackageFileTest : public kytest::TempDirTest {
protected:
    IString pkg() const { return name(path("p.kpf")); }
    // A source file named `leaf` holding `bytes`.
    IString src(const std::string& leaf, const std::string& bytes) {
        put(path(leaf), bytes);
        return name(path(leaf));
    }
    // Opens `p` on the test's package and adds `entries` (name -> bytes) to it.
    void fill(ioPackageFile& p, const std::vector<std::pair<std::string, std::string>>& entries,
              bool compress = false) {
        ASSERT_EQ(p.open(pkg()).code(), 0);
        for (const auto& e : entries) {
            ASSERT_EQ(p.addEntry(src("in", e.second), name(e.first), compress).code(), 0);
        }
    }
    std::string extract(ioPackageFile& p, const IString& entry) {
        EXPECT_EQ(p.extractEntry(p.getEntry(entry), name(path("out.bin"))).code(), 0);
        return get(path("out.bin"));
    }
    static std::string pointerField(std::int64_t v) {
        std::string s = std::to_string(v);
        return s + std::string(23 - s.size(), ' ') + "\n";
    }
    std::string header(std::int64_t pointer) const {
        return std::string("\x8F") + "KestrovaPortablePackageFile\neliFegakcaPelbatroPavortseK\n" +
               "1\n@\n" + pointerField(pointer);
    }
};

std::string text(const kyUtil::Error& e) {
    return e.hasMessage() ? e.message() : "";
}
// The code and the message, to compare in one line.
std::string said(const kyUtil::Error& e) {
    return std::to_string(e.code()) + " " + text(e);
}
// Writes `data` at `at` of `file`, then a directory as the package writes one: a packet per
// (name, offset, size) block, each with a reference when `reference`, an integer for the name
// when `wrongKind`.
using Block = std::tuple<std::string, std::int64_t, std::int64_t>;
void writeDirectory(const IString& file, std::int64_t at, const std::string& data,
                    ioWriteMethod method, const std::vector<Block>& blocks, bool reference = false,
                    bool wrongKind = false) {
    ioBufferedStreamOutput out;
    out.truncateOnOpen(false);
    out.openFile(file);
    ASSERT_TRUE(out.seek(at));
    out.writeData(data.data(), static_cast<int>(data.size()));
    ioPackageIO::PackageRegistry registry(false);
    std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(out, method, &registry));
    w->startFile();
    static const int anchors[4] = {};
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        w->startPacket("package.entry", reference ? &anchors[i] : nullptr);
        wrongKind ? w->writeInt64(7) : w->writeCString(std::get<0>(blocks[i]).c_str());
        w->writeInt64(std::get<1>(blocks[i]));
        w->writeInt64(std::get<2>(blocks[i]));
        w->writeInt64(7);
        w->writeBool(false);
        w->endPacket();
    }
    w->endFile();
    w.reset();
    out.close();
    ASSERT_TRUE(out.good());
}

TEST_F(PackageFileTest, FreshPackageWithoutUpdateKeepsMinusOneAndIsRejected) {
    ioPackageFile p;
    ASSERT_EQ(p.open(pkg()).code(), 0);
    EXPECT_EQ(p.update().code(), 0); // not modified: nothing written
    p.close();
    EXPECT_EQ(get(path("p.kpf")), header(-1));
    EXPECT_FALSE(ioPackageFile::isFilePackageFile(pkg()));
    ioPackageFile again;
    EXPECT_EQ(said(again.open(pkg())), "17 The file is not a package file: " + path("p.kpf"));
    EXPECT_TRUE(again.getPackageFileName().isEmpty());
}

TEST_F(PackageFileTest, LayoutDirectoryAndRoundTrip) {
    ioPackageFile p;
    fill(p, {{"dir\\a.txt", "hello"}});
    ASSERT_EQ(p.addEntry(src("b", ""), name("b"), true).code(), 0);
    ASSERT_EQ(p.update().code(), 0);
    p.close();
    const std::string bytes = get(path("p.kpf"));
    EXPECT_EQ(bytes.substr(0, 85), header(kData + 5));
    EXPECT_EQ(bytes.substr(85, 5), "hello");
    EXPECT_NE(bytes.find("package.entry"), std::string::npos);
    EXPECT_TRUE(ioPackageFile::isFilePackageFile(pkg()));

    ioPackageFile q;
    ASSERT_EQ(q.open(pkg()).code(), 0);
    ASSERT_EQ(q.size(), 2);
    const ioPackageFileEntry* a = q.getEntry(IString(L"dir/a.txt"));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->getOffset(), kData);
    EXPECT_EQ(a->getSize(), 5);
    const ioPackageFileEntry* b = q.getEntry(IString(L"b"));
    ASSERT_NE(b, nullptr); // a 0-byte file asked to compress is stored plain, size 0
    EXPECT_FALSE(b->getCompressed());
    EXPECT_EQ(b->getSize(), 0);
    EXPECT_EQ(q.getEntry(2)->getName(), IString(L".")); // last index: the directory record
    EXPECT_EQ(q.getEntry(3), nullptr);
    EXPECT_EQ(q.getEntry(-1), nullptr);
    EXPECT_EQ(extract(q, IString(L"dir/a.txt")), "hello");
    EXPECT_EQ(extract(q, IString(L"b")), "");
    EXPECT_EQ(q.extractEntry(nullptr, name(path("none/x"))).code(), 0);
    EXPECT_FALSE(std::filesystem::exists(path("none")));
    ASSERT_EQ(q.expand(name(path("tree"))).code(), 0);
    EXPECT_EQ(get(path("tree/dir/a.txt")), "hello");

    ioBufferedStreamInput in; // (entries read through streams: iotest::packageContents)
    in.openPackageFileEntry(nullptr);
    EXPECT_EQ(in.getStatus(), ioStreamError);
    ioPackageFileEntry loose;
    in.openPackageFileEntry(&loose);
    EXPECT_EQ(in.getStatus(), ioStreamOpenFailed);
}

TEST_F(PackageFileTest, CompressionOnlyWhenSmaller) {
    std::string noise(3000, '\0');
    kytest::Random rng(7);
    for (char& c : noise) {
        c = static_cast<char>(rng.range(0, 255));
    }
    const std::string plain(20000, 'z');
    ioPackageFile p;
    fill(p, {{"noise", noise}, {"zeds", plain}}, true);
    EXPECT_FALSE(p.getEntry(IString(L"noise"))->getCompressed());
    EXPECT_EQ(p.getEntry(IString(L"noise"))->getSize(), 3000);
    EXPECT_TRUE(p.getEntry(IString(L"zeds"))->getCompressed());
    EXPECT_LT(p.getEntry(IString(L"zeds"))->getSize(), 20000);
    EXPECT_EQ(extract(p, IString(L"zeds")), plain);
    EXPECT_EQ(extract(p, IString(L"noise")), noise);
    // A damaged compressed entry fails its checksum on extraction.
    ASSERT_EQ(p.update().code(), 0);
    p.close();
    std::string bytes = get(path("p.kpf"));
    const std::int64_t at = p.getEntry(IString(L"zeds"))->getOffset() + 40;
    bytes[static_cast<std::size_t>(at)] ^= 0x5A;
    put(path("p.kpf"), bytes);
    EXPECT_EQ(said(p.extractEntry(p.getEntry(IString(L"zeds")), name(path("bad.bin")))),
              "9 Error reading package file entry: zeds");
}

TEST_F(PackageFileTest, AdditionsOverwriteTheOldDirectoryUntilUpdate) {
    ioPackageFile p;
    fill(p, {{"a", "first"}});
    ASSERT_EQ(p.update().code(), 0);
    const std::string before = get(path("p.kpf"));
    ASSERT_EQ(p.addEntry(src("b", std::string(64, 'x')), name("b"), false).code(), 0);
    p.close();
    const std::string after = get(path("p.kpf"));
    EXPECT_EQ(after.substr(61, 24), pointerField(kData + 5)); // still the old position
    EXPECT_EQ(after.substr(kData + 5, 64), std::string(64, 'x'));
    EXPECT_NE(before.substr(kData + 5, 64), after.substr(kData + 5, 64));
}

TEST_F(PackageFileTest, NameCleanupAndRefusedNames) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\a\\b.txt", L"a/b.txt"},
        {L"/a/b.txt", L"a/b.txt"},
        {L"./a/b.txt", L"a/b.txt"},
        {L"../a/b.txt", L"a/b.txt"},
        {L"./", L"./"},
        {L"../", L"../"},
        {L"//./../x", L"x"},
        {L"a/../b", L"a/../b"},
        {L"", L""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ioPackageFile::cleanupName(IString(c.first)), IString(c.second))
            << IString(c.first).asMultibyte();
    }
    ioPackageFile p;
    fill(p, {});
    const IString file = src("s", "x");
    EXPECT_EQ(said(p.addEntry(file, IString(L"CON"), false)),
              "11 File is using a windows reserved device name.  Please choose another name: CON");
    EXPECT_EQ(said(p.addEntry(file, IString(L"a/."), false)),
              "12 File is using a name which is not allowed: a/.");
    EXPECT_EQ(p.addEntry(file, IString(L"a/.."), false).code(), 0); // ".." is not refused
}

TEST_F(PackageFileTest, HeaderVariants) {
    {
        ioPackageFile p;
        fill(p, {{"a", "abc"}});
        ASSERT_EQ(p.update().code(), 0);
    }
    const std::string body = get(path("p.kpf")).substr(85);
    struct Case {
        std::string head;
        std::int64_t extra; // pointer minus data start
        int code;
    } cases[] = {
        {header(0).substr(0, 61), 3, 0},
        {"." + header(0).substr(1, 60), 3, 0},
        {header(0).substr(0, 59) + "future: 1\n@\n", 3, 0},
        {header(0).substr(0, 57) + "2\n@\n", 3, 17},
        {"X" + header(0).substr(1, 60), 3, 17},
    };
    for (const Case& c : cases) {
        const std::int64_t start = static_cast<std::int64_t>(c.head.size()) + 24;
        put(path("v.kpf"), c.head + pointerField(start + c.extra) + body);
        EXPECT_EQ(ioPackageFile::isFilePackageFile(name(path("v.kpf"))), c.code == 0) << c.head;
        ioPackageFile v;
        kyUtil::Error e = v.open(name(path("v.kpf")));
        if (c.head.size() == 61) { // the directory's offsets fit this header length
            EXPECT_EQ(e.code(), c.code) << c.head;
            EXPECT_EQ(v.size(), c.code == 0 ? 1 : 0);
        }
    }
    // A pointer equal to the file size is accepted; one byte more is not.
    const std::string tail = header(0).substr(0, 61);
    put(path("e.kpf"), tail + pointerField(85 + 4) + "abcd");
    EXPECT_TRUE(ioPackageFile::isFilePackageFile(name(path("e.kpf"))));
    put(path("e.kpf"), tail + pointerField(85 + 5) + "abcd");
    EXPECT_FALSE(ioPackageFile::isFilePackageFile(name(path("e.kpf"))));
    // Garbage where the directory should be resets the package completely.
    put(path("g.kpf"), tail + pointerField(85) + "garbage");
    ioPackageFile g;
    EXPECT_EQ(said(g.open(name(path("g.kpf")))), "17 Error reading directory: " + path("g.kpf"));
    EXPECT_EQ(g.size(), 0);
    EXPECT_NE(g.getEntry(0), nullptr);
}

TEST_F(PackageFileTest, ErrorCodesAndMessages) {
    ioPackageFile none;
    EXPECT_EQ(said(none.update()), "3 The package file has not been opened yet.");
    EXPECT_EQ(none.addEntry(IString(L"x"), IString(L"x"), false).code(), 3);
    EXPECT_EQ(none.deleteEntry(IString(L"x")).code(), 3);
    EXPECT_EQ(none.write(name(path("w.kpf"))).code(), 3);
    EXPECT_EQ(said(none.open(name(path("missing/dir/p.kpf")))),
              "2 Can not create file: " + path("missing/dir/p.kpf"));

    ioPackageFile p;
    ioPackageFile other;
    fill(p, {});
    ASSERT_EQ(other.open(name(path("o.kpf"))).code(), 0);
    ASSERT_EQ(other.addEntry(src("s", "source"), name("s"), true).code(), 0);
    EXPECT_EQ(said(p.addEntry(name(path("nope")), IString(L"n"), false)),
              "6 File does not exist: " + path("nope") + "\n");
    EXPECT_EQ(said(p.deleteEntry(IString(L"n"))),
              "13 Can not delete named entry as it does not exist: n");
    EXPECT_EQ(text(p.addEntry(nullptr, IString(L"n"))), "The given package file entry is NULL.");
    const ioPackageFileEntry* s = other.getEntry(IString(L"s"));
    EXPECT_EQ(text(p.addEntry(s, IString(L""))), "The name can not be empty.");
    ASSERT_EQ(p.addEntry(s, IString(L"copy")).code(), 0);
    EXPECT_EQ(said(p.addEntry(s, IString(L"copy"))),
              "14 The entry is already present in the package: copy");
    EXPECT_EQ(said(p.addEntry(p.getEntry(IString(L"copy")), IString(L"again"))),
              "15 The source entry can not be in the package.");
    EXPECT_EQ(extract(p, IString(L"copy")), "source");
    EXPECT_TRUE(p.getEntry(IString(L"copy"))->getCompressed() ==
                s->getCompressed()); // stored bytes copied as they are
    EXPECT_EQ(p.extractEntry(p.getEntry(IString(L"copy")), name(path("p.kpf") + "/sub/x")).code(),
              5); // the "directory" is a file
}

// Names in a file are not trusted: expanding never writes outside the target directory.
TEST_F(PackageFileTest, ExpandKeepsHostileNamesInsideTheTarget) {
    const struct {
        std::string stored, planted, lands; // lands: "" when refused with code 12
    } cases[] = {
        {"zz/x", "../x", "x"},          {"abcd", "C:\\x", "x"}, {"etcetx", "/etc/x", "etc/x"},
        {"a/../../x", "a/../../x", ""}, {"q/rr", "q/..", ""},
    };
    for (const auto& c : cases) {
        std::filesystem::remove_all(path("t"));
        std::filesystem::remove(path("p.kpf"));
        ioPackageFile p;
        fill(p, {{c.stored, "data"}});
        ASSERT_EQ(p.update().code(), 0);
        p.close();
        std::string bytes = get(path("p.kpf"));
        bytes.replace(bytes.rfind(c.stored), c.stored.size(), c.planted);
        put(path("p.kpf"), bytes);
        ioPackageFile q;
        ASSERT_EQ(q.open(pkg()).code(), 0);
        ASSERT_NE(q.getEntry(name(c.planted)), nullptr) << c.planted;
        EXPECT_EQ(q.expand(name(path("t/out"))).code(), c.lands.empty() ? 12 : 0) << c.planted;
        if (!c.lands.empty()) {
            EXPECT_EQ(get(path("t/out/" + c.lands)), "data");
        }
        std::size_t outside = 0;
        for (const auto& e : std::filesystem::recursive_directory_iterator(path("t"))) {
            const std::string rel = e.path().lexically_relative(path("t")).generic_string();
            outside += rel.rfind("out", 0) == 0 ? 0 : 1;
        }
        EXPECT_EQ(outside, 0u) << c.planted;
    }
}

// 64-bit offsets and sizes: a sparse package whose data area holds a 3 GiB block, with its
// directory written through the package registry exactly as the package writes one.
TEST_F(PackageFileTest, EntriesBeyondTwoGigabytes) {
    const std::int64_t big = std::int64_t(3) << 30;
    const std::int64_t tail = kData + big;
    const std::int64_t dirAt = tail + 5;
    put(path("s.kpf"), header(dirAt));
    std::error_code ec;
    std::filesystem::resize_file(path("s.kpf"), static_cast<std::uintmax_t>(tail), ec);
    if (ec) {
        GTEST_SKIP() << "no sparse file of 3 GiB here: " << ec.message();
    }
    writeDirectory(name(path("s.kpf")), tail, "hello", ioWriteBinary,
                   {{"pad", kData, big}, {"tail", tail, 5}, {".", dirAt, 0}});
    ioPackageFile p;
    ASSERT_EQ(p.open(name(path("s.kpf"))).code(), 0);
    ASSERT_EQ(p.getEntry(IString(L"pad"))->getSize(), big);
    EXPECT_EQ(p.getEntry(IString(L"tail"))->getOffset(), tail);
    EXPECT_EQ(extract(p, IString(L"tail")), "hello");
    // Freeing the big block and adding into it splits it at a 64-bit boundary.
    ASSERT_EQ(p.deleteEntry(IString(L"pad")).code(), 0);
    ASSERT_EQ(p.addEntry(src("n", "new"), name("new"), false).code(), 0);
    EXPECT_EQ(p.getEntry(IString(L"new"))->getOffset(), kData);
    ASSERT_EQ(p.update().code(), 0);
    ioPackageFile q;
    ASSERT_EQ(q.open(name(path("s.kpf"))).code(), 0);
    EXPECT_EQ(extract(q, IString(L"tail")), "hello");
    EXPECT_EQ(extract(q, IString(L"new")), "new");
    EXPECT_EQ(q.getEntry(IString(L"tail"))->getTimeStamp(), 7);
}

TEST_F(PackageFileTest, ReadOnlyPackageRefusesEdits) {
    ioPackageFile p;
    fill(p, {{"a", "a"}});
    ASSERT_EQ(p.update().code(), 0);
    p.close();
    namespace fs = std::filesystem;
    fs::permissions(path("p.kpf"),
                    fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const IString source = src("b", "b");
    auto edits = [&] {
        ioPackageFile r;
        kyUtil::Error opened = r.open(pkg());
        return std::to_string(opened.code()) + "|" + text(r.addEntry(source, name("b"), false)) +
               "|" + text(r.deleteEntry(IString(L"a"))) + "|" + text(r.update());
    };
    // Root may write read-only files: there the edits are tried as an unprivileged user.
    const bool root = kytest::canDropPrivileges();
    const std::optional<std::string> seen =
        root ? kytest::runInChild(edits, true) : std::optional<std::string>(edits());
    ASSERT_TRUE(seen.has_value());
    const std::string refused = "This package file can not be modified as it is not writable.";
    EXPECT_EQ(*seen, "0|" + refused + "|" + refused + "|The package file is not writable.");
}

// A directory is data from the file: one in a debug encoding (whose tag mismatches abort a
// reader) is refused, and packets that claim references (undefined ones abort too) are read
// as plain entries.
TEST_F(PackageFileTest, HostileDirectoriesAreRefusedNotFatal) {
    struct Case {
        ioWriteMethod method;
        bool withReference;
        bool wrongKind; // an integer where the name should be
        int code;
    };
    const Case cases[] = {{ioWriteBinaryDebug, false, true, 17},
                          {ioWriteBinaryDebug, false, false, 17},
                          {ioWriteAscii, false, false, 17},
                          {ioWriteBinary, true, false, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.method));
        std::filesystem::remove(path("p.kpf"));
        {
            ioPackageFile p;
            fill(p, {{"a", "abc"}});
            ASSERT_EQ(p.update().code(), 0);
        }
        const std::int64_t where = kData + 3;
        writeDirectory(pkg(), where, "", c.method, {{"a", kData, 3}, {".", where, 0}},
                       c.withReference, c.wrongKind);
        ioPackageFile reopened;
        kyUtil::Error e = reopened.open(pkg());
        EXPECT_EQ(e.code(), c.code) << text(e);
        if (c.code == 0) {
            EXPECT_EQ(extract(reopened, IString(L"a")), "abc");
        }
    }
}

TEST_F(PackageFileTest, CompactionReplacesTheTargetWhole) {
    ioPackageFile p;
    fill(p, {{"c", std::string(50, 'c')}, {"a", "a"}, {"b", std::string(50, 'b')}});
    ASSERT_EQ(p.deleteEntry(IString(L"a")).code(), 0);
    ASSERT_EQ(p.write(pkg()).code(), 0); // compacting onto itself
    EXPECT_EQ(p.getPackageFileName(), pkg());
    EXPECT_EQ(p.getEntry(IString(L"b"))->getOffset(), kData); // name order, no gaps
    EXPECT_EQ(p.getEntry(IString(L"c"))->getOffset(), kData + 50);
    EXPECT_EQ(p.getEntry(IString(L"c"))->getPackage(), &p);
    ioPackageFile q;
    ASSERT_EQ(q.open(pkg()).code(), 0);
    EXPECT_EQ(q.size(), 2);
    EXPECT_EQ(extract(q, IString(L"c")), std::string(50, 'c'));
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir())) {
        files += entry.path().filename().string().find("p.kpf") == 0 ? 1 : 0;
    }
    EXPECT_EQ(files, 1u); // no temporary copy left beside it
    // To another name: the old file stays as it was; a failed write changes nothing.
    const std::string before = get(path("p.kpf"));
    EXPECT_EQ(p.write(name(path("no/such/dir/c.kpf"))).code(), 2); // cannot create it
    EXPECT_EQ(p.getPackageFileName(), pkg());
    ASSERT_EQ(p.write(name(path("c.kpf"))).code(), 0);
    EXPECT_EQ(p.getPackageFileName(), name(path("c.kpf")));
    EXPECT_EQ(get(path("p.kpf")), before);
    EXPECT_EQ(get(path("c.kpf")), before);
}

// The blocks of a package tile its data area: named blocks in offset order with at most free
// space between them, the directory record last, every directory name on its block. Adjacent
// free blocks are allowed only in memory in the crash-safe mode (held and reusable ones).
void checkTiling(const ioPackageFile& pk, bool strict) {
    std::int64_t end = kData;
    for (int i = 0;; ++i) {
        const ioPackageFileEntry* e = pk.getEntry(i);
        if (e == nullptr) {
            const ioPackageFileEntry* next = pk.getEntry(i + 1);
            ASSERT_TRUE(!strict || next != nullptr) << "two free blocks side by side at " << i;
            ASSERT_TRUE(next == nullptr || next->getOffset() > end);
            continue;
        }
        ASSERT_GE(e->getOffset(), end);
        if (i > 0 && pk.getEntry(i - 1) != nullptr) {
            ASSERT_EQ(e->getOffset(), end);
        }
        end = e->getOffset() + e->getSize();
        if (e->getName() == IString(L".")) {
            break;
        }
    }
    for (const auto& named : pk.getDirectory()) {
        ASSERT_NE(pk.getEntry(named.second), nullptr);
        ASSERT_EQ(pk.getEntry(named.second)->getName(), named.first);
    }
}

// Where an addition of `size` bytes lands in the default mode: in the first free run that
// holds it once the entry it replaces is freed (freed neighbours merge), else on the directory.
std::int64_t firstFit(const ioPackageFile& pk, const IString& replaced, std::int64_t size) {
    std::int64_t end = kData;
    for (int i = 0;; ++i) {
        const ioPackageFileEntry* e = pk.getEntry(i);
        if (e == nullptr || e->getName() == replaced) {
            continue;
        }
        if (e->getOffset() > end && e->getOffset() - end >= size) {
            return end;
        }
        if (e->getName() == IString(L".")) {
            return e->getOffset();
        }
        end = e->getOffset() + e->getSize();
    }
}

// Random adds (plain, compressed, new, replacing), deletes, updates and compactions, checked
// after every step against a name -> bytes model and by reopening the file from disk; in the
// default mode every plain addition lands where first fit puts it. In the crash-safe mode the
// file as it stands before each update must open as the last update left it, entries intact.
TEST_F(PackageFileTest, RandomSequenceMatchesModel) {
    for (bool safe : {false, true}) {
        SCOPED_TRACE(safe ? "crash-safe" : "default");
        std::filesystem::remove(path("p.kpf"));
        kytest::Random rng(2026);
        std::map<std::string, std::string> model;
        ioPackageFile p;
        p.setCrashSafe(safe);
        ASSERT_EQ(p.open(pkg()).code(), 0);
        model["seed"] = "s";
        ASSERT_EQ(p.addEntry(src("in", "s"), name("seed"), false).code(), 0);
        ASSERT_EQ(p.update().code(), 0);
        std::map<std::string, std::string> committed = model;
        for (int step = 0; step < 70; ++step) {
            const std::string key = "e" + std::to_string(rng.range(0, 9));
            const int op = rng.range(0, 9);
            if (op < 6) {
                const std::size_t n = static_cast<std::size_t>(
                    rng.chance(50) ? 4096 : rng.range(0, 9000)); // exact fits too
                const std::string bytes =
                    rng.chance(50) ? pattern(n, static_cast<unsigned>(step)) : std::string(n, 'q');
                const bool compress = rng.chance(50);
                const std::int64_t fit = firstFit(p, name(key), static_cast<std::int64_t>(n));
                ASSERT_EQ(p.addEntry(src("in", bytes), name(key), compress).code(), 0);
                EXPECT_TRUE(safe || compress || p.getEntry(name(key))->getOffset() == fit) << step;
                model[key] = bytes;
            } else if (op < 8) {
                EXPECT_EQ(p.deleteEntry(name(key)).code(), model.erase(key) ? 0 : 13);
            } else if (op < 9) {
                ASSERT_EQ(p.update().code(), 0);
            } else {
                ASSERT_EQ(p.write(pkg()).code(), 0);
            }
            checkTiling(p, !safe);
            ASSERT_EQ(p.size(), static_cast<int>(model.size()));
            for (const auto& m : model) {
                ASSERT_EQ(extract(p, name(m.first)), m.second) << "step " << step;
            }
            if (safe && op < 8) {
                // (Removed first: overwriting copies fail with mingw's library.)
                std::filesystem::remove(path("snap.kpf"));
                std::filesystem::copy_file(path("p.kpf"), path("snap.kpf"));
                ioPackageFile snap;
                ASSERT_EQ(snap.open(name(path("snap.kpf"))).code(), 0) << "step " << step;
                ASSERT_EQ(snap.size(), static_cast<int>(committed.size()));
                for (const auto& m : committed) {
                    ASSERT_EQ(extract(snap, name(m.first)), m.second) << "step " << step;
                }
            }
            ASSERT_EQ(p.update().code(), 0);
            committed = model;
            ioPackageFile disk;
            ASSERT_EQ(disk.open(pkg()).code(), 0) << "step " << step;
            checkTiling(disk, true);
            checkTiling(p, true);
            ASSERT_EQ(disk.size(), static_cast<int>(model.size()));
            for (const auto& m : model) {
                ASSERT_EQ(extract(disk, name(m.first)), m.second);
            }
        }
    }
}

// The crash-safe layout: additions land after the directory the pointer names, freed blocks
// wait for the next update, each update appends its directory, and the space of the old one
// is reused afterwards.
TEST_F(PackageFileTest, CrashSafeModeKeepsTheOnDiskStateUntilUpdate) {
    ioPackageFile p;
    p.setCrashSafe(true);
    fill(p, {{"a", pattern(3000, 1)}, {"b", pattern(2000, 2)}});
    ASSERT_EQ(p.update().code(), 0);
    const std::int64_t dir1 = p.getEntry(IString(L"b"))->getOffset() + 2000;
    const std::string disk1 = get(path("p.kpf"));
    ASSERT_EQ(disk1.substr(61, 24), pointerField(dir1));
    const std::string oldDirectory = disk1.substr(static_cast<std::size_t>(dir1));

    // With "b" (the block before the directory) deleted, replacing "a" by a smaller entry must
    // reuse neither their blocks nor the directory's bytes.
    ASSERT_EQ(p.deleteEntry(IString(L"b")).code(), 0);
    ASSERT_EQ(p.addEntry(src("a2", pattern(100, 3)), name("a"), false).code(), 0);
    EXPECT_GE(p.getEntry(IString(L"a"))->getOffset(),
              dir1 + static_cast<std::int64_t>(oldDirectory.size()));
    const std::string unsaved = get(path("p.kpf"));
    EXPECT_EQ(unsaved.substr(0, disk1.size()), disk1) << "bytes the old state names changed";

    ASSERT_EQ(p.update().code(), 0);
    const std::string disk2 = get(path("p.kpf"));
    const std::int64_t dir2 = p.getEntry(IString(L"a"))->getOffset() + 100;
    EXPECT_GT(dir2, dir1);
    EXPECT_EQ(disk2.substr(61, 24), pointerField(dir2));
    // Now the first block (old "a", old "b" and the old directory) is one free block ...
    EXPECT_EQ(p.getEntry(0), nullptr);
    EXPECT_EQ(p.getEntry(1)->getName(), IString(L"a"));
    // ... which the next addition reuses.
    ASSERT_EQ(p.addEntry(src("c", pattern(500, 4)), name("c"), false).code(), 0);
    EXPECT_EQ(p.getEntry(IString(L"c"))->getOffset(), kData);
    ASSERT_EQ(p.update().code(), 0);
    ioPackageFile disk;
    ASSERT_EQ(disk.open(pkg()).code(), 0);
    EXPECT_EQ(extract(disk, IString(L"a")), pattern(100, 3));
    EXPECT_EQ(extract(disk, IString(L"c")), pattern(500, 4));
    EXPECT_EQ(disk.getEntry(IString(L"b")), nullptr);
}

} // namespace
