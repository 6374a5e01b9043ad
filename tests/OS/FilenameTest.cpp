// FilenameTest.cpp - kyOS::Filename as a value, the narrow helpers, and the calls that touch
// the file system (current directory, directory creation).
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/kyOSFilename.h>

#include "kyTestSupport.h"

#include <cstring>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace {

using kyOS::Filename;
using kyOS::PathStyle;
using kyString::IString;

bool nativeIsWindows() {
    return kyOS::detail::nativeStyle() == PathStyle::kWindows;
}

// The native spelling of a name written with backslashes.
IString native(const wchar_t* text) {
    std::wstring s = text;
    for (wchar_t& c : s) {
        if (c == L'\\') {
            c = Filename::separator();
        }
    }
    return IString(s.c_str());
}

// The name and its five components (prefix, dirname, basename, trunk, suffix) under the
// rules the object was made with.
TEST(FilenameTest, ComponentsUnderEachStyle) {
    const Filename win(L"C:/data//scenes/../shot.tar.gz", L'\\', PathStyle::kWindows);
    const Filename posix(L"/usr//lib/../share/a.b", L'/', PathStyle::kPosix);
    const Filename none;
    const struct {
        const Filename& f;
        std::vector<std::wstring> parts;
        bool absolute;
    } cases[] = {
        {win,
         {L"C:\\data\\shot.tar.gz", L"C:", L"C:\\data", L"shot.tar.gz", L"shot.tar", L"gz"},
         true},
        {posix, {L"/usr/share/a.b", L"", L"/usr/share", L"a.b", L"a", L"b"}, true},
        {none, {L"", L"", L"", L"", L"", L""}, false},
    };
    for (const auto& c : cases) {
        std::vector<std::wstring> got = {c.f.name().str()};
        for (const IString& part : c.f.components()) {
            got.push_back(part.str());
        }
        EXPECT_EQ(got, c.parts);
        EXPECT_EQ(c.f.isAbsolute(), c.absolute);
    }
    EXPECT_EQ(win.style(), PathStyle::kWindows);
    EXPECT_EQ(none.getSeparator(), Filename::separator());
    // "/x" is relative under Windows rules even with slash as the separator.
    EXPECT_FALSE(Filename(L"/x", L'/', PathStyle::kWindows).isAbsolute());
    EXPECT_EQ(Filename(L"a", L"b", PathStyle::kWindows).name().str(), L"a\\b");
    EXPECT_EQ(Filename(L"C:", L"x", PathStyle::kWindows).name().str(), L"C:x");
    EXPECT_EQ(Filename(L"a", L"b", PathStyle::kPosix).name().str(), L"a/b");
}

TEST(FilenameTest, NativeConstructorsCanonicalise) {
    EXPECT_EQ(Filename(IString(L"a//b/")).name(), native(L"a\\b"));
    EXPECT_EQ(Filename(IString(L"a\\\\b\\")).name(), native(L"a\\b"));
    EXPECT_EQ(Filename("x/y/../z", '/').name().str(), L"x/z");
    EXPECT_EQ(Filename(kyString::CString("x\\y"), '/').name().str(), L"x/y");
    EXPECT_EQ(Filename(static_cast<const char*>(nullptr), '/').name().str(), L"");
    EXPECT_EQ(Filename(IString(L"p"), IString(L"q")).name(), native(L"p\\q"));
    const Filename dir(IString(L"top"));
    const Filename leaf(IString(L"leaf.txt"));
    const Filename joined(dir, leaf);
    EXPECT_EQ(joined.name(), native(L"top\\leaf.txt"));
    EXPECT_EQ(joined.basename().str(), L"leaf.txt");
}

// Assigning text canonicalises with the separator already held and drops the old
// components; assigning a Filename copies separator and name as they are.
TEST(FilenameTest, AssignmentRules) {
    Filename f(IString(L"a:b"), L':');
    EXPECT_EQ(f.basename().str(), L"b");
    f = IString(L"x//y:");
    EXPECT_EQ(f.getSeparator(), L':');
    EXPECT_EQ(f.name().str(), L"x::y"); // "::" is not a doubled "//": kept
    EXPECT_EQ(f.basename().str(), L"y");
    f = Filename(IString(L"p/q"), L'/');
    f = f; // self-assignment keeps everything
    EXPECT_EQ(f.getSeparator(), L'/');
    EXPECT_EQ(f.name().str(), L"p/q");
    EXPECT_EQ(Filename(f).dirname().str(), L"p");
}

TEST(FilenameTest, StaticJoinFoldsFromTheLeft) {
    EXPECT_EQ(Filename::join(L"a", L"b"), native(L"a\\b"));
    EXPECT_EQ(Filename::join(L"a", L"b", L"c"), native(L"a\\b\\c"));
    EXPECT_EQ(Filename::join(L"a", L"b", L"..", L"d").str(), native(L"a\\d").str());
    EXPECT_EQ(Filename::join(L"a", native(L"b\\..\\c"), L"d", L"e").str(),
              Filename::join(native(L"a\\c\\d"), L"e").str());
    EXPECT_EQ(Filename::join(L"", L""), IString());
    EXPECT_EQ(Filename::join(L"a/", L"b", PathStyle::kWindows).str(), L"a/\\b");
    EXPECT_EQ(Filename::join(L"C:", L"x", PathStyle::kWindows).str(), L"C:x");
}

TEST(FilenameTest, ReservedDeviceNames) {
    const std::pair<Filename, bool> cases[] = {
        {Filename(IString(L"nul.txt")), true},
        {Filename(IString(L"dir/CON")), true},
        {Filename(IString(L"Com3.log")), true},
        {Filename(L"C:\\out\\lpt1.dat", L'\\', PathStyle::kWindows), true},
        {Filename(IString(L"con.tar.gz")), false}, // only the trunk counts
        {Filename(IString(L"COM0")), false},
        {Filename(IString(L"console")), false},
        {Filename(IString(L".nul")), false},
        {Filename(), false}};
    for (const auto& [name, reserved] : cases) {
        EXPECT_EQ(kyOS::isWindowsReservedDeviceName(name), reserved) << name.name().asUTF8();
    }
}

TEST(FilenameTest, OverLongNamesAreKeptWhole) {
    const std::wstring part(300, L'p');
    std::wstring text;
    for (int i = 0; i < 40; ++i) {
        text += part + L"//";
    }
    text += L"file.ext";
    const Filename f(IString(text.c_str()), L'\\', PathStyle::kWindows);
    EXPECT_GT(f.name().length(), Filename::maxLength(PathStyle::kWindows));
    EXPECT_EQ(f.name().length(), 40u * 301u + 8u);
    EXPECT_EQ(f.basename().str(), L"file.ext");
    EXPECT_EQ(f.dirname().length(), 40u * 301u - 1u);
}

// Null input counts as empty; null output receives nothing.
TEST(FilenameTest, NarrowHelpers) {
    const bool win = nativeIsWindows();
    const char* name = win ? "C:\\dir\\a.tar.gz" : "/dir/a.tar.gz";
    const std::pair<void (*)(const char*, char*), const char*> parts[] = {
        {kyOS_FilenamePrefix, win ? "C:" : ""},
        {kyOS_FilenameDirname, win ? "C:\\dir" : "/dir"},
        {kyOS_FilenameBasename, "a.tar.gz"},
        {kyOS_FilenameBaseTrunk, "a.tar"},
        {kyOS_FilenameBaseSuffix, "gz"}};
    char out[256];
    for (const auto& [part, expected] : parts) {
        part(name, out);
        EXPECT_STREQ(out, expected);
        std::strcpy(out, "untouched");
        part(nullptr, out);
        EXPECT_STREQ(out, "");
        part(name, nullptr);
    }
    kyOS_FilenameJoin("a//", "b/", out);
    EXPECT_STREQ(out, win ? "a\\b" : "a/b");
    kyOS_FilenameJoin(nullptr, nullptr, out);
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(kyOS_FilenameMakeDir(nullptr));
}

class FilenameDiskTest : public kytest::TempDirTest {
protected:
    IString dirName() const { return IString(dir().wstring().c_str()); }
    IString sub(const wchar_t* leaf) const { return Filename::join(dirName(), leaf); }
};

// One level only: not over an existing name, not below a missing one, not too long.
TEST_F(FilenameDiskTest, MakeDirCreatesOneLevel) {
    const Filename a(sub(L"a"));
    EXPECT_TRUE(a.makeDir());
    EXPECT_TRUE(std::filesystem::is_directory(dir() / "a"));
    EXPECT_FALSE(a.makeDir());
    EXPECT_FALSE(Filename(sub(native(L"x\\y\\z").asWChar())).makeDir());
    EXPECT_FALSE(std::filesystem::exists(dir() / "x"));
    EXPECT_FALSE(Filename().makeDir());
    const std::wstring longLeaf(Filename::maxLength(PathStyle::kWindows) + 40, L'q');
    EXPECT_FALSE(Filename(sub(longLeaf.c_str())).makeDir());
    EXPECT_TRUE(kyOS_FilenameMakeDir(sub(L"n").asMultibyte()));
    EXPECT_TRUE(std::filesystem::is_directory(dir() / "n"));
}

// The current directory goes and comes back; a relative name's long-path form starts there.
TEST_F(FilenameDiskTest, CurrentDirectoryRoundTrip) {
    Filename saved;
    saved.getCwd();
    EXPECT_TRUE(saved.isAbsolute() && saved.getSeparator() == Filename::separator());
    ASSERT_TRUE(Filename(dirName()).setCwd());
    Filename now;
    now.getCwd();
    IString out;
    const kyUtil::Error e = kyOS::toLongPathForm(L"x/y", out);
    EXPECT_FALSE(Filename(sub(L"missing")).setCwd());
    EXPECT_FALSE(Filename().setCwd());
    ASSERT_TRUE(saved.setCwd());
    EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::path(now.name().str()), dir()));
    ASSERT_TRUE(e.ok()) << e.message();
    const IString expected = Filename::join(now.name(), native(L"x\\y"));
    EXPECT_EQ(out, nativeIsWindows() ? IString(L"\\\\?\\") + expected : expected);
}

int failingGetCwd(std::wstring&, unsigned int, int* error) {
    *error = 34; // too long for the buffer
    return -1;
}

TEST(FilenameFakeTest, GetCwdFailureLeavesTheNameEmpty) {
    kyOS::detail::fileCalls().getCwd = failingGetCwd;
    Filename f(L"a/b", L':');
    f.getCwd();
    kyOS::detail::fileCalls() = kyOS::detail::nativeFileCalls();
    EXPECT_TRUE(f.name().isEmpty());
    EXPECT_EQ(f.getSeparator(), Filename::separator());
    EXPECT_TRUE(f.basename().isEmpty());
}

} // namespace
