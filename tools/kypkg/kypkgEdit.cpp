// kypkgEdit.cpp - the commands that change a package: create, add, delete, compact. Every
// edit runs in the crash-safe mode and ends with one update(), so a kill at any moment leaves
// the package as it was before the command or as it is after it.
#include "kypkgCommands.h"

#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSFilename.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace kypkg {

namespace {

namespace fs = std::filesystem;

kyString::IString wide(const std::string& text) {
    return kyString::IString(text.c_str());
}

// Adds every source; entry failures are reported and counted, a failure of the package
// itself stops the additions and gives kFatal.
int addSources(ioPackageFile& package, const std::string& shownName, const std::string& packagePath,
               const std::vector<Source>& sources, bool compress, int& failed) {
    std::int64_t total = 0;
    for (const Source& source : sources) {
        total += source.size;
    }
    Progress progress("adding", total);
    std::int64_t done = 0;
    std::error_code ec;
    for (const Source& source : sources) {
        progress.step(done, source.name);
        done += source.size;
        // A package inside the tree being added must not swallow itself.
        if (fs::equivalent(fs::path(source.path), fs::path(packagePath), ec)) {
            continue;
        }
        const kyUtil::Error error =
            package.addEntry(wide(source.path), wide(source.name), compress);
        if (error.failed()) {
            report(shownName, source.name, messageOf(error));
            if (!isEntryError(error)) {
                return kFatal;
            }
            ++failed;
        }
    }
    return kOk;
}

// A package with no entry has never had a directory written (update() writes only what
// changed), and a package without a directory does not open again. Adding and deleting an
// empty entry writes the directory, holding one empty free block.
int writeEmptyDirectory(ioPackageFile& package, const std::string& shownName) {
    const kyString::IString empty = kyOS::createTmpFilename(kyString::IString(L"kypkg")).name();
    std::ofstream(fs::path(empty.asMultibyte()), std::ios::binary).close();
    const kyString::IString name(L"kypkg.empty");
    kyUtil::Error error = package.addEntry(empty, name, false);
    if (error.ok()) {
        error = package.deleteEntry(name);
    }
    std::error_code ec;
    fs::remove(fs::path(empty.asMultibyte()), ec);
    if (error.failed()) {
        report(shownName, "", messageOf(error));
        return kFatal;
    }
    return kOk;
}

// Ends an edit: the one update() of the command, on every path that may have changed it.
int finishEdit(ioPackageFile& package, const std::string& shownName, int result, int failed) {
    const kyUtil::Error error = package.update();
    package.close();
    if (error.failed()) {
        report(shownName, "", messageOf(error));
        return kFatal;
    }
    return result != kOk ? result : failed > 0 ? kEntryFailed : kOk;
}

} // namespace

int create(const Options& options) {
    int failed = 0;
    const std::vector<Source> sources =
        collectSources(options.package, options.names, options.as, failed);
    // Built under a temporary name beside the package and moved over it in one step when
    // complete (the crash-safe update has synced it), so that a package is never seen half
    // made and an existing one is replaced only by a finished one.
    const kyOS::Filename target(wide(options.package));
    const kyOS::Filename unique =
        kyOS::createTmpFilename(kyString::IString(L"0.tmp"), target.basename().asWChar());
    const kyOS::Filename temp = target.dirname().isEmpty()
                                    ? kyOS::Filename(unique.basename())
                                    : kyOS::Filename(target.dirname(), unique.basename());
    ioPackageFile package;
    kyUtil::Error error = package.open(temp.name());
    if (error.failed()) {
        report(options.package, "", messageOf(error));
        return kFatal;
    }
    package.setCrashSafe(true);
    int result = addSources(package, options.package, temp.name().asMultibyte(), sources,
                            options.compress, failed);
    if (result == kOk && package.size() == 0) {
        result = writeEmptyDirectory(package, options.package);
    }
    result = finishEdit(package, options.package, result, failed);
    if (result != kFatal && kyOS::fileReplace(temp, target).failed()) {
        report(options.package, "", "cannot move the new package into place");
        result = kFatal;
    }
    if (result == kFatal) {
        std::error_code ec;
        fs::remove(fs::path(temp.name().asMultibyte()), ec);
    }
    return result;
}

int add(const Options& options) {
    std::error_code ec;
    if (!fs::exists(fs::path(options.package), ec)) {
        return create(options);
    }
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    package.setCrashSafe(true);
    int failed = 0;
    const std::vector<Source> sources =
        collectSources(options.package, options.names, options.as, failed);
    const int result =
        addSources(package, options.package, options.package, sources, options.compress, failed);
    return finishEdit(package, options.package, result, failed);
}

int remove(const Options& options) {
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    package.setCrashSafe(true);
    int failed = 0;
    int result = kOk;
    for (const std::string& name : options.names) {
        const ioPackageFileEntry* entry = findEntry(package, name);
        if (entry == nullptr) {
            report(options.package, name, "no such entry");
            ++failed;
            continue;
        }
        const kyString::IString stored = entry->getName();
        const kyUtil::Error error = package.deleteEntry(stored);
        if (error.failed()) {
            report(options.package, name, messageOf(error));
            result = kFatal;
            break;
        }
    }
    return finishEdit(package, options.package, result, failed);
}

int compact(const Options& options) {
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    package.setCrashSafe(true);
    // write() builds the copy under a temporary name and renames it over the package.
    const kyUtil::Error error = package.write(package.getPackageFileName());
    if (error.failed()) {
        report(options.package, "", messageOf(error));
    }
    return finishEdit(package, options.package, error.failed() ? kFatal : kOk, 0);
}

} // namespace kypkg
