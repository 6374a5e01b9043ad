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
    PathStyle style;
    const wchar_t* input;
    wchar_t separator;
    const wchar_t* expected;
};

std::string show(const std::wstring& s) {
    return std::string(kyString::IString(s.c_str()).asUTF8());
}

// Each case also checks that a canonical name stays as it is.
TEST(FilenameRulesTest, Canonicalisation) {
    const CanonCase cases[] = {
        {kWin, L"", L'\\', L""},
        {kWin, L"a//b", L'\\', L"a\\b"},
        {kWin, L"a/b/c", L'\\', L"a\\b\\c"},
        {kWin, L"\\\\\\x", L'\\', L"\\\\x"},
        {kWin, L"C:\\", L'\\', L"C:\\"},
        {kWin, L"c:/", L'\\', L"c:\\"},
        {kWin, L"C:\\a\\", L'\\', L"C:\\a"},
        {kWin, L"C:/a//b///", L'\\', L"C:\\a\\b"},
        {kWin, L"\\\\server\\", L'\\', L"\\\\server\\"},
        {kWin, L"\\\\server", L'\\', L"\\\\server"},
        {kWin, L"\\\\server\\share\\", L'\\', L"\\\\server\\share"},
        {kWin, L"//server/share/x/", L'\\', L"\\\\server\\share\\x"},
        {kWin, L"\\", L'\\', L"\\"},
        {kWin, L"\\\\", L'\\', L"\\"},
        {kWin, L"a\\\\", L'\\', L"a"},
        {kWin, L"a\\b\\..\\c", L'\\', L"a\\c"},
        {kWin, L"..\\..\\a", L'\\', L"..\\..\\a"},
        {kWin, L"x\\..\\..\\a", L'\\', L"..\\a"},
        {kWin, L".\\..\\x", L'\\', L"..\\x"},
        {kWin, L"a\\.\\b", L'\\', L"a\\.\\b"},
        {kWin, L"a\\b\\..", L'\\', L"a\\b\\.."},
        {kWin, L"C:\\..\\x", L'\\', L"x"},
        {kWin, L"\\..\\a", L'\\', L"a"},
        {kWin, L"a\\b\\c\\..\\..\\d", L'\\', L"a\\d"},
        // A leading ".." stops the collapse for good, later patterns included.
        {kWin, L"..\\..\\a\\..\\b", L'\\', L"..\\..\\a\\..\\b"},
        {kWin, L"C:\\a\\b\\..\\c.txt", L'\\', L"C:\\a\\c.txt"},
        // Slash as the separator: backslashes become slashes, the same exceptions hold.
        {kWin, L"a\\\\b\\", L'/', L"a/b"},
        {kWin, L"C:\\", L'/', L"C:/"},
        {kWin, L"//server/", L'/', L"//server/"},
        {kWin, L"a/b/../c", L'/', L"a/c"},
        // Another separator looks for "//" only, so its doubles stay (kept quirk), and the
        // "/../" pattern never matches once slashes are replaced.
        {kWin, L"a//b", L':', L"a::b"},
        {kWin, L"a::b::", L':', L"a::b"},
        {kWin, L"a/../b", L':', L"a:..:b"},

        {kPosix, L"", L'/', L""},
        {kPosix, L"a//b", L'/', L"a/b"},
        {kPosix, L"a\\b", L'/', L"a/b"},
        {kPosix, L"//x", L'/', L"/x"},
        {kPosix, L"///", L'/', L"/"},
        {kPosix, L"/", L'/', L"/"},
        {kPosix, L"a/b/", L'/', L"a/b"},
        {kPosix, L"C:/", L'/', L"C:"},
        {kPosix, L"//server/", L'/', L"/server"},
        {kPosix, L"a/b/../c", L'/', L"a/c"},
        {kPosix, L"../../a", L'/', L"../../a"},
        {kPosix, L"x/../../a", L'/', L"../a"},
        {kPosix, L"./../x", L'/', L"../x"},
        {kPosix, L"a/./b", L'/', L"a/./b"},
        {kPosix, L"a/b/..", L'/', L"a/b/.."},
        // The root is consumed with the first component, as under Windows rules.
        {kPosix, L"/../a", L'/', L"a"},
        {kPosix, L"/usr/../lib/x", L'/', L"/lib/x"},
    };
    for (const CanonCase& c : cases) {
        const std::wstring once = detail::canonicalize(c.input, c.separator, c.style);
        EXPECT_EQ(once, c.expected) << "input " << show(c.input);
        EXPECT_EQ(detail::canonicalize(once, c.separator, c.style), once) << show(c.input);
    }
}

// The single steps where the tables above cannot reach them.
TEST(FilenameRulesTest, SingleSteps) {
    using Step = void (*)(std::wstring&);
    const struct {
        Step step;
        const wchar_t* input;
        const wchar_t* expected;
    } cases[] = {
        {[](std::wstring& s) { detail::removeDuplicateSeparators(s, L'\\', kWin); },
         L"\\\\a\\\\\\b", L"\\\\a\\b"}, // the leading pair survives
        {[](std::wstring& s) { detail::removeDuplicateSeparators(s, L'\\', kPosix); },
         L"\\\\a\\\\\\b", L"\\a\\b"},
        {[](std::wstring& s) { detail::removeTrailingSeparators(s, L'\\', kWin); }, L"1:\\",
         L"1:"}, // not a drive letter: the separator goes
        {[](std::wstring& s) { detail::removeTrailingSeparators(s, L'\\', kWin); }, L"\\\\\\",
         L"\\\\\\"},
        {[](std::wstring& s) { detail::replaceOtherSeparator(s, L'\\'); }, L"a/b/../c",
         L"a\\b\\..\\c"},
    };
    for (const auto& c : cases) {
        std::wstring s = c.input;
        c.step(s);
        EXPECT_EQ(s, c.expected) << show(c.input);
    }
}

struct JoinCase {
    PathStyle style;
    const wchar_t* dir;
    const wchar_t* name;
    const wchar_t* expected;
};

TEST(FilenameRulesTest, Join) {
    const JoinCase cases[] = {
        {kWin, L"", L"", L""},
        {kWin, L"a", L"", L"a"},
        {kWin, L"a\\", L"", L"a"},
        {kWin, L"", L"b", L"b"},
        {kWin, L"C:", L"x", L"C:x"},
        {kWin, L"C:\\", L"x", L"C:\\x"},
        {kWin, L"a/", L"b", L"a/\\b"}, // slashes deliberately left alone
        {kWin, L"a\\", L"b", L"a\\b"},
        {kWin, L"a", L"\\b\\", L"a\\b"},
        {kWin, L"a\\b", L"..\\c", L"a\\c"},
        {kWin, L"a", L"..\\..\\c", L"..\\c"},
        {kWin, L"\\\\server\\share", L"x", L"\\\\server\\share\\x"},
        {kWin, L"\\\\server", L"", L"\\\\server"},
        {kPosix, L"", L"", L""},
        {kPosix, L"a", L"b", L"a/b"},
        {kPosix, L"/", L"x", L"/x"},
        {kPosix, L"a/", L"/b", L"a/b"},
        {kPosix, L"C:", L"x", L"C:/x"},
        {kPosix, L"a\\", L"b", L"a\\/b"},
        {kPosix, L"/a/b", L"../c", L"/a/c"},
        {kPosix, L"a", L"", L"a"},
        {kPosix, L"", L"b/", L"b"},
    };
    for (const JoinCase& c : cases) {
        EXPECT_EQ(detail::join(c.dir, c.name, c.style), c.expected)
            << show(c.dir) << " + " << show(c.name);
    }
}

struct SplitCase {
    PathStyle style;
    const wchar_t* name;
    wchar_t separator;
    const wchar_t* prefix;
    const wchar_t* dirname;
    const wchar_t* basename;
    const wchar_t* trunk;
    const wchar_t* suffix;
};

TEST(FilenameRulesTest, Split) {
    const SplitCase cases[] = {
        {kWin, L"", L'\\', L"", L"", L"", L"", L""},
        {kWin, L"C:", L'\\', L"C:", L"C:", L"", L"", L""},
        {kWin, L"C:x", L'\\', L"C:", L"C:", L"x", L"x", L""},
        {kWin, L"C:\\", L'\\', L"C:", L"C:\\", L"", L"", L""},
        {kWin, L"C:\\a", L'\\', L"C:", L"C:\\", L"a", L"a", L""},
        {kWin, L"C:\\a\\b.txt", L'\\', L"C:", L"C:\\a", L"b.txt", L"b", L"txt"},
        {kWin, L"\\\\server", L'\\', L"\\\\server", L"\\\\server", L"", L"", L""},
        {kWin, L"\\\\server\\", L'\\', L"\\\\server\\", L"\\\\server\\", L"", L"", L""},
        {kWin, L"\\\\server\\share", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"", L"",
         L""},
        {kWin, L"\\\\server\\share\\", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"", L"",
         L""},
        {kWin, L"\\\\server\\share\\a", L'\\', L"\\\\server\\share", L"\\\\server\\share", L"a",
         L"a", L""},
        {kWin, L"\\\\server\\share\\a\\b.c", L'\\', L"\\\\server\\share", L"\\\\server\\share\\a",
         L"b.c", L"b", L"c"},
        {kWin, L"\\", L'\\', L"", L"\\", L"", L"", L""},
        {kWin, L"\\x", L'\\', L"", L"\\", L"x", L"x", L""},
        {kWin, L"a\\b\\", L'\\', L"", L"a\\b", L"", L"", L""},
        {kWin, L"x", L'\\', L"", L"", L"x", L"x", L""},
        {kWin, L".profile", L'\\', L"", L"", L".profile", L"", L"profile"},
        {kWin, L"a.tar.gz", L'\\', L"", L"", L"a.tar.gz", L"a.tar", L"gz"},
        {kWin, L"a\\..", L'\\', L"", L"a", L"..", L".", L""},
        {kWin, L"a\\.", L'\\', L"", L"a", L".", L"", L""},
        {kWin, L"file.", L'\\', L"", L"", L"file.", L"file", L""},
        // Drive and network tests use the literal colon and backslashes.
        {kWin, L"C:/a", L'/', L"C:", L"C:/", L"a", L"a", L""},
        {kWin, L"//server/share", L'/', L"", L"//server", L"share", L"share", L""},
        {kPosix, L"", L'/', L"", L"", L"", L"", L""},
        {kPosix, L"/", L'/', L"", L"/", L"", L"", L""},
        {kPosix, L"/x", L'/', L"", L"/", L"x", L"x", L""},
        {kPosix, L"/usr/lib/x.so", L'/', L"", L"/usr/lib", L"x.so", L"x", L"so"},
        {kPosix, L"C:x", L'/', L"", L"", L"C:x", L"C:x", L""},
        {kPosix, L"\\\\server\\share", L'/', L"", L"", L"\\\\server\\share", L"\\\\server\\share",
         L""},
        {kPosix, L"dir/.hidden", L'/', L"", L"dir", L".hidden", L"", L"hidden"},
    };
    for (const SplitCase& c : cases) {
        const detail::PathComponents p = detail::split(c.name, c.separator, c.style);
        const std::wstring got[] = {p.prefix, p.dirname, p.basename, p.baseTrunk, p.baseSuffix};
        const std::wstring want[] = {c.prefix, c.dirname, c.basename, c.trunk, c.suffix};
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(got[i], want[i]) << show(c.name) << " component " << i;
        }
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
    EXPECT_EQ(kyOS::Filename::separator(), kyOS::Filename::separator(detail::nativeStyle()));
    EXPECT_EQ(detail::resolveStyle(PathStyle::kNative), detail::nativeStyle());
}

// The full-path query is a fake that puts its current directory in front, or fails with 5.
std::wstring gCwd;
int fakeFullPath(const std::wstring& name, std::wstring& out, int* error) {
    out = gCwd + name;
    *error = 5;
    return gCwd.empty() ? -1 : 0;
}
std::wstring fakeErrorText(int error) {
    return L"fake failure " + std::to_wstring(error);
}

// Windows: "\\?\" (or "\\?\UNC\") before the canonical absolute name, whatever its length;
// POSIX: the absolute name. A relative name the system cannot complete is code 14 with the
// system's text, and the canonical name without a prefix.
TEST(FilenameRulesTest, LongPathForm) {
    const std::wstring longName = L"C:\\" + std::wstring(1000, L'n');
    const struct {
        PathStyle style;
        const wchar_t* cwd; // "": the system fails
        std::wstring name;
        std::wstring out;
        int code;
    } cases[] = {
        {kWin, L"D:\\work\\", L"C:/a//b/", L"\\\\?\\C:\\a\\b", 0},
        {kWin, L"D:\\work\\", L"\\\\server\\share\\x", L"\\\\?\\UNC\\server\\share\\x", 0},
        {kWin, L"D:\\work\\", L"a/b", L"\\\\?\\D:\\work\\a\\b", 0},
        {kWin, L"D:\\work\\", L"C:x", L"\\\\?\\D:\\work\\C:x", 0}, // drive-relative: completed
        {kWin, L"D:\\work\\", longName, L"\\\\?\\" + longName, 0},
        {kWin, L"", L"a/b", L"a\\b", 14},
        {kWin, L"", L"C:\\a", L"\\\\?\\C:\\a", 0}, // an absolute name never asks the system
        {kPosix, L"/home/u/", L"/a//b/", L"/a/b", 0},
        {kPosix, L"/home/u/", L"x/y", L"/home/u/x/y", 0},
        {kPosix, L"", L"/a", L"/a", 0},
        {kPosix, L"", L"a", L"a", 14},
    };
    detail::fileCalls().fullPath = fakeFullPath;
    detail::fileCalls().systemErrorText = fakeErrorText;
    for (const auto& c : cases) {
        gCwd = c.cwd;
        kyString::IString out;
        const kyUtil::Error e = kyOS::toLongPathForm(c.name.c_str(), c.style, out);
        EXPECT_EQ(out.str(), c.out) << show(c.name);
        EXPECT_EQ(e.code(), c.code) << show(c.name);
        EXPECT_STREQ(e.failed() ? e.message() : "", e.failed() ? "fake failure 5" : "");
    }
    detail::fileCalls() = detail::nativeFileCalls();
}

} // namespace
