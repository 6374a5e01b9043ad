// SearchPathTest.cpp - kyOS::SearchPath: building the list, its text form, and lookups.
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSSearchPath.h>

#include "kyTestSupport.h"

#include <filesystem>
#include <fstream>
#include <string>

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

TEST_F(SearchPathTest, DefaultState) {
    SearchPath path;
    EXPECT_FALSE(path.initialized());
    EXPECT_TRUE(path.actLikeShell());
    EXPECT_TRUE(path.getDirectories().isEmpty());
    EXPECT_TRUE(path.findFile(L"a.txt").isEmpty());
    // Until an initialize runs the list separator is '?', deliberately.
    EXPECT_TRUE(path.addDirectoryToPath(at(L"one")));
    EXPECT_TRUE(path.addDirectoryToPath(at(L"two")));
    EXPECT_EQ(path.getDirectories(), listOf({at(L"one"), at(L"two")}, L'?'));
    path.initialize();
    EXPECT_TRUE(path.initialized());
    EXPECT_EQ(path.directories().size(), 2u); // initialize does not clear
    EXPECT_EQ(path.getDirectories(), listOf({at(L"one"), at(L"two")}, Filename::pathSeparator()));
}

TEST_F(SearchPathTest, InitializeKeepsExistingDirectoriesInOrder) {
    SearchPath path;
    const wchar_t sep = Filename::pathSeparator();
    const IString list = listOf(
        {at(L"three"), at(L"missing"), IString(), at(L"one"), at(L"one\\a.txt"), at(L"two")}, sep);
    path.initialize(list);
    ASSERT_EQ(path.directories().size(), 3u);
    EXPECT_EQ(path.directories()[0], at(L"three"));
    EXPECT_EQ(path.directories()[1], at(L"one"));
    EXPECT_EQ(path.directories()[2], at(L"two"));
    EXPECT_FALSE(path.hasDirectory(at(L"missing")));
    EXPECT_EQ(path.getDirectories(), listOf({at(L"three"), at(L"one"), at(L"two")}, sep));

    SearchPath other;
    other.initialize(listOf({at(L"one"), at(L"two")}, L'|'), L'|');
    EXPECT_EQ(other.directories().size(), 2u);
    EXPECT_EQ(other.getDirectories(), listOf({at(L"one"), at(L"two")}, L'|'));
    other.initialize(IString(L"||"), L'|'); // only empty pieces
    EXPECT_EQ(other.directories().size(), 2u);
}

TEST_F(SearchPathTest, EditingTheList) {
    SearchPath path;
    EXPECT_FALSE(path.addDirectoryToPath(at(L"missing")));
    EXPECT_FALSE(path.addDirectoryToPath(at(L"one\\a.txt"))); // a file, not a directory
    EXPECT_TRUE(path.addDirectoryToPath(at(L"one")));
    EXPECT_TRUE(path.insertDirectoryInPath(at(L"two")));
    EXPECT_FALSE(path.insertDirectoryInPath(at(L"missing")));
    EXPECT_TRUE(path.addDirectoryToPath(at(L"two")));
    EXPECT_EQ(path.getDirectories(), listOf({at(L"two"), at(L"one"), at(L"two")}, L'?'));
    // Exact text only: another spelling of the same directory is a different entry.
    const IString spelledOtherwise = at(L"two") + IString(Filename::separator());
    EXPECT_FALSE(path.hasDirectory(spelledOtherwise));
    EXPECT_FALSE(path.removeDirectoryFromPath(spelledOtherwise));
    EXPECT_TRUE(path.hasDirectory(at(L"two")));
    EXPECT_TRUE(path.removeDirectoryFromPath(at(L"two"))); // the first one only
    EXPECT_EQ(path.getDirectories(), listOf({at(L"one"), at(L"two")}, L'?'));
    EXPECT_TRUE(path.removeDirectoryFromPath(at(L"two")));
    EXPECT_FALSE(path.removeDirectoryFromPath(at(L"two")));
    EXPECT_EQ(path.getDirectories(), at(L"one"));
    path.clear();
    EXPECT_TRUE(path.getDirectories().isEmpty());
}

TEST_F(SearchPathTest, ResetAndCopy) {
    SearchPath path;
    path.initialize(at(L"one"), L'#');
    path.actLikeShell(false);
    EXPECT_EQ(path.getDirectories(), at(L"one"));
    const SearchPath copy(path);
    EXPECT_TRUE(copy.initialized());
    EXPECT_FALSE(copy.actLikeShell());
    EXPECT_TRUE(copy.hasDirectory(at(L"one")));
    path.reset();
    EXPECT_FALSE(path.initialized());
    EXPECT_TRUE(path.actLikeShell());
    EXPECT_TRUE(path.directories().empty());
    EXPECT_TRUE(path.getDirectories().isEmpty());
    // The copy kept its separator too.
    SearchPath more(copy);
    EXPECT_TRUE(more.addDirectoryToPath(at(L"two")));
    EXPECT_EQ(more.getDirectories(), listOf({at(L"one"), at(L"two")}, L'#'));
    SearchPath assigned;
    assigned = more;
    EXPECT_EQ(assigned.getDirectories(), more.getDirectories());
}

TEST_F(SearchPathTest, FindFileFirstHitWins) {
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"one")));
    ASSERT_TRUE(path.addDirectoryToPath(at(L"two")));
    EXPECT_EQ(path.findFile(L"a.txt"), at(L"one\\a.txt"));
    EXPECT_EQ(path.findFile(L"b.txt"), at(L"two\\b.txt"));
    EXPECT_EQ(path.findFile(L"sub"), at(L"two\\sub")); // directories count as found
    EXPECT_TRUE(path.findFile(L"nothing.txt").isEmpty());
    IString out(L"stale");
    path.findFile(L"nothing.txt", out);
    EXPECT_TRUE(out.isEmpty());
    path.findFile(L"b.txt", out);
    EXPECT_EQ(out, at(L"two\\b.txt"));
    EXPECT_EQ(path.findDirectory(L"b.txt"), at(L"two"));
    EXPECT_TRUE(path.findDirectory(L"nothing.txt").isEmpty());
}

TEST_F(SearchPathTest, NoFallBackToTheCurrentDirectory) {
    Filename saved;
    saved.getCwd();
    ASSERT_TRUE(Filename(at(L"three")).setCwd());
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"one")));
    const IString found = path.findFile(L"c.txt");
    ASSERT_TRUE(saved.setCwd());
    EXPECT_TRUE(found.isEmpty());
}

TEST_F(SearchPathTest, ActLikeShellTestsNamesWithADirectoryPart) {
    SearchPath path;
    ASSERT_TRUE(path.addDirectoryToPath(at(L"two")));
    const IString relative = IString(L"sub") + IString(Filename::separator()) + IString(L"c.txt");
    // With a directory part the name is tested as it is (relative to the current
    // directory), not searched for.
    Filename saved;
    saved.getCwd();
    ASSERT_TRUE(Filename(at(L"three")).setCwd());
    const IString asShell = path.findFile(relative);
    path.actLikeShell(false);
    const IString searched = path.findFile(relative);
    ASSERT_TRUE(Filename(at(L"two")).setCwd());
    path.actLikeShell(true);
    const IString inPlace = path.findFile(relative);
    ASSERT_TRUE(saved.setCwd());
    EXPECT_TRUE(asShell.isEmpty());
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
