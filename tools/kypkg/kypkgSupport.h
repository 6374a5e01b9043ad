// kypkgSupport.h - what the commands of kypkg share: exit codes, options, messages, the
// progress line, reading an entry's bytes, and the names of files and entries.
#ifndef KY_TOOLS_KYPKG_SUPPORT_H
#define KY_TOOLS_KYPKG_SUPPORT_H

#include <Base/IO/ioPackageFile.h>
#include <Base/Utility/kyUtilError.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace kypkg {

constexpr int kOk = 0;
constexpr int kEntryFailed = 1; ///< some entries failed, or the input is not a package
constexpr int kFatal = 2;       ///< the package cannot be read, written or created
constexpr int kUsage = 64;

/// The command line after parsing: the command, the package and the other words.
struct Options {
    std::string command;
    std::string package;
    std::vector<std::string> names;
    bool compress = false;
    bool longList = false;
    bool asGiven = false;
    std::string as;
    std::string directory = ".";
};

/// "kypkg: PKG: ENTRY: what" on standard error (the entry part left out when empty).
void report(const std::string& package, const std::string& entry, const std::string& what);
/// The message of a library error, without a trailing newline.
std::string messageOf(const kyUtil::Error& error);
/// Whether a library error of an edit is about one entry (go on with the others) rather
/// than about the package file itself (stop).
bool isEntryError(const kyUtil::Error& error);

/// Implemented per platform: whether descriptor `stream` is a terminal; standard output
/// switched to bytes-as-they-are.
bool isTerminal(int stream);
void binaryStandardOutput();

/// A progress line on standard error, drawn only when it is a terminal and only once the
/// work has run for more than a second; erased by `finish` (and the destructor).
class Progress {
public:
    Progress(const char* verb, std::int64_t total, bool allowed = true);
    ~Progress();
    void step(std::int64_t done, const std::string& name);
    void finish();

private:
    const char* verb_;
    std::int64_t total_;
    bool enabled_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_;
};

/// Opens an existing package. A missing or unreadable file gives kFatal, a file that is not
/// a package (or has a damaged directory) kEntryFailed, both reported; kOk otherwise.
int openExisting(ioPackageFile& package, const std::string& name);

/// Reads entries' bytes as they were added: plain entries straight from the package file,
/// which is opened once for all of them (an open per entry is what extracting many small
/// entries would otherwise spend its time on); compressed entries through the library's entry
/// stream with the decompression and checksum filters. One reader per package; not copyable.
class EntryReader {
public:
    explicit EntryReader(const std::string& package);
    EntryReader(const EntryReader&) = delete;
    EntryReader& operator=(const EntryReader&) = delete;
    /// Hands the entry's bytes to `sink` in chunks; false (with `why`) when they cannot be read
    /// whole, fail their checksum, or the sink refuses them (then `why` is kSinkFailed).
    /// `bytes` receives the count delivered.
    bool read(const ioPackageFileEntry& entry,
              const std::function<bool(const char*, std::size_t)>& sink, std::int64_t& bytes,
              std::string& why);

private:
    std::ifstream file_;
    std::vector<char> buffer_;
};
extern const char* const kSinkFailed;

/// The named entry: the name as given, else its cleaned form; null when neither is there.
const ioPackageFileEntry* findEntry(const ioPackageFile& package, const std::string& name);

/// The cleaned name when it may be written under a target directory: no ".." or "." or
/// empty component, no drive or stream colon. Empty when refused.
std::string safeTargetName(const std::string& name);

/// A file to add and the entry name it gets.
struct Source {
    std::string path;
    std::string name;
    std::int64_t size = 0;
};
/// Expands the arguments into files: a directory gives every file below it, in name order,
/// named by the argument's path followed by the relative path ("/" separators); `as`, when
/// not empty, replaces the argument's own part of the name. Arguments that do not exist are
/// reported and counted in `missing`.
std::vector<Source> collectSources(const std::string& package, const std::vector<std::string>& args,
                                   const std::string& as, int& missing);

/// The package's header length and on-disk directory position, read from the file itself.
bool readPointer(const std::string& package, std::int64_t& dataStart, std::int64_t& directory);

} // namespace kypkg

#endif // KY_TOOLS_KYPKG_SUPPORT_H
