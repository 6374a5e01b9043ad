// FilenameRulesTest.cpp - the path rules of both styles, on every platform: canonicalisation,
// joining, splitting, absoluteness, reserved device names and the long-path form.
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/kyOSFilename.h>

#include <string>

#include <gtest/gtest.h>

namespace {

using kyOS::PathStyle;
namespace detail = kyOS::detail;

constexpr PathStyle kWin = PathStyle::kWindows;
constexpr PathStyle kPosix = PathStyle::kPosix;

struct CanonCase {
    const wchar_t* input;
    wchar_t separator;
    const wchar_t* expected;
};

std::string show(const std::wstring& s) {
    return std::string(kyString::IString(s.c_str()).asUTF8());
}

const CanonCase kWindowsCanon[] = {
    {L"", L'\\', L""},
    {L"a//b", L'\\', L"a\\b"},
    {L"a/b/c", L'\\', L"a\\b\\c"},
    {L"\\\\\\x", L'\\', L"\\\\x"},
    {L"C:\\", L'\\', L"C:\\"},
    {L"c:/", L'\\', L"c:\\"},
    {L"C:\\a\\", L'\\', L"C:\\a"},
    {L"C:/a//b///", L'\\', L"C:\\a\\b"},
    {L"\\\\server\\", L'\\', L"\\\\server\\"},
    {L"\\\\server", L'\\', L"\\\\server"},
    {L"\\\\server\\share\\", L'\\', L"\\\\server\\share"},
    {L"//server/share/x/", L'\\', L"\\\\server\\share\\x"},
    {L"\\", L'\\', L"\\"},
    {L"\\\\", L'\\', L"\\"},
    {L"a\\\\", L'\\', L"a"},
    {L"a\\b\\..\\c", L'\\', L"a\\c"},
    {L"..\\..\\a", L'\\', L"..\\..\\a"},
    {L"x\\..\\..\\a", L'\\', L"..\\a"},
    {L".\\..\\x", L'\\', L"..\\x"},
    {L"a\\.\\b", L'\\', L"a\\.\\b"},
    {L"a\\b\\..", L'\\', L"a\\b\\.."},
    {L"C:\\..\\x", L'\\', L"x"},
    {L"\\..\\a", L'\\', L"a"},
    {L"a\\b\\c\\..\\..\\d", L'\\', L"a\\d"},
    // A leading ".." stops the collapse for good, later patterns included.
    {L"..\\..\\a\\..\\b", L'\\', L"..\\..\\a\\..\\b"},
    {L"C:\\a\\b\\..\\c.txt", L'\\', L"C:\\a\\c.txt"},
    // Slash as the separator: backslashes become slashes, the same exceptions hold.
    {L"a\\\\b\\", L'/', L"a/b"},
    {L"C:\\", L'/', L"C:/"},
    {L"//server/", L'/', L"//server/"},
    {L"a/b/../c", L'/', L"a/c"},
    // Another separator looks for "//" only, so its doubles stay (kept quirk), and the
    // "/../" pattern never matches once slashes are replaced.
    {L"a//b", L':', L"a::b"},
    {L"a::b::", L':', L"a::b"},
    {L"a/../b", L':', L"a:..:b"},
};

const CanonCase kPosixCanon[] = {
    {L"", L'/', L""},
    {L"a//b", L'/', L"a/b"},
    {L"a\\b", L'/', L"a/b"},
    {L"//x", L'/', L"/x"},
    {L"///", L'/', L"/"},
    {L"/", L'/', L"/"},
    {L"a/b/", L'/', L"a/b"},
    {L"C:/", L'/', L"C:"},
    {L"//server/", L'/', L"/server"},
    {L"a/b/../c", L'/', L"a/c"},
    {L"../../a", L'/', L"../../a"},
    {L"x/../../a", L'/', L"../a"},
    {L"./../x", L'/', L"../x"},
    {L"a/./b", L'/', L"a/./b"},
    {L"a/b/..", L'/', L"a/b/.."},
    // The root is consumed with the first component, as under Windows rules.
    {L"/../a", L'/', L"a"},
    {L"/usr/../lib/x", L'/', L"/lib/x"},
};

TEST(FilenameRulesTest, WindowsCanonicalisation) {
    for (const CanonCase& c : kWindowsCanon) {
        EXPECT_EQ(detail::canonicalize(c.input, c.separator, kWin), c.expected)
            << "input " << show(c.input);
    }
}

TEST(FilenameRulesTest, PosixCanonicalisation) {
    for (const CanonCase& c : kPosixCanon) {
        EXPECT_EQ(detail::canonicalize(c.input, c.separator, kPosix), c.expected)
            << "input " << show(c.input);
    }
}

TEST(FilenameRulesTest, CanonicalisationIsIdempotentOnTheTables) {
    for (const CanonCase& c : kWindowsCanon) {
        const std::wstring once = detail::canonicalize(c.input, c.separator, kWin);
        EXPECT_EQ(detail::canonicalize(once, c.separator, kWin), once) << show(c.input);
    }
    for (const CanonCase& c : kPosixCanon) {
        const std::wstring once = detail::canonicalize(c.input, c.separator, kPosix);
        EXPECT_EQ(detail::canonicalize(once, c.separator, kPosix), once) << show(c.input);
    }
}

TEST(FilenameRulesTest, SingleSteps) {
    std::wstring s = L"\\\\a\\\\\\b";
    detail::removeDuplicateSeparators(s, L'\\', kWin);
    EXPECT_EQ(s, L"\\\\a\\b"); // the leading pair survives
    s = L"\\\\a\\\\\\b";
    detail::removeDuplicateSeparators(s, L'\\', kPosix);
    EXPECT_EQ(s, L"\\a\\b");
    s = L"x";
    detail::removeDuplicateSeparators(s, L'\\', kWin);
    EXPECT_EQ(s, L"x");
    s = L"a\\b\\\\";
    detail::removeTrailingSeparators(s, L'\\', kWin);
    EXPECT_EQ(s, L"a\\b");
    s = L"1:\\"; // not a drive letter: the separator goes
    detail::removeTrailingSeparators(s, L'\\', kWin);
    EXPECT_EQ(s, L"1:");
    s = L"\\\\\\";
    detail::removeTrailingSeparators(s, L'\\', kWin);
    EXPECT_EQ(s, L"\\\\\\");
    s = L"a\\b\\..\\c";
    detail::removeSlashDotDotSlash(s, L'\\');
    EXPECT_EQ(s, L"a\\c");
    s = L"a/b/../c";
    detail::replaceOtherSeparator(s, L'\\');
    EXPECT_EQ(s, L"a\\b\\..\\c");
}

struct JoinCase {
    const wchar_t* dir;
    const wchar_t* name;
    const wchar_t* expected;
};

TEST(FilenameRulesTest, WindowsJoin) {
    const JoinCase cases[] = {
        {L"", L"", L""},
        {L"a", L"", L"a"},
        {L"a\\", L"", L"a"},
        {L"", L"b", L"b"},
        {L"C:", L"x", L"C:x"},
        {L"C:\\", L"x", L"C:\\x"},
        {L"a/", L"b", L"a/\\b"}, // slashes deliberately left alone
        {L"a\\", L"b", L"a\\b"},
        {L"a", L"\\b\\", L"a\\b"},
        {L"a\\b", L"..\\c", L"a\\c"},
        {L"a", L"..\\..\\c", L"..\\c"},
        {L"\\\\server\\share", L"x", L"\\\\server\\share\\x"},
        {L"\\\\server", L"", L"\\\\server"},
    };
    for (const JoinCase& c : cases) {
        EXPECT_EQ(detail::join(c.dir, c.name, kWin), c.expected)
            << show(c.dir) << " + " << show(c.name);
    }
}

TEST(FilenameRulesTest, PosixJoin) {
    const JoinCase cases[] = {
        {L"", L"", L""},
        {L"a", L"b", L"a/b"},
        {L"/", L"x", L"/x"},
        {L"a/", L"/b", L"a/b"},
        {L"C:", L"x", L"C:/x"},
        {L"a\\", L"b", L"a\\/b"},
        {L"/a/b", L"../c", L"/a/c"},
        {L"a", L"", L"a"},
        {L"", L"b/", L"b"},
    };
    for (const JoinCase& c : cases) {
        EXPECT_EQ(detail::join(c.dir, c.name, kPosix), c.expected)
            << show(c.dir) << " + " << show(c.name);
    }
}

struct SplitCase {
    const wchar_t* name;
    wchar_t separator;
    const wchar_t* prefix;
    const wchar_t* dirname;
    const wchar_t* basename;
    const wchar_t* trunk;
    const wchar_t* suffix;
};

void expectSplit(const SplitCase& c, PathStyle style) {
    const detail::PathComponents p = detail::split(c.name, c.separator, style);
    EXPECT_EQ(p.prefix, c.prefix) << show(c.name);
    EXPECT_EQ(p.dirname, c.dirname) << show(c.name);
    EXPECT_EQ(p.basename, c.basename) << show(c.name);
    EXPECT_EQ(p.baseTrunk, c.trunk) << show(c.name);
    EXPECT_EQ(p.baseSuffix, c.suffix) << show(c.name);
}

TEST(FilenameRulesTest, WindowsSplit) {
    const SplitCase cases[] = {
        {L"", L'\\', L"", L"", L"", L"", L""},
        {L"C:", L'\\', L"C:", L"C:", L"", L"", L""},
        {L"C:x", L'\\', L"C:", L"C:", L"x", L"x", L""},
        {L"C:\\", L'\\', L"C:", L"C:\\", L"", L"", L""},
        {L"C:\\a", L'\\', L"C:", L"C:\\", L"a", L"a", L""},
        {L"C:\\a\\b.txt", L'\\', L"C:", L"C:\\a", L"b.txt", L"b", L"txt"},
        {L"\\\\server", L'\\', L"\\\\server", L"\\\\server", L"", L"", L""},
        {L"\\\\server\\", L'\\', L"\\\\server\\", L"\\\\server\\", L"", L"", L""},
        {L"\\\\server\\share", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"", L"", L""},
        {L"\\\\server\\share\\", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"", L"", L""},
        {L"\\\\server\\share\\a", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"a", L"a",
         L""},
        {L"\\\\server\\share\\a\\b.c", L'\\', L"\\\\server\\share", L"\\\\server\\share\\a", L"b.c",
         L"b", L"c"},
        {L"\\", L'\\', L"", L"\\", L"", L"", L""},
        {L"\\x", L'\\', L"", L"\\", L"x", L"x", L""},
        {L"a\\b\\", L'\\', L"", L"a\\b", L"", L"", L""},
        {L"x", L'\\', L"", L"", L"x", L"x", L""},
        {L".profile", L'\\', L"", L"", L".profile", L"", L"profile"},
        {L"a.tar.gz", L'\\', L"", L"", L"a.tar.gz", L"a.tar", L"gz"},
        {L"a\\..", L'\\', L"", L"a", L"..", L".", L""},
        {L"a\\.", L'\\', L"", L"a", L".", L"", L""},
        {L"file.", L'\\', L"", L"", L"file.", L"file", L""},
        // Drive and network tests use the literal colon and backslashes.
        {L"C:/a", L'/', L"C:", L"C:/", L"a", L"a", L""},
        {L"//server/share", L'/', L"", L"//server", L"share", L"share", L""},
    };
    for (const SplitCase& c : cases) {
        expectSplit(c, kWin);
    }
}

TEST(FilenameRulesTest, PosixSplit) {
    const SplitCase cases[] = {
        {L"", L'/', L"", L"", L"", L"", L""},
        {L"/", L'/', L"", L"/", L"", L"", L""},
        {L"/x", L'/', L"", L"/", L"x", L"x", L""},
        {L"/usr/lib/x.so", L'/', L"", L"/usr/lib", L"x.so", L"x", L"so"},
        {L"C:x", L'/', L"", L"", L"C:x", L"C:x", L""},
        {L"\\\\server\\share", L'/', L"", L"", L"\\\\server\\share", L"\\\\server\\share", L""},
        {L"dir/.hidden", L'/', L"", L"dir", L".hidden", L"", L"hidden"},
    };
    for (const SplitCase& c : cases) {
        expectSplit(c, kPosix);
    }
}

TEST(FilenameRulesTest, IsAbsolute) {
    const struct {
        const wchar_t* name;
        bool windows;
        bool posix;
    } cases[] = {
        {L"", false, false},     {L"\\\\server", true, false}, {L"\\\\", true, false},
        {L"C:\\x", true, false}, {L"C:\\", true, false},       {L"C:", false, false},
        {L"C:x", false, false},  {L"\\x", false, false},       {L"/x", false, true},
        {L"C:/x", false, false}, {L"x", false, false},         {L"/", false, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(detail::isAbsolute(c.name, kWin), c.windows) << show(c.name);
        EXPECT_EQ(detail::isAbsolute(c.name, kPosix), c.posix) << show(c.name);
    }
}

TEST(FilenameRulesTest, ReservedDeviceTrunks) {
    for (const wchar_t* t :
         {L"CON", L"con", L"Prn", L"aux", L"NUL", L"COM1", L"com9", L"LPT1", L"lPt5"}) {
        EXPECT_TRUE(detail::isReservedDeviceTrunk(t)) << show(t);
    }
    for (const wchar_t* t : {L"", L"CO", L"CONS", L"COM0", L"LPT0", L"COM10", L"COMA", L"LPT",
                             L"NUL ", L"C0N", L"COM\u00B9"}) {
        EXPECT_FALSE(detail::isReservedDeviceTrunk(t)) << show(t);
    }
}

TEST(FilenameRulesTest, StyleConstants) {
    EXPECT_EQ(kyOS::Filename::separator(kWin), L'\\');
    EXPECT_EQ(kyOS::Filename::pathSeparator(kWin), L';');
    EXPECT_EQ(kyOS::Filename::maxLength(kWin), 260u);
    EXPECT_EQ(kyOS::Filename::separator(kPosix), L'/');
    EXPECT_EQ(kyOS::Filename::pathSeparator(kPosix), L':');
    EXPECT_EQ(kyOS::Filename::maxLength(kPosix), 4096u);
    const PathStyle native = detail::nativeStyle();
    EXPECT_NE(native, PathStyle::kNative);
    EXPECT_EQ(kyOS::Filename::separator(), kyOS::Filename::separator(native));
    EXPECT_EQ(kyOS::Filename::pathSeparator(), kyOS::Filename::pathSeparator(native));
    EXPECT_EQ(kyOS::Filename::maxLength(), kyOS::Filename::maxLength(native));
    EXPECT_EQ(detail::resolveStyle(PathStyle::kNative), native);
}

// Replaces the full-path query with a fake and puts the native one back afterwards.
class LongPathTest : public ::testing::Test {
protected:
    static int fakeFullPath(const std::wstring& name, std::wstring& out, int* error) {
        if (fail) {
            *error = 5;
            return -1;
        }
        out = cwd + name;
        return 0;
    }
    static std::wstring fakeErrorText(int error) {
        return L"fake failure " + std::to_wstring(error);
    }
    void SetUp() override {
        fail = false;
        detail::fileCalls().fullPath = fakeFullPath;
        detail::fileCalls().systemErrorText = fakeErrorText;
    }
    void TearDown() override { detail::fileCalls() = detail::nativeFileCalls(); }

    static bool fail;
    static std::wstring cwd;
};

bool LongPathTest::fail = false;
std::wstring LongPathTest::cwd;

TEST_F(LongPathTest, WindowsRules) {
    cwd = L"D:\\work\\";
    kyString::IString out;
    EXPECT_TRUE(kyOS::toLongPathForm(L"C:/a//b/", kWin, out).ok());
    EXPECT_EQ(out.str(), L"\\\\?\\C:\\a\\b");
    EXPECT_TRUE(kyOS::toLongPathForm(L"\\\\server\\share\\x", kWin, out).ok());
    EXPECT_EQ(out.str(), L"\\\\?\\UNC\\server\\share\\x");
    EXPECT_TRUE(kyOS::toLongPathForm(L"a/b", kWin, out).ok());
    EXPECT_EQ(out.str(), L"\\\\?\\D:\\work\\a\\b");
    EXPECT_TRUE(kyOS::toLongPathForm(L"C:x", kWin, out).ok()); // drive-relative: completed
    EXPECT_EQ(out.str(), L"\\\\?\\D:\\work\\C:x");
    // Short names get the prefix too, and so do names over the limit.
    const std::wstring longName = L"C:\\" + std::wstring(1000, L'n');
    EXPECT_TRUE(kyOS::toLongPathForm(longName.c_str(), kWin, out).ok());
    EXPECT_EQ(out.str(), L"\\\\?\\" + longName);
}

TEST_F(LongPathTest, SystemFailureIsCode14WithTheSystemText) {
    fail = true;
    kyString::IString out;
    const kyUtil::Error e = kyOS::toLongPathForm(L"a/b", kWin, out);
    EXPECT_EQ(e.code(), kyOS::kFileErrSyscall);
    EXPECT_STREQ(e.message(), "fake failure 5");
    EXPECT_EQ(out.str(), L"a\\b"); // nothing prefixed
    // An absolute name never asks the system.
    EXPECT_TRUE(kyOS::toLongPathForm(L"C:\\a", kWin, out).ok());
    EXPECT_TRUE(kyOS::toLongPathForm(L"/a", kPosix, out).ok());
    EXPECT_EQ(out.str(), L"/a");
    const kyUtil::Error p = kyOS::toLongPathForm(L"a", kPosix, out);
    EXPECT_EQ(p.code(), kyOS::kFileErrSyscall);
    EXPECT_EQ(out.str(), L"a");
}

TEST_F(LongPathTest, PosixRulesGiveTheAbsolutePath) {
    cwd = L"/home/u/";
    kyString::IString out;
    EXPECT_TRUE(kyOS::toLongPathForm(L"/a//b/", kPosix, out).ok());
    EXPECT_EQ(out.str(), L"/a/b");
    EXPECT_TRUE(kyOS::toLongPathForm(L"x/y", kPosix, out).ok());
    EXPECT_EQ(out.str(), L"/home/u/x/y");
}

} // namespace
