// kypkgSupport.cpp - messages, progress, entry reading and names for the kypkg commands.
#include "kypkgSupport.h"

#include <Base/IO/ioBufferedStream.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace kypkg {

namespace fs = std::filesystem;

void report(const std::string& package, const std::string& entry, const std::string& what) {
    std::fflush(stdout);
    if (entry.empty()) {
        std::fprintf(stderr, "kypkg: %s: %s\n", package.c_str(), what.c_str());
    } else {
        std::fprintf(stderr, "kypkg: %s: %s: %s\n", package.c_str(), entry.c_str(), what.c_str());
    }
}

std::string messageOf(const kyUtil::Error& error) {
    std::string text = error.hasMessage() ? error.messageString()->asMultibyte() : "";
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    return text.empty() ? "error " + std::to_string(error.code()) : text;
}

bool isEntryError(const kyUtil::Error& error) {
    switch (error.code()) {
    case 5:  // a directory for the target could not be made
    case 6:  // the source file is missing
    case 7:  // the source file cannot be read
    case 8:  // it changed size while compressed
    case 9:  // it failed while read
    case 11: // a reserved device name
    case 12: // a name that is not allowed
    case 13: // no such entry
    case 14: // already present
    case 16: // it changed size while copied
        return true;
    default: // the package or the disk: nothing after this can be trusted to work
        return false;
    }
}

Progress::Progress(const char* verb, std::int64_t total, bool allowed)
    : verb_(verb), total_(total), enabled_(allowed && isTerminal(2)),
      start_(std::chrono::steady_clock::now()), last_(start_) {}

Progress::~Progress() {
    finish();
}

void Progress::step(std::int64_t done, const std::string& name) {
    if (!enabled_) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - start_ < std::chrono::seconds(1) || now - last_ < std::chrono::milliseconds(100)) {
        return;
    }
    last_ = now;
    const int percent = total_ > 0 ? static_cast<int>(done * 100 / total_) : 100;
    char line[96];
    std::snprintf(line, sizeof line, "kypkg: %s %3d%% %s", verb_, percent, name.c_str());
    std::fprintf(stderr, "\r%-79.79s", line);
    std::fflush(stderr);
    drawn_ = true;
}

void Progress::finish() {
    if (drawn_) {
        std::fprintf(stderr, "\r%79s\r", "");
        std::fflush(stderr);
        drawn_ = false;
    }
}

int openExisting(ioPackageFile& package, const std::string& name) {
    std::error_code ec;
    if (!fs::is_regular_file(fs::path(name), ec)) {
        report(name, "", fs::exists(fs::path(name), ec) ? "not a plain file" : "no such package");
        return kFatal;
    }
    const kyUtil::Error error = package.open(kyString::IString(name.c_str()));
    if (error.failed()) {
        report(name, "", messageOf(error));
        return error.code() == 17 ? kEntryFailed : kFatal;
    }
    return kOk;
}

const char* const kSinkFailed = "cannot be written out";

EntryReader::EntryReader(const std::string& package)
    : file_(fs::path(package), std::ios::binary), buffer_(std::size_t{1} << 20) {}

bool EntryReader::read(const ioPackageFileEntry& entry,
                       const std::function<bool(const char*, std::size_t)>& sink,
                       std::int64_t& bytes, std::string& why) {
    bytes = 0;
    if (!entry.getCompressed()) {
        file_.clear();
        file_.seekg(entry.getOffset());
        while (bytes < entry.getSize() && file_) {
            const auto want = static_cast<std::streamsize>(
                std::min<std::int64_t>(entry.getSize() - bytes, buffer_.size()));
            file_.read(buffer_.data(), want);
            const auto got = file_.gcount();
            bytes += got;
            if (got > 0 && !sink(buffer_.data(), static_cast<std::size_t>(got))) {
                why = kSinkFailed;
                return false;
            }
        }
        why = bytes == entry.getSize() ? "" : "the package ends inside it";
        return why.empty();
    }
    ioBufferedStreamInput in;
    in.openPackageFileEntry(&entry);
    in.compress(true);
    in.checksum(true);
    for (;;) {
        const int got = in.readData(buffer_.data(), static_cast<int>(buffer_.size()));
        if (got <= 0) {
            break;
        }
        bytes += got;
        if (!sink(buffer_.data(), static_cast<std::size_t>(got))) {
            why = kSinkFailed;
            return false;
        }
    }
    const ioStreamStatus status = in.getStatus();
    if (status == ioStreamChecksumMismatch) {
        why = "its checksum does not match its bytes";
    } else if (status != ioStreamEndOfFile && status != ioStreamEndOfCompressed) {
        why = "its bytes cannot be read (status " + std::to_string(status) + ")";
    } else {
        return true;
    }
    return false;
}

const ioPackageFileEntry* findEntry(const ioPackageFile& package, const std::string& name) {
    const kyString::IString given(name.c_str());
    const ioPackageFileEntry* entry = package.getEntry(given);
    if (entry == nullptr) {
        entry = package.getEntry(ioPackageFile::cleanupName(given));
    }
    return entry;
}

std::string safeTargetName(const std::string& name) {
    const std::string clean =
        ioPackageFile::cleanupName(kyString::IString(name.c_str())).asMultibyte();
    std::size_t start = 0;
    while (start <= clean.size()) {
        std::size_t end = clean.find('/', start);
        end = end == std::string::npos ? clean.size() : end;
        const std::string part = clean.substr(start, end - start);
        if (part.empty() || part == "." || part == ".." || part.find(':') != std::string::npos) {
            return "";
        }
        start = end + 1;
    }
    return clean;
}

namespace {

std::string entryName(const std::string& path) {
    return ioPackageFile::cleanupName(kyString::IString(path.c_str())).asMultibyte();
}

std::string withoutTrailingSeparators(std::string path) {
    while (path.size() > 1 && (path.back() == '/' || path.back() == '\\')) {
        path.pop_back();
    }
    return path;
}

} // namespace

std::vector<Source> collectSources(const std::string& package, const std::vector<std::string>& args,
                                   const std::string& as, int& missing) {
    std::vector<Source> sources;
    for (const std::string& given : args) {
        const std::string arg = withoutTrailingSeparators(given);
        const std::string prefix = as.empty() ? arg : as;
        std::error_code ec;
        const fs::path root = fs::path(arg);
        if (fs::is_directory(root, ec)) {
            std::vector<Source> found;
            fs::recursive_directory_iterator it(root, ec);
            for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
                if (!it->is_regular_file(ec)) {
                    continue;
                }
                const std::string relative = it->path().lexically_relative(root).generic_string();
                found.push_back({it->path().string(), entryName(prefix + "/" + relative),
                                 static_cast<std::int64_t>(it->file_size(ec))});
            }
            if (ec) {
                report(package, arg, "cannot list the directory: " + ec.message());
                ++missing;
            }
            std::sort(found.begin(), found.end(),
                      [](const Source& a, const Source& b) { return a.name < b.name; });
            sources.insert(sources.end(), found.begin(), found.end());
        } else if (fs::is_regular_file(root, ec)) {
            sources.push_back(
                {arg, entryName(prefix), static_cast<std::int64_t>(fs::file_size(root, ec))});
        } else {
            report(package, arg, "no such file or directory");
            ++missing;
        }
    }
    return sources;
}

bool readPointer(const std::string& package, std::int64_t& dataStart, std::int64_t& directory) {
    std::ifstream in(fs::path(package), std::ios::binary);
    char head[4096] = {};
    in.read(head, sizeof head);
    const std::size_t got = static_cast<std::size_t>(in.gcount());
    // The header is the magic lines and the version line, then any lines up to "@\n".
    std::size_t at = 59;
    while (at < got && head[at] != '@') {
        ++at;
    }
    if (got < 59 || at + 2 + 24 > got) {
        return false;
    }
    dataStart = static_cast<std::int64_t>(at + 2 + 24);
    directory = std::strtoll(head + at + 2, nullptr, 10);
    return true;
}

} // namespace kypkg
