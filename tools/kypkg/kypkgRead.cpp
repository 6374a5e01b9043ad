// kypkgRead.cpp - the commands that read a package: list, extract (and cat), verify.
#include "kypkgCommands.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <set>
#include <system_error>

namespace kypkg {

namespace {

namespace fs = std::filesystem;

struct Row {
    std::int64_t offset = 0;
    std::int64_t size = -1; // -1: not known (the entry does not decompress)
    std::int64_t stored = 0;
    std::int64_t timeStamp = 0;
    std::string name;
    bool entry = true;
};

std::string dateOf(std::int64_t seconds) {
    const std::time_t t = static_cast<std::time_t>(seconds);
    const std::tm* utc = std::gmtime(&t);
    char text[32] = "-";
    if (utc != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", utc);
    }
    return text;
}

// Offsets only in the long form, and not on the totals line (a row without a date).
void printRow(const Row& row, bool withOffset, bool totals = false) {
    if (withOffset && totals) {
        std::printf("%12s ", "");
    } else if (withOffset) {
        std::printf("%12" PRId64 " ", row.offset);
    }
    char size[24] = "";
    if (row.size >= 0) {
        std::snprintf(size, sizeof size, "%" PRId64, row.size);
    } else if (row.entry) {
        std::snprintf(size, sizeof size, "?");
    }
    char ratio[16] = "-";
    if (row.size > 0) {
        std::snprintf(ratio, sizeof ratio, "%.1f%%",
                      100.0 * static_cast<double>(row.stored) / static_cast<double>(row.size));
    }
    std::printf("%12s %12" PRId64 " %6s  %-16s  %s\n", size, row.stored, ratio,
                row.entry ? dateOf(row.timeStamp).c_str() : "", row.name.c_str());
}

// The entries to work on: the named ones (missing names reported and counted), else all.
std::vector<const ioPackageFileEntry*> selected(const ioPackageFile& package,
                                                const Options& options, int& failed) {
    std::vector<const ioPackageFileEntry*> entries;
    for (const std::string& name : options.names) {
        const ioPackageFileEntry* entry = findEntry(package, name);
        if (entry == nullptr) {
            report(options.package, name, "no such entry");
            ++failed;
        } else {
            entries.push_back(entry);
        }
    }
    if (options.names.empty()) {
        for (const auto& named : package.getDirectory()) {
            if (const ioPackageFileEntry* entry = package.getEntry(named.second)) {
                entries.push_back(entry);
            }
        }
    }
    return entries;
}

std::int64_t storedTotal(const std::vector<const ioPackageFileEntry*>& entries) {
    std::int64_t total = 0;
    for (const ioPackageFileEntry* entry : entries) {
        total += entry->getSize();
    }
    return total;
}

} // namespace

int list(const Options& options) {
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    int failed = 0;
    const std::vector<const ioPackageFileEntry*> entries = selected(package, options, failed);
    EntryReader reader(options.package);
    Progress progress("measuring", storedTotal(entries));
    std::vector<Row> rows;
    std::int64_t done = 0;
    for (const ioPackageFileEntry* entry : entries) {
        Row row{entry->getOffset(),
                entry->getSize(),
                entry->getSize(),
                entry->getTimeStamp(),
                entry->getName().asMultibyte(),
                true};
        if (entry->getCompressed()) {
            // The directory keeps only the stored size: the other is found by decompressing.
            progress.step(done, row.name);
            std::string why;
            if (!reader.read(
                    *entry, [](const char*, std::size_t) { return true; }, row.size, why)) {
                report(options.package, row.name, why);
                row.size = -1;
                ++failed;
            }
        }
        done += entry->getSize();
        rows.push_back(row);
    }
    progress.finish();
    std::int64_t dataStart = 0;
    std::int64_t directory = 0;
    std::int64_t freeBytes = 0;
    if (options.longList && readPointer(options.package, dataStart, directory)) {
        // Free blocks are the gaps between entries, which tile the data area up to the
        // directory.
        std::sort(rows.begin(), rows.end(),
                  [](const Row& a, const Row& b) { return a.offset < b.offset; });
        std::vector<Row> all;
        std::int64_t at = dataStart;
        for (const Row& row : rows) {
            if (row.offset > at) {
                all.push_back({at, -1, row.offset - at, 0, "(free)", false});
                freeBytes += row.offset - at;
            }
            all.push_back(row);
            at = std::max(at, row.offset + row.stored);
        }
        if (directory > at && options.names.empty()) {
            all.push_back({at, -1, directory - at, 0, "(free)", false});
            freeBytes += directory - at;
        }
        all.push_back({directory, -1, 0, 0, "(directory)", false});
        rows.swap(all);
    }
    if (options.longList) {
        std::printf("%12s ", "Offset");
    }
    std::printf("%12s %12s %6s  %-16s  %s\n", "Size", "Stored", "Ratio", "Modified (UTC)", "Name");
    std::int64_t size = 0;
    std::int64_t stored = 0;
    for (const Row& row : rows) {
        printRow(row, options.longList);
        if (row.entry) {
            size += row.size >= 0 ? row.size : 0;
            stored += row.stored;
        }
    }
    Row totals{0, size, stored, 0, std::to_string(entries.size()) + " entries", false};
    if (options.longList) {
        totals.name += ", " + std::to_string(freeBytes) + " bytes free";
    }
    printRow(totals, options.longList, true);
    return failed > 0 ? kEntryFailed : kOk;
}

int extract(const Options& options) {
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    int failed = 0;
    const std::vector<const ioPackageFileEntry*> entries = selected(package, options, failed);
    const bool toOutput = options.directory == "-";
    if (toOutput) {
        binaryStandardOutput();
    }
    EntryReader reader(options.package);
    Progress progress("extracting", storedTotal(entries), !toOutput);
    std::set<std::string> folders; // made already
    std::int64_t done = 0;
    for (const ioPackageFileEntry* entry : entries) {
        const std::string name = entry->getName().asMultibyte();
        progress.step(done, name);
        done += entry->getSize();
        // Names come from the file: whatever would land outside the target is refused.
        const std::string target = toOutput ? "-" : safeTargetName(name);
        if (target.empty()) {
            report(options.package, name, "refused: the name would leave the target directory");
            ++failed;
            continue;
        }
        const fs::path path = fs::path(options.directory) / fs::path(target);
        std::error_code ec;
        if (!toOutput && folders.insert(path.parent_path().string()).second) {
            fs::create_directories(path.parent_path(), ec);
        }
        std::FILE* out = toOutput ? stdout : std::fopen(path.string().c_str(), "wb");
        if (out == nullptr) {
            report(options.package, name, "cannot create " + path.string());
            ++failed;
            continue;
        }
        std::int64_t bytes = 0;
        std::string why;
        const bool read = reader.read(
            *entry,
            [out](const char* data, std::size_t n) { return std::fwrite(data, 1, n, out) == n; },
            bytes, why);
        const bool written = (toOutput ? std::fflush(out) : std::fclose(out)) == 0;
        if (!written || why == kSinkFailed) {
            report(options.package, name,
                   "cannot be written to " +
                       (toOutput ? std::string("standard output") : path.string()));
            return kFatal; // the disk or the pipe refuses: the rest would fail alike
        }
        if (!read) {
            report(options.package, name, why);
            ++failed;
            if (!toOutput) {
                fs::remove(path, ec); // no half-written or unverified file is left
            }
        }
    }
    return failed > 0 ? kEntryFailed : kOk;
}

int verify(const Options& options) {
    ioPackageFile package;
    const int opened = openExisting(package, options.package);
    if (opened != kOk) {
        return opened;
    }
    int failed = 0;
    const std::vector<const ioPackageFileEntry*> entries = selected(package, options, failed);
    if (failed > 0) {
        return kEntryFailed;
    }
    EntryReader reader(options.package);
    Progress progress("verifying", storedTotal(entries));
    std::int64_t done = 0;
    std::int64_t total = 0;
    for (const ioPackageFileEntry* entry : entries) {
        const std::string name = entry->getName().asMultibyte();
        progress.step(done, name);
        done += entry->getSize();
        std::int64_t bytes = 0;
        std::string why;
        if (!reader.read(
                *entry, [](const char*, std::size_t) { return true; }, bytes, why)) {
            progress.finish();
            report(options.package, name, why);
            return kEntryFailed;
        }
        total += bytes;
    }
    progress.finish();
    std::printf("%s: ok, %zu entries, %" PRId64 " bytes\n", options.package.c_str(), entries.size(),
                total);
    return kOk;
}

} // namespace kypkg
