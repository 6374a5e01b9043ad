// paths_example.cpp - the examples of the file-name and search-path headers, compiled and
// checked.
#include "example_check.h"

#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSSearchPath.h>

#include <cstdio>

int main() {
    // kyOSFilename.h: Windows rules, on any platform.
    kyOS::Filename f(L"C:/data//scenes/../shot.tar.gz", L'\\', kyOS::PathStyle::kWindows);
    CHECK(f.name() == L"C:\\data\\shot.tar.gz");
    CHECK(f.prefix() == L"C:");
    CHECK(f.dirname() == L"C:\\data");
    CHECK(f.basename() == L"shot.tar.gz");
    CHECK(f.baseTrunk() == L"shot.tar");
    CHECK(f.baseSuffix() == L"gz");
    CHECK(f.isAbsolute());

    // Native rules: the same steps with the platform's separator.
    const kyString::IString sep(kyOS::Filename::separator());
    kyOS::Filename native(kyString::IString(L"project//images/") + sep + L"render.exr");
    CHECK(native.name() == kyString::IString(L"project") + sep + L"images" + sep + L"render.exr");
    CHECK(native.baseSuffix() == L"exr");
    CHECK(!kyOS::isWindowsReservedDeviceName(native));
    CHECK(kyOS::isWindowsReservedDeviceName(kyOS::Filename(kyString::IString(L"nul.txt"))));

    // kyOSSearchPath.h: a list of existing directories; missing ones are left out.
    kyOS::Filename cwd;
    cwd.getCwd();
    kyOS::SearchPath path;
    const kyString::IString missing = kyOS::Filename::join(cwd.name(), L"no-such-dir-here");
    path.initialize(missing + kyString::IString(kyOS::Filename::pathSeparator()) + cwd.name());
    CHECK(path.initialized());
    CHECK(path.getDirectories() == cwd.name());
    CHECK(path.findFile(L"no-such-file.txt").isEmpty());

    std::printf("%s\n", f.name().asMultibyte());
    return 0;
}
