// SearchPathTest.cpp - kyOS::SearchPath: building the list, its text form, and lookups.
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSSearchPath.h>

#include "kyTestSupport.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using kyOS::Filename;
using kyOS::SearchPath;
using kyString::IString;

class SearchPathTest : public kytest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        for (const char* d : {"one", "two", "three", "two/sub"}) {
            std::filesystem::create_directories(dir() / d);
        }
        touch("one/a.txt");
        touch("two/a.txt");
        touch("two/b.txt");
        touch("two/sub/c.txt");
        touch("three/c.txt");
    }
    void touch(const char* leaf) { std::ofstream(dir() / leaf) << "x"; }
    IString at(const wchar_t* leaf) const {
        std::wstring s = leaf;
        for (wchar_t& c : s) {
            if (c == L'\\') {
                c = Filename::separator();
            }
        }
        return Filename::join(IString(dir().wstring().c_str()), IString(s.c_str()));
    }
    static IString listOf(std::initializer_list<IString> entries, wchar_t separator) {
        IString s;
        for (const IString& e : entries) {
            if (!s.isEmpty()) {
                s.append(separator);
            }
            s.append(e);
        }
        return s;
    }
};

// Random edits and lookups against a plain list: after every step the entries' text (joined
// by '?' until an initialize, deliberately) and the first hit of a lookup agree with it.
TEST_F(SearchPathTest, EditsAndLookupsMatchAPlainList) {
    // Three directories; then names no edit accepts: a missing one, a file, and (for removal
    // and membership only) another spelling of "two", a different entry by its text.
    const IString names[] = {at(L"one"),     at(L"two"),        at(L"three"),
                             at(L"missing"), at(L"one\\a.txt"), at(L"two") + IString(L"\\")};
    const wchar_t* const leaves[] = {L"a.txt", L"b.txt", L"c.txt", L"sub", L"nothing.txt"};
    kytest::Random random(11);
    SearchPath path;
    EXPECT_TRUE(!path.initialized() && path.actLikeShell());
    std::vector<IString> model;
    wchar_t separator = L'?';
    for (int step = 0; step < 800; ++step) {
        const int op = random.range(0, 19);
        const std::size_t i = static_cast<std::size_t>(random.range(0, op < 8 ? 4 : 5));
        const auto found = std::find(model.begin(), model.end(), names[i]);
        if (op < 4) {
            EXPECT_EQ(path.addDirectoryToPath(names[i]), i < 3);
            i < 3 ? model.push_back(names[i]) : void();
        } else if (op < 8) {
            EXPECT_EQ(path.insertDirectoryInPath(names[i]), i < 3);
            i < 3 ? (void)model.insert(model.begin(), names[i]) : void();
        } else if (op < 15) {
            EXPECT_EQ(path.removeDirectoryFromPath(names[i]), found != model.end());
            found != model.end() ? (void)model.erase(found) : void();
        } else if (op < 18) {
            EXPECT_EQ(path.hasDirectory(names[i]), found != model.end());
        } else if (op == 18) {
            path.clear();
            model.clear();
        } else {
            path.initialize(); // keeps the entries
            separator = Filename::pathSeparator();
        }
        IString text;
        for (const IString& entry : model) {
            text = text.isEmpty() ? entry : text + IString(separator) + entry;
        }
        ASSERT_EQ(path.getDirectories(), text) << "step " << step;
        const wchar_t* leaf = leaves[random.range(0, 4)];
        IString where;
        for (const IString& entry : model) {
            if (where.isEmpty() &&
                std::filesystem::exists(std::filesystem::path(entry.str()) / leaf)) {
                where = entry;
            }
        }
        EXPECT_EQ(path.findFile(leaf), where.isEmpty() ? IString() : Filename::join(where, leaf));
        EXPECT_EQ(path.findDirectory(leaf), where);
    }
    EXPECT_EQ(path.initialized(), separator != L'?');
}

// Existing directories in list order; missing names, files and empty pieces are dropped.
TEST_F(SearchPathTest, InitializeKeepsExistingDirectoriesInOrder) {
    SearchPath path;
    const wchar_t sep = Filename::pathSeparator();
    path.initialize(listOf(
        {at(L"three"), at(L"missing"), IString(), at(L"one"), at(L"one\\a.txt"), at(L"two")}, sep));
    EXPECT_EQ(path.getDirectories(), listOf({at(L"three"), at(L"one"), at(L"two")}, sep));
    SearchPath other;
    other.initialize(listOf({at(L"one"), at(L"two")}, L'|'), L'|');
    other.initialize(IString(L"||"), L'|'); // only empty pieces
    EXPECT_EQ(other.getDirectories(), listOf({at(L"one"), at(L"two")}, L'|'));
}

// Copies take the entries, the separator and the flags; reset drops all of them.
TEST_F(SearchPathTest, ResetAndCopy) {
    SearchPath path;
    path.initialize(at(L"one"), L'#');
    path.actLikeShell(false);
    SearchPath copy(path), assigned;
    assigned = path;
    path.reset();
    EXPECT_TRUE(!path.initialized() && path.actLikeShell() && path.getDirectories().isEmpty());
    for (SearchPath* p : {&copy, &assigned}) {
        EXPECT_TRUE(p->initialized() && !p->actLikeShell());
        EXPECT_TRUE(p->addDirectoryToPath(at(L"two")));
        EXPECT_EQ(p->getDirectories(), listOf({at(L"one"), at(L"two")}, L'#'));
    }
}

TEST_F(SearchPathTest, FindFileIntoAResult) {
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"two")));
    IString out(L"stale");
    path.findFile(L"nothing.txt", out);
    EXPECT_TRUE(out.isEmpty());
    path.findFile(L"b.txt", out);
    EXPECT_EQ(out, at(L"two\\b.txt"));
}

// The current directory is no fallback for a plain name; a name with a directory part is
// tested as it is (relative to the current directory) while acting like a shell, and
// searched for otherwise.
TEST_F(SearchPathTest, CurrentDirectoryAndNamesWithADirectoryPart) {
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"two")));
    const IString relative = IString(L"sub") + IString(Filename::separator()) + IString(L"c.txt");
    Filename saved;
    saved.getCwd();
    ASSERT_TRUE(Filename(at(L"three")).setCwd());
    const IString plain = path.findFile(L"c.txt");
    const IString asShell = path.findFile(relative);
    path.actLikeShell(false);
    const IString searched = path.findFile(relative);
    ASSERT_TRUE(Filename(at(L"two")).setCwd());
    path.actLikeShell(true);
    const IString inPlace = path.findFile(relative);
    ASSERT_TRUE(saved.setCwd());
    EXPECT_TRUE(plain.isEmpty() && asShell.isEmpty());
    EXPECT_EQ(searched, at(L"two\\sub\\c.txt"));
    EXPECT_EQ(inPlace, relative); // the name unchanged
}

TEST_F(SearchPathTest, AbsoluteNamesAreNeverSearched) {
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"two")));
    path.actLikeShell(false);
    EXPECT_EQ(path.findFile(at(L"three\\c.txt")), at(L"three\\c.txt"));
    EXPECT_TRUE(path.findFile(at(L"three\\b.txt")).isEmpty());
    EXPECT_EQ(path.findDirectory(at(L"three\\c.txt")), at(L"three"));
}

} // namespace
