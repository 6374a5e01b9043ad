// showcase_paths.cpp - the showcase's tour of file names and search paths.
#include "showcase.h"

#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSSearchPath.h>

#include <cstdio>

namespace {

void showSplit(const kyOS::Filename& f) {
    std::printf("  %-28s prefix '%s' dirname '%s' basename '%s' trunk '%s' suffix '%s'%s\n",
                f.name().asMultibyte(), f.prefix().asMultibyte(), f.dirname().asMultibyte(),
                f.basename().asMultibyte(), f.baseTrunk().asMultibyte(),
                f.baseSuffix().asMultibyte(), f.isAbsolute() ? " (absolute)" : "");
}

} // namespace

void showcasePaths() {
    showcaseSection("OS: file names and search paths");
    std::printf("Windows rules, on every platform:\n");
    for (const wchar_t* text : {L"C:/data//scenes/../shot.tar.gz", L"\\\\server\\share\\a\\b.c",
                                L"x\\..\\..\\a", L"C:", L".profile"}) {
        showSplit(kyOS::Filename(text, L'\\', kyOS::PathStyle::kWindows));
    }
    std::printf("POSIX rules:\n");
    for (const wchar_t* text : {L"/usr//lib/../share/app.cfg", L"relative/dir/"}) {
        showSplit(kyOS::Filename(text, L'/', kyOS::PathStyle::kPosix));
    }
    std::printf("join(\"C:\", \"x\") = %s, join(\"a/\", \"b\") = %s (Windows rules)\n",
                kyOS::Filename::join(L"C:", L"x", kyOS::PathStyle::kWindows).asMultibyte(),
                kyOS::Filename::join(L"a/", L"b", kyOS::PathStyle::kWindows).asMultibyte());
    for (const wchar_t* text : {L"nul.txt", L"con.tar.gz", L"COM1", L"COM0"}) {
        std::printf("%s is %sa reserved device name\n", kyString::IString(text).asMultibyte(),
                    kyOS::isWindowsReservedDeviceName(kyOS::Filename(kyString::IString(text)))
                        ? ""
                        : "not ");
    }
    kyString::IString longForm;
    if (kyOS::toLongPathForm(L"\\\\server\\share\\f", kyOS::PathStyle::kWindows, longForm).ok()) {
        std::printf("long-path form: %s\n", longForm.asMultibyte());
    }

    kyOS::Filename cwd;
    cwd.getCwd();
    kyOS::SearchPath path;
    path.initialize(cwd.name() + kyString::IString(kyOS::Filename::pathSeparator()) +
                    kyOS::Filename::join(cwd.name(), L"missing-directory"));
    std::printf("search path from two entries, one missing: %s\n",
                path.getDirectories().asMultibyte());
}
