// KypkgTest.cpp - the package tool run as a program: a tree of nested, binary and empty files
// through create, list, extract and cat, plain and compressed; every exit code from a real
// cause; hostile entry names written into a package's directory by hand.
#include "IOTestSupport.h"

#include <Base/IO/ioPackageFile.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;
using Tree = std::map<std::string, std::string>; // relative name -> bytes

#ifdef KYPKG_PATH
const std::string kTool = KYPKG_PATH;
#else
const std::string kTool; // the tools are not part of this build
#endif

class Kypkg : public kytest::TempDirTest {
protected:
    void SetUp() override {
        kytest::TempDirTest::SetUp();
        if (kTool.empty()) {
            GTEST_SKIP() << "the tools are not part of this build";
        }
    }
    // Runs the tool with `arguments`; its exit code, standard output and standard error.
    int run(const std::string& arguments) {
        const int code = iotest::runTool(kTool, arguments, "", path("out.txt"), path("err.txt"));
        out_ = iotest::get(path("out.txt"));
        err_ = iotest::get(path("err.txt"));
        text_ = iotest::withoutCR(out_); // text lines end in "\r\n" on Windows; entry bytes do not
        return code;
    }
    std::string q(const std::string& leaf) const { return "\"" + path(leaf) + "\""; }

    void write(const Tree& tree, const std::string& root) {
        for (const auto& file : tree) {
            const fs::path name = dir() / root / file.first;
            fs::create_directories(name.parent_path());
            std::ofstream(name, std::ios::binary) << file.second;
        }
    }
    Tree readTree(const std::string& root) {
        Tree tree;
        for (const auto& file : fs::recursive_directory_iterator(dir() / root)) {
            if (file.is_regular_file()) {
                tree[file.path().lexically_relative(dir() / root).generic_string()] =
                    iotest::get(file.path().string());
            }
        }
        return tree;
    }

    std::string out_;
    std::string err_;
    std::string text_;
};

Tree sampleTree() {
    kytest::Random random(22);
    std::string noise(70000, '\0');
    std::string bytes;
    std::string text;
    for (int i = 0; i < 70000; ++i) {
        noise[static_cast<std::size_t>(i)] = static_cast<char>(random.range(0, 255));
        bytes += i < 5000 ? std::string(1, static_cast<char>(i & 0xFF)) : "";
        text += i < 3000 ? "line " + std::to_string(i) + " of a text that compresses well\n" : "";
    }
    return {
        {"empty", ""},         {"a/text.txt", text},     {"a/b/c/noise.bin", noise},
        {"a/b/empty.dat", ""}, {"bytes/all.bin", bytes}, {"bytes/zeros", std::string(9000, '\0')},
        {"one", "1"}};
}

TEST_F(Kypkg, CreateListExtractAndCatRoundTrip) {
    const Tree tree = sampleTree();
    write(tree, "tree");
    for (const char* compress : {"", " -z"}) {
        SCOPED_TRACE(compress);
        ASSERT_EQ(run("create " + q("p.kpf") + " " + q("tree") + " --as tree" + compress), 0)
            << err_;
        ASSERT_EQ(run("list " + q("p.kpf")), 0) << err_;
        for (const auto& file : tree) {
            const std::string size = std::to_string(file.second.size());
            EXPECT_NE(text_.find(size + " "), std::string::npos) << file.first;
            EXPECT_NE(text_.find("  tree/" + file.first + "\n"), std::string::npos) << text_;
        }
        EXPECT_NE(text_.find(std::to_string(tree.size()) + " entries\n"), std::string::npos);
        fs::remove_all(dir() / "x");
        ASSERT_EQ(run("extract " + q("p.kpf") + " -C " + q("x")), 0) << err_;
        EXPECT_EQ(readTree("x/tree"), tree);
        ASSERT_EQ(run("cat " + q("p.kpf") + " tree/a/b/c/noise.bin"), 0) << err_;
        EXPECT_EQ(out_, tree.at("a/b/c/noise.bin"));
        ASSERT_EQ(run("extract " + q("p.kpf") + " tree/one tree/a/text.txt -C -"), 0) << err_;
        EXPECT_EQ(out_, "1" + tree.at("a/text.txt"));
        ASSERT_EQ(run("verify " + q("p.kpf")), 0) << err_;
        // Compression shows in the stored sizes and ratios of the long listing.
        ASSERT_EQ(run("list --long " + q("p.kpf")), 0) << err_;
        const std::size_t text = text_.find("tree/a/text.txt");
        ASSERT_NE(text, std::string::npos);
        const std::string row =
            text_.substr(text_.rfind('\n', text) + 1, text - text_.rfind('\n', text));
        EXPECT_EQ(row.find("100.0%") == std::string::npos, *compress != 0) << row;
    }
}

TEST_F(Kypkg, EveryExitCodeFromARealCause) {
    write(sampleTree(), "tree");
    ASSERT_EQ(run("create " + q("p.kpf") + " " + q("tree") + " -z --as t"), 0) << err_;
    std::ofstream(path("note.txt")) << "not a package\n";
    fs::create_directories(dir() / "folder");
    // A compressed entry with one byte changed fails its checksum.
    fs::copy_file(dir() / "p.kpf", dir() / "bad.kpf");
    {
        ioPackageFile package;
        ASSERT_TRUE(package.open(kyString::IString(path("p.kpf").c_str())).ok());
        const ioPackageFileEntry* text = package.getEntry(kyString::IString(L"t/a/text.txt"));
        ASSERT_TRUE(text != nullptr && text->getCompressed());
        std::fstream bad(path("bad.kpf"), std::ios::in | std::ios::out | std::ios::binary);
        bad.seekp(text->getOffset() + text->getSize() / 2);
        bad.put('\x5A');
    }
    const struct {
        std::string args;
        int code;
        const char* error;
    } cases[] = {
        {"verify " + q("p.kpf"), 0, ""},
        {"create " + q("empty.kpf"), 0, ""}, // no files: a package that opens again
        {"list " + q("empty.kpf"), 0, ""},
        {"compact " + q("p.kpf"), 0, ""},
        {"add " + q("p.kpf") + " " + q("nosuch.txt"), 1, "nosuch.txt: no such file or directory"},
        {"delete " + q("p.kpf") + " t/one nothere", 1, "nothere: no such entry"},
        {"cat " + q("p.kpf") + " t/one", 1, "t/one: no such entry"}, // deleted just before
        {"list " + q("note.txt"), 1, "The file is not a package file"},
        {"verify " + q("bad.kpf"), 1, "t/a/text.txt: its checksum"},
        {"extract " + q("bad.kpf") + " t/a/text.txt -C " + q("o"), 1, "t/a/text.txt: its checksum"},
        {"list " + q("nosuch.kpf"), 2, "no such package"},
        {"add " + q("folder") + " " + q("note.txt"), 2, "not a plain file"},
        {"create " + q("no/such/dir/p.kpf") + " " + q("note.txt"), 2, "p.kpf: "},
        {"", 64, "no command"},
        {"frobnicate " + q("p.kpf"), 64, "unknown command"},
        {"list " + q("p.kpf") + " --nosuchoption", 64, "usage: kypkg"},
        {"cat " + q("p.kpf") + " a b", 64, "wrong number"},
        {"add " + q("p.kpf") + " a b --as c", 64, "--as"},
        {"--help", 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.args), c.code) << c.args << "\n" << err_;
        EXPECT_NE(err_.find(c.error), std::string::npos) << c.args << "\n" << err_;
    }
    EXPECT_NE(out_.find("usage: kypkg"), std::string::npos); // --help, on standard output
}

TEST_F(Kypkg, HostileNamesLandInsideTheTargetOrAreRefused) {
    // Each name, and where under the target it may land ("" : it must be refused).
    const std::string names[] = {"../x1", "/abs/x2",    "C:\\x3",    "..\\..\\x4",
                                 "d:x5",  "a/../../x6", "a/./x7",    "a//x8",
                                 "a/b:c", "..",         path("abs9")};
    const std::string rootless = fs::path(path("abs9")).relative_path().generic_string();
    const std::string lands[] = {"x1", "abs/x2", "x3", "x4", "x5", "", "", "", "", "", rootless};
    // Entries are added under placeholder names of the same length, then the names in the
    // directory are overwritten with the hostile ones.
    const auto placeholder = [&](std::size_t i) {
        return char('A' + i) + std::string(names[i].size() - 1, 'p');
    };
    ioPackageFile package;
    ASSERT_TRUE(package.open(kyString::IString(path("h.kpf").c_str())).ok());
    std::ofstream(path("src")) << "payload";
    for (std::size_t i = 0; i < std::size(names); ++i) {
        ASSERT_TRUE(package
                        .addEntry(kyString::IString(path("src").c_str()),
                                  kyString::IString(placeholder(i).c_str()), false)
                        .ok());
    }
    ASSERT_TRUE(package.update().ok());
    package.close();
    std::string bytes = iotest::get(path("h.kpf"));
    for (std::size_t i = 0; i < std::size(names); ++i) {
        bytes.replace(bytes.rfind(placeholder(i)), names[i].size(), names[i]);
    }
    std::ofstream(path("h.kpf"), std::ios::binary) << bytes;

    EXPECT_EQ(run("extract " + q("h.kpf") + " -C " + q("deep/out")), 1);
    for (std::size_t i = 0; i < std::size(names); ++i) {
        if (lands[i].empty()) {
            EXPECT_NE(err_.find(names[i] + ": refused"), std::string::npos) << err_;
        } else {
            EXPECT_EQ(iotest::get((dir() / "deep/out" / lands[i]).string()), "payload") << names[i];
        }
    }
    // Nothing was written anywhere but under the target.
    for (const auto& file : fs::recursive_directory_iterator(dir())) {
        const std::string name = file.path().lexically_relative(dir()).generic_string();
        EXPECT_TRUE(!file.is_regular_file() || name.rfind("deep/out/", 0) == 0 || name == "h.kpf" ||
                    name == "src" || name == "out.txt" || name == "err.txt")
            << name;
    }
}

} // namespace
