// ioPackageFile.cpp - package files: header, directory, block allocation and entry copies.
#include <Base/IO/ioPackageFile.h>

#include <Base/IO/ioPacketType.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSUuid.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr int kChunk = 4096;
constexpr int kPointerField = 24;
const char kMagic[] = "\x8F"
                      "KestrovaPortablePackageFile\n"
                      "eliFegakcaPelbatroPavortseK\n";
constexpr int kMagicLength = 57;
const char kEntryType[] = "package.entry";

const char* mb(const kyString::IString& s) {
    return s.asMultibyte();
}

kyOS::FileStatus statusOf(const kyString::IString& name) {
    kyOS::FileStatus status;
    if (kyOS::File::query(name, status).failed()) {
        status.reset();
    }
    return status;
}

void deleteQuietly(const kyString::IString& name) {
    if (!name.isEmpty() && kyOS::fileDelete(kyOS::Filename(name)).failed()) {
        // A leftover temporary file is harmless; the temp-directory cleanup removes it.
    }
}

void readPackageEntry(ioClientReadContext& client) {
    auto* packageClient = dynamic_cast<ioPackageIO::PackageReadContext*>(&client);
    if (packageClient == nullptr || packageClient->getPackage() == nullptr) {
        return;
    }
    ioReadContext& r = client.getContext();
    // Directory entries carry no references. One that claims a reference gets no definition,
    // which the reader would treat as a programming error and abort on; from a file it is
    // only bad data, and the tiling check refuses whatever the entry says.
    r.invalidPacket();
    kyString::IString name(r.readCString(), kyString::kUTF8);
    std::int64_t offset = 0;
    std::int64_t size = 0;
    std::int64_t timeStamp = 0;
    bool compressed = false;
    r.readInt64(offset);
    r.readInt64(size);
    r.readInt64(timeStamp);
    r.readBool(compressed);
    if (r.good()) {
        packageClient->getPackage()->appendEntry(name, offset, size, timeStamp, compressed);
    }
}

// The components of a cleaned name; false when one of them could step outside a target
// directory or name something other than a plain file there.
bool isSafeRelativeName(const kyString::IString& name) {
    if (name.isEmpty()) {
        return false;
    }
    unsigned int start = 0;
    const unsigned int length = name.length();
    while (start <= length) {
        unsigned int end = start;
        while (end < length && name[end] != L'/') {
            ++end;
        }
        const kyString::IString part = name.substr(start, end - start);
        if (part.isEmpty() || part == kyString::IString(L".") || part == kyString::IString(L"..") ||
            part.find(L':') != kyString::kNotFound) {
            return false;
        }
        start = end + 1;
    }
    return true;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// ioPackageFileEntry

ioPackageFileEntry::ioPackageFileEntry()
    : package_(nullptr), offset_(0), size_(0), timeStamp_(0), compressed_(false) {}

ioPackageFileEntry::ioPackageFileEntry(ioPackageFile* package, const kyString::IString& name,
                                       std::int64_t offset, std::int64_t size,
                                       std::int64_t timeStamp, bool compressed)
    : package_(package), name_(name), offset_(offset), size_(size), timeStamp_(timeStamp),
      compressed_(compressed) {}

const kyString::IString& ioPackageFileEntry::getPackageName() const {
    static const kyString::IString empty;
    return package_ != nullptr ? package_->getPackageFileName() : empty;
}

void ioBufferedStreamInput::openPackageFileEntry(const ioPackageFileEntry* entry) {
    close();
    status_ = ioStreamGood;
    if (entry == nullptr) {
        status_ = ioStreamError;
        return;
    }
    if (entry->getPackageName().isEmpty()) {
        status_ = ioStreamOpenFailed;
        return;
    }
    openFileSlice(entry->getPackageName(), entry->getOffset(), entry->getSize());
}

// ---------------------------------------------------------------------------------------------
// ioPackageIO

namespace ioPackageIO {

PackageRegistry::PackageRegistry(bool reading) : ioPacketRegistry(reading) {}

void PackageRegistry::registerAllTypes() {
    supportedType(new ioReadPacketByFunction(kEntryType, &readPackageEntry));
}

} // namespace ioPackageIO

// ---------------------------------------------------------------------------------------------
// ioPackageFile: state

ioPackageFile::ioPackageFile()
    : writable_(false), modified_(false), directoryPointerPosition_(-1), freeCount_(0),
      outputOpen_(false) {
    entries_.emplace_back(this, kyString::IString(L"."), 0, 0, 0, false);
}

ioPackageFile::~ioPackageFile() {
    closePackageForOutput();
}

void ioPackageFile::swap(ioPackageFile& other) {
    // The streams are closed, not exchanged: a stream copy would share its chain.
    closePackageForOutput();
    other.closePackageForOutput();
    packageFileName_.swap(other.packageFileName_);
    std::swap(writable_, other.writable_);
    std::swap(modified_, other.modified_);
    std::swap(directoryPointerPosition_, other.directoryPointerPosition_);
    std::swap(directory_, other.directory_);
    entries_.swap(other.entries_);
    std::swap(freeCount_, other.freeCount_);
    std::swap(diskDirectoryEnd_, other.diskDirectoryEnd_);
    for (ioPackageFileEntry& entry : entries_) {
        entry.package_ = this;
    }
    for (ioPackageFileEntry& entry : other.entries_) {
        entry.package_ = &other;
    }
}

const ioPackageFileEntry* ioPackageFile::getEntry(int index) const {
    // An index equal to the count is refused too: nothing is there.
    if (index < 0 || index >= static_cast<int>(entries_.size())) {
        return nullptr;
    }
    const ioPackageFileEntry& entry = entries_[static_cast<std::size_t>(index)];
    return entry.name_.isEmpty() ? nullptr : &entry;
}

const ioPackageFileEntry* ioPackageFile::getEntry(const kyString::IString& name) const {
    auto it = directory_.find(name);
    if (it == directory_.end()) {
        return nullptr;
    }
    return getEntry(it->second);
}

kyString::IString ioPackageFile::cleanupName(const kyString::IString& name) {
    kyString::IString s(name);
    for (unsigned int i = 0; i < s.length(); ++i) {
        if (s[i] == L'\\') {
            s[i] = L'/';
        }
    }
    for (;;) {
        const unsigned int n = s.length();
        if (n > 1 && s[1] == L':') {
            s.remove(0, 2);
        } else if (n > 2 && s[0] == L'.' && s[1] == L'/') {
            s.remove(0, 2);
        } else if (n > 3 && s[0] == L'.' && s[1] == L'.' && s[2] == L'/') {
            s.remove(0, 3);
        } else if (n > 0 && s[0] == L'/') {
            s.remove(0, 1);
        } else {
            return s;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Output stream

kyUtil::Error ioPackageFile::openPackageForOutput() {
    if (outputOpen_) {
        return kyUtil::Error();
    }
    output_.resetStatus();
    output_.truncateOnOpen(false);
    output_.openFile(packageFileName_);
    // An output that cannot open reports it at the first flush.
    output_.flush();
    if (!output_.good()) {
        output_.close();
        output_.resetStatus();
        return kyUtil::Error(15, "Could not open package for write: %s", mb(packageFileName_));
    }
    outputOpen_ = true;
    return kyUtil::Error();
}

void ioPackageFile::closePackageForOutput() {
    if (outputOpen_) {
        output_.close();
        outputOpen_ = false;
    }
}

void ioPackageFile::close() {
    closePackageForOutput();
}

// ---------------------------------------------------------------------------------------------
// Header and directory

bool ioPackageFile::writeDirectoryPointer(std::int64_t position, bool durable) {
    char field[kPointerField + 8];
    std::snprintf(field, sizeof field, "%-23lld\n", static_cast<long long>(position));
    if (openPackageForOutput().failed()) {
        return false;
    }
    // A refused seek would put the field wherever the stream stands: it counts as a failure.
    const bool placed = output_.seek(directoryPointerPosition_);
    if (placed && output_.good()) {
        output_.writeData(field, kPointerField);
    }
    const bool good = durable ? output_.sync() : (output_.flush(), output_.good());
    if (!good || !placed) {
        // The next write reopens the stream rather than inheriting its failure.
        closePackageForOutput();
    }
    return good && placed;
}

kyUtil::Error ioPackageFile::writePackageHeader() {
    kyUtil::Error error = openPackageForOutput();
    if (error.failed()) {
        return error;
    }
    if (!output_.seek(0)) {
        closePackageForOutput();
        return kyUtil::Error(15, "Could not open package for write: %s", mb(packageFileName_));
    }
    output_.writeData(kMagic, kMagicLength);
    output_.writeData("1\n@\n", 4);
    directoryPointerPosition_ = output_.tell();
    // A position other than the header's end means the bytes did not land where they should.
    if (directoryPointerPosition_ != kMagicLength + 4 || !writeDirectoryPointer(-1, false)) {
        return kyUtil::Error(15, "Could not open package for write: %s", mb(packageFileName_));
    }
    entries_.back().offset_ = directoryPointerPosition_ + kPointerField;
    return kyUtil::Error();
}

kyUtil::Error ioPackageFile::readPackageHeader() {
    closePackageForOutput();
    ioBufferedStreamInput in;
    in.openFile(packageFileName_);
    if (!in.good()) {
        return kyUtil::Error(7, "Could not read the package file: %s", mb(packageFileName_));
    }
    bool valid = false;
    std::int64_t headerLength = 0;
    char bytes[kMagicLength];
    if (in.readData(bytes, kMagicLength) == kMagicLength &&
        (bytes[0] == '\x8F' || bytes[0] == '.') &&
        std::memcmp(bytes + 1, kMagic + 1, kMagicLength - 1) == 0) {
        char version[2];
        if (in.readData(version, 2) == 2 && version[0] == '1' && version[1] == '\n' && in.good()) {
            headerLength = kMagicLength + 2;
            // Lines before "@" are skipped, so later header lines do not break readers.
            while (in.good()) {
                const char c = in.readChar();
                if (!in.good()) {
                    break;
                }
                ++headerLength;
                if (c == '@') {
                    in.readChar();
                    ++headerLength;
                    break;
                }
            }
            char field[kPointerField + 1];
            if (in.good() && in.readData(field, kPointerField) == kPointerField) {
                field[kPointerField] = '\0';
                int i = 0;
                bool negative = false;
                if (field[i] == '-') {
                    negative = true;
                    ++i;
                }
                std::int64_t pointer = 0;
                int digits = 0;
                for (; field[i] >= '0' && field[i] <= '9' && digits < 18; ++i, ++digits) {
                    pointer = pointer * 10 + (field[i] - '0');
                }
                if (negative) {
                    pointer = -pointer;
                }
                const std::int64_t fileSize = statusOf(packageFileName_).getSize();
                if (digits > 0 && pointer > headerLength && pointer <= fileSize) {
                    entries_.back().offset_ = pointer;
                    valid = true;
                }
            }
        }
    }
    in.close();
    if (!valid) {
        return kyUtil::Error(17, "The file is not a package file: %s", mb(packageFileName_));
    }
    directoryPointerPosition_ = headerLength;
    return kyUtil::Error();
}

void ioPackageFile::appendEntry(const kyString::IString& name, std::int64_t offset,
                                std::int64_t size, std::int64_t timeStamp, bool compressed) {
    entries_.emplace_back(this, name, offset, size, timeStamp, compressed);
    if (name.isEmpty()) {
        ++freeCount_;
    } else if (name != kyString::IString(L".")) {
        directory_[name] = static_cast<int>(entries_.size() - 1);
    }
    modified_ = true;
}

bool ioPackageFile::tilingValid() const {
    if (entries_.empty() || entries_.back().name_ != kyString::IString(L".")) {
        return false;
    }
    if (entries_.front().offset_ != directoryPointerPosition_ + kPointerField) {
        return false;
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const ioPackageFileEntry& e = entries_[i];
        if (e.offset_ < 0 || e.size_ < 0 || e.size_ > INT64_MAX - e.offset_) {
            return false;
        }
        if (i + 1 < entries_.size() && entries_[i + 1].offset_ != e.offset_ + e.size_) {
            return false;
        }
    }
    return true;
}

kyUtil::Error ioPackageFile::readDirectory() {
    closePackageForOutput();
    const std::int64_t where = entries_.back().offset_;
    ioBufferedStreamInput in;
    in.openFile(packageFileName_);
    if (in.good()) {
        in.seek(where);
    }
    if (!in.good()) {
        return kyUtil::Error(17, "Can not open directory: %s", mb(packageFileName_));
    }
    ioPackageIO::PackageRegistry registry(true);
    std::unique_ptr<ioReadContext> context(ioReadContextAlloc(in, &registry));
    entries_.clear();
    directory_.clear();
    freeCount_ = 0;
    bool good = false;
    // The directory is always written in the binary encoding. The debug encodings abort the
    // process on a tag mismatch, which a hostile file must not be able to ask for.
    if (context && context->getReadMethod() != ioReadBinarySameEndian &&
        context->getReadMethod() != ioReadBinarySwapped) {
        context.reset();
    }
    if (context) {
        ioPackageIO::PackageReadContext client(*context, this);
        context->readFile(client);
        // A directory from the file is hostile: the blocks must tile the data area and end
        // with the directory record, where the pointer said the directory is.
        good = context->good() && tilingValid() && entries_.back().offset_ == where;
    }
    diskDirectoryEnd_ = statusOf(packageFileName_).getSize();
    context.reset();
    in.close();
    if (!good) {
        const kyString::IString name = packageFileName_;
        ioPackageFile fresh;
        swap(fresh);
        return kyUtil::Error(17, "Error reading directory: %s", mb(name));
    }
    modified_ = false;
    return kyUtil::Error();
}

kyUtil::Error ioPackageFile::writeDirectory() {
    kyUtil::Error error = openPackageForOutput();
    if (error.failed()) {
        return error;
    }
    if (crashSafe_) {
        // The new directory must not land on the one the pointer still names.
        reserveDiskDirectory();
    }
    // The directory describes the state after the pointer moves: blocks held back until
    // then are free in it.
    bool changed = false;
    std::vector<ioPackageFileEntry> state = committedEntries(changed);
    const std::int64_t where = state.back().offset_;
    if (!output_.seek(where)) {
        closePackageForOutput();
        return kyUtil::Error(10, "Error writing directory: %s", mb(packageFileName_));
    }
    ioPackageIO::PackageRegistry registry(false);
    std::unique_ptr<ioWriteContext> context(ioWriteContextAlloc(output_, ioWriteBinary, &registry));
    if (!context) {
        return kyUtil::Error(1, "Internal error.");
    }
    context->startFile();
    for (const ioPackageFileEntry& entry : state) {
        context->startPacket(kEntryType, nullptr);
        context->writeCString(entry.name_.asUTF8());
        context->writeInt64(entry.offset_);
        context->writeInt64(entry.size_);
        context->writeInt64(entry.timeStamp_);
        context->writeBool(entry.compressed_);
        context->endPacket();
    }
    context->endFile();
    // Crash-safe: entries and directory are durable before the pointer names them.
    const bool written = crashSafe_ ? output_.sync() : (output_.flush(), output_.good());
    const bool good = context->good() && written;
    context.reset();
    const std::int64_t end = good ? output_.tell() : -1;
    // Crash-safe: without the directory's end the next addition could land on it, so the
    // pointer is not moved.
    if (!good || (crashSafe_ && end < where)) {
        closePackageForOutput();
        return kyUtil::Error(10, "Error writing directory: %s", mb(packageFileName_));
    }
    if (crashSafe_) {
        if (!writeDirectoryPointer(where, true)) {
            return kyUtil::Error(10, "Error writing directory: %s", mb(packageFileName_));
        }
    } else if (!writeDirectoryPointer(where, false)) {
        // Not reported, by design: the directory itself was written.
    }
    if (changed) {
        adoptEntries(std::move(state));
    }
    diskDirectoryEnd_ = end >= where ? end : statusOf(packageFileName_).getSize();
    modified_ = false;
    return kyUtil::Error();
}

void ioPackageFile::reserveDiskDirectory() {
    const std::int64_t at = entries_.back().offset_;
    if (at >= diskDirectoryEnd_) {
        return;
    }
    const std::size_t last = entries_.size() - 1;
    if (last > 0 && entries_[last - 1].name_.isEmpty() && entries_[last - 1].reserved_) {
        entries_[last - 1].size_ += diskDirectoryEnd_ - at;
    } else {
        ioPackageFileEntry held(this, kyString::IString(), at, diskDirectoryEnd_ - at, 0, false);
        held.reserved_ = true;
        entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(last), held);
        ++freeCount_;
    }
    entries_.back().offset_ = diskDirectoryEnd_;
    modified_ = true;
}

std::vector<ioPackageFileEntry> ioPackageFile::committedEntries(bool& changed) const {
    std::vector<ioPackageFileEntry> state;
    state.reserve(entries_.size());
    changed = false;
    bool lastHeld = false;
    for (const ioPackageFileEntry& entry : entries_) {
        const bool held = entry.reserved_;
        changed = changed || held;
        // Only runs that a held block is part of are joined: free neighbours read from a
        // file stay as they were.
        if (entry.name_.isEmpty() && !state.empty() && state.back().name_.isEmpty() &&
            (held || lastHeld)) {
            state.back().size_ += entry.size_;
            lastHeld = true;
            continue;
        }
        state.push_back(entry);
        state.back().reserved_ = false;
        lastHeld = held;
    }
    return state;
}

void ioPackageFile::adoptEntries(std::vector<ioPackageFileEntry>&& entries) {
    entries_ = std::move(entries);
    directory_.clear();
    freeCount_ = 0;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const kyString::IString& name = entries_[i].name_;
        if (name.isEmpty()) {
            ++freeCount_;
        } else if (i + 1 < entries_.size()) {
            directory_[name] = static_cast<int>(i);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Opening, updating, compaction

kyUtil::Error ioPackageFile::open(const kyString::IString& fileName) {
    if (!packageFileName_.isEmpty()) {
        ioPackageFile fresh;
        swap(fresh);
    }
    kyOS::FileStatus status = statusOf(fileName);
    packageFileName_ = fileName;
    kyUtil::Error error;
    if (status.exists()) {
        error = readPackageHeader();
        if (error.ok() && entries_.back().offset_ > 0) {
            error = readDirectory();
        }
    } else {
        ioBufferedStreamOutput create;
        create.openFile(fileName);
        create.close();
        if (!create.good()) {
            error = kyUtil::Error(2, "Can not create file: %s", mb(fileName));
        } else {
            error = writePackageHeader();
        }
    }
    if (error.ok()) {
        writable_ = statusOf(fileName).isWritable();
    } else {
        closePackageForOutput();
        packageFileName_.clear();
    }
    return error;
}

kyUtil::Error ioPackageFile::update() {
    if (packageFileName_.isEmpty()) {
        return kyUtil::Error(3, "The package file has not been opened yet.");
    }
    if (!writable_) {
        return kyUtil::Error(4, "The package file is not writable.");
    }
    return modified_ ? writeDirectory() : kyUtil::Error();
}

kyUtil::Error ioPackageFile::write(const kyString::IString& fileName) {
    if (packageFileName_.isEmpty()) {
        return kyUtil::Error(3, "The package file has not been opened yet.");
    }
    const kyOS::FileStatus existing = statusOf(fileName);
    if (existing.exists() && (!existing.isWritable() || existing.isDirectory())) {
        return kyUtil::Error(4, "The pacakge is not writable.");
    }
    // The copy is built beside the target and moved over it in one step once it is complete
    // and synced, so the package being replaced (possibly this one) survives any failure and
    // a crash at any moment leaves the old file or the new one under the name.
    const kyOS::Filename target(fileName);
    const kyOS::Filename unique =
        kyOS::createTmpFilename(kyString::IString(L"0.tmp"), target.basename().asWChar());
    const kyOS::Filename temp = target.dirname().isEmpty()
                                    ? kyOS::Filename(unique.basename())
                                    : kyOS::Filename(target.dirname(), unique.basename());
    const kyString::IString tempName = temp.name();
    ioPackageFile fresh;
    // The copy's layout is the same in either mode; the crash-safe one also checks and syncs
    // the pointer, whose failure must not pass for a finished copy.
    fresh.setCrashSafe(true);
    kyUtil::Error error = fresh.open(tempName);
    if (error.ok() && !fresh.writable_) {
        error = kyUtil::Error(4, "The package file is not writable.");
    }
    if (error.ok()) {
        closePackageForOutput();
        for (auto it = directory_.begin(); it != directory_.end() && error.ok(); ++it) {
            error = fresh.copyEntryIntoPackage(getEntry(it->second), it->first);
        }
    }
    if (error.ok()) {
        error = fresh.update();
    }
    fresh.closePackageForOutput();
    if (error.ok()) {
        closePackageForOutput();
        if (kyOS::fileReplace(temp, target).failed()) {
            error = kyUtil::Error(4, "The pacakge is not writable.");
        }
    }
    if (error.failed()) {
        fresh.packageFileName_.clear();
        deleteQuietly(tempName);
        return error;
    }
    // The moved copy keeps the writability it was built with.
    fresh.packageFileName_ = fileName;
    swap(fresh);
    return kyUtil::Error();
}

bool ioPackageFile::isFilePackageFile(const kyString::IString& fileName) {
    if (fileName.isEmpty()) {
        return false;
    }
    const kyOS::FileStatus status = statusOf(fileName);
    if (!status.exists() || !status.isReadable() || status.isDirectory()) {
        return false;
    }
    ioPackageFile probe;
    probe.packageFileName_ = fileName;
    return probe.readPackageHeader().ok();
}

// ---------------------------------------------------------------------------------------------
// Blocks

int ioPackageFile::createEntry(std::int64_t size) {
    modified_ = true;
    if (freeCount_ > 0) {
        for (std::size_t i = 0; i + 1 < entries_.size(); ++i) {
            ioPackageFileEntry& block = entries_[i];
            if (!block.name_.isEmpty() || block.reserved_ || block.size_ < size) {
                continue;
            }
            if (block.size_ > size) {
                ioPackageFileEntry taken(this, kyString::IString(), block.offset_, size, 0, false);
                block.offset_ += size;
                block.size_ -= size;
                entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(i), taken);
                for (auto& named : directory_) {
                    if (named.second >= static_cast<int>(i)) {
                        ++named.second;
                    }
                }
                ++freeCount_;
            }
            --freeCount_;
            return static_cast<int>(i);
        }
    }
    if (crashSafe_) {
        reserveDiskDirectory();
    }
    const std::size_t at = entries_.size() - 1;
    const std::int64_t offset = entries_[at].offset_;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(at),
                    ioPackageFileEntry(this, kyString::IString(), offset, size, 0, false));
    entries_.back().offset_ = offset + size;
    return static_cast<int>(at);
}

void ioPackageFile::joinEntries(int index) {
    const auto i = static_cast<std::size_t>(index);
    entries_[i].size_ += entries_[i + 1].size_;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i + 1));
    --freeCount_;
    for (auto& named : directory_) {
        if (named.second > index) {
            --named.second;
        }
    }
}

void ioPackageFile::freeEntry(int index) {
    const auto i = static_cast<std::size_t>(index);
    // Crash-safe: the directory on disk may still name these bytes until the next update.
    const bool held = crashSafe_;
    entries_[i].name_.clear();
    entries_[i].reserved_ = held;
    ++freeCount_;
    if (i + 1 < entries_.size() && entries_[i + 1].name_.isEmpty() &&
        entries_[i + 1].reserved_ == held) {
        joinEntries(index);
    }
    if (i > 0 && entries_[i - 1].name_.isEmpty() && entries_[i - 1].reserved_ == held) {
        joinEntries(index - 1);
    }
    modified_ = true;
}

// ---------------------------------------------------------------------------------------------
// Adding, deleting, extracting

kyUtil::Error ioPackageFile::verifyAddEntry(const kyString::IString& name) const {
    if (packageFileName_.isEmpty()) {
        return kyUtil::Error(3, "The package file has not been opened yet.");
    }
    if (!writable_) {
        return kyUtil::Error(4, "This package file can not be modified as it is not writable.");
    }
    if (kyOS::isWindowsReservedDeviceName(kyOS::Filename(name, L'/'))) {
        return kyUtil::Error(
            11, "File is using a windows reserved device name.  Please choose another name: %s",
            mb(name));
    }
    const unsigned int slash = name.rfind(L'/');
    const kyString::IString base = slash == kyString::kNotFound ? name : name.substr(slash + 1);
    if (base == kyString::IString(L".")) {
        return kyUtil::Error(12, "File is using a name which is not allowed: %s", mb(name));
    }
    return kyUtil::Error();
}

kyUtil::Error ioPackageFile::copyStreamIntoPackage(ioBufferedStreamInput& input, std::int64_t size,
                                                   std::int64_t timeStamp, bool compressed,
                                                   const kyString::IString& name) {
    kyUtil::Error error = openPackageForOutput();
    if (error.failed()) {
        return error;
    }
    auto old = directory_.find(name);
    if (old != directory_.end()) {
        // Replacement: the old bytes become free first, so the new contents may reuse them.
        freeEntry(old->second);
    }
    const int index = createEntry(size);
    // A refused seek would put the bytes wherever the stream stands.
    const bool placed = output_.seek(entries_[static_cast<std::size_t>(index)].offset_);
    char chunk[kChunk];
    std::int64_t written = 0;
    while (placed) {
        const int got = input.readData(chunk, kChunk);
        if (got <= 0 || !output_.good() || written >= size) {
            break;
        }
        // Never past the block: an input that grew must not overwrite the next entry.
        const std::int64_t room = size - written;
        const int put = room < got ? static_cast<int>(room) : got;
        output_.writeData(chunk, put);
        written += got;
    }
    output_.flush();
    const ioStreamStatus in = input.getStatus();
    if (!placed) {
        error = kyUtil::Error(10, "Error writing entry: %s", mb(name));
    } else if (in != ioStreamGood && in != ioStreamEndOfFile) {
        error = kyUtil::Error(9, "Error reading file for entry: %s", mb(name));
    } else if (in != ioStreamEndOfFile || written != size) {
        error = kyUtil::Error(16, "While writing file for entry it changed size: %s", mb(name));
    } else if (!output_.good()) {
        error = kyUtil::Error(10, "Error writing entry: %s", mb(name));
    }
    if (error.failed()) {
        // The old entry does not come back, and its name goes with it.
        directory_.erase(name);
        freeEntry(index);
        closePackageForOutput();
        return error;
    }
    ioPackageFileEntry& entry = entries_[static_cast<std::size_t>(index)];
    entry.name_ = name;
    entry.timeStamp_ = timeStamp;
    entry.compressed_ = compressed;
    directory_[name] = index;
    return kyUtil::Error();
}

namespace {

// A temporary name no other process is handed. createTmpFilename releases the name it
// reserved, and on Windows draws it from 65,536 per prefix, so two processes compressing at
// the same moment could both write one file; a UUID after it makes the name this call's own.
kyString::IString privateTemporaryName() {
    kyString::IString name = kyOS::createTmpFilename(kyString::IString(L"pkz")).name();
    kyOS::Uuid unique;
    if (unique.generate()) {
        name += L'-';
        name += kyString::IString(unique.asString().asChar());
    }
    return name;
}

// Compresses `source` (of `size` bytes) into `target` through the compression and checksum
// filters; `compressedSize` receives the target's size.
kyUtil::Error compressFile(const kyString::IString& source, const kyString::IString& target,
                           std::int64_t size, std::int64_t& compressedSize) {
    compressedSize = 0;
    if (size == 0) {
        return kyUtil::Error();
    }
    ioBufferedStreamInput in;
    in.openFile(source);
    ioBufferedStreamOutput out;
    out.openFile(target);
    out.compress(true);
    out.checksum(true);
    char chunk[kChunk];
    std::int64_t read = 0;
    for (;;) {
        const int got = in.readData(chunk, kChunk);
        if (got <= 0) {
            break;
        }
        read += got;
        out.writeData(chunk, got);
        if (!out.good()) {
            break;
        }
    }
    out.checksum(false);
    out.compress(false);
    const ioStreamStatus inStatus = in.getStatus();
    in.close();
    out.close();
    if (inStatus == ioStreamEndOfFile && read != size) {
        return kyUtil::Error(8, "While compressing file it changed size: %s", mb(source));
    }
    if (inStatus != ioStreamEndOfFile) {
        return kyUtil::Error(9, "Error reading file: %s", mb(source));
    }
    if (!out.good()) {
        return kyUtil::Error(10, "Error compressing file: %s", mb(target));
    }
    // Without the target's size the entry's extent is unknown: that is a failure too.
    kyOS::FileStatus written;
    if (kyOS::File::query(target, written).failed() || !written.exists()) {
        return kyUtil::Error(10, "Error compressing file: %s", mb(target));
    }
    compressedSize = written.getSize();
    return kyUtil::Error();
}

} // namespace

kyUtil::Error ioPackageFile::addEntry(const kyString::IString& fileName,
                                      const kyString::IString& name, bool compress) {
    const kyString::IString clean = cleanupName(name);
    kyUtil::Error error = verifyAddEntry(clean);
    if (error.failed()) {
        return error;
    }
    const kyOS::FileStatus status = statusOf(fileName);
    if (!status.exists()) {
        return kyUtil::Error(6, "File does not exist: %s\n", mb(fileName));
    }
    if (!status.isReadable() || status.isDirectory()) {
        return kyUtil::Error(7, "Could not read file: %s\n", mb(fileName));
    }
    std::int64_t size = status.getSize();
    const std::int64_t timeStamp = status.getLastModifiedDate();
    kyString::IString source = fileName;
    kyString::IString temp;
    bool compressed = false;
    if (compress) {
        temp = privateTemporaryName();
        std::int64_t compressedSize = 0;
        error = compressFile(fileName, temp, size, compressedSize);
        if (error.failed()) {
            deleteQuietly(temp);
            return error;
        }
        if (compressedSize < size) {
            source = temp;
            size = compressedSize;
            compressed = true;
        }
    }
    ioBufferedStreamInput in;
    in.openFile(source);
    if (!in.good()) {
        error = kyUtil::Error(7, "Could not read file: %s\n", mb(fileName));
    } else {
        error = copyStreamIntoPackage(in, size, timeStamp, compressed, clean);
    }
    in.close();
    deleteQuietly(temp);
    return error;
}

kyUtil::Error ioPackageFile::copyEntryIntoPackage(const ioPackageFileEntry* entry,
                                                  const kyString::IString& name) {
    if (name.isEmpty()) {
        return kyUtil::Error(11, "The name can not be empty.");
    }
    if (directory_.find(name) != directory_.end()) {
        return kyUtil::Error(14, "The entry is already present in the package: %s", mb(name));
    }
    ioBufferedStreamInput in;
    in.openPackageFileEntry(entry);
    if (!in.good() && in.getStatus() != ioStreamEndOfFile) {
        return kyUtil::Error(7, "Could not read package file entry: %s\n",
                             entry != nullptr ? mb(entry->getName()) : "");
    }
    kyUtil::Error error = copyStreamIntoPackage(in, entry->getSize(), entry->getTimeStamp(),
                                                entry->getCompressed(), name);
    in.close();
    return error;
}

kyUtil::Error ioPackageFile::addEntry(const ioPackageFileEntry* entry,
                                      const kyString::IString& name) {
    const kyString::IString clean = cleanupName(name);
    kyUtil::Error error = verifyAddEntry(clean);
    if (error.failed()) {
        return error;
    }
    if (entry == nullptr) {
        return kyUtil::Error(7, "The given package file entry is NULL.");
    }
    if (entry->getPackage() == this) {
        return kyUtil::Error(15, "The source entry can not be in the package.");
    }
    return copyEntryIntoPackage(entry, clean);
}

kyUtil::Error ioPackageFile::deleteEntry(const kyString::IString& name) {
    if (packageFileName_.isEmpty()) {
        return kyUtil::Error(3, "The package file has not been opened yet.");
    }
    if (!writable_) {
        return kyUtil::Error(4, "This package file can not be modified as it is not writable.");
    }
    auto it = directory_.find(name);
    if (it == directory_.end()) {
        return kyUtil::Error(13, "Can not delete named entry as it does not exist: %s", mb(name));
    }
    freeEntry(it->second);
    directory_.erase(name);
    return kyUtil::Error();
}

kyUtil::Error ioPackageFile::extractEntry(const ioPackageFileEntry* entry,
                                          const kyString::IString& fileName) {
    if (entry == nullptr) {
        return kyUtil::Error();
    }
    const kyOS::Filename target(fileName);
    if (!target.dirname().isEmpty()) {
        kyOS::File directory(target.dirname());
        kyUtil::Error made = directory.makeDirectoryAll();
        if (made.failed()) {
            return kyUtil::Error(5,
                                 made.hasMessage() ? *made.messageString() : kyString::IString());
        }
    }
    if (entry->getPackage() != nullptr) {
        entry->getPackage()->closePackageForOutput();
    }
    ioBufferedStreamInput in;
    in.openPackageFileEntry(entry);
    if (!in.good() && in.getStatus() != ioStreamEndOfFile) {
        return kyUtil::Error(7, "Could not read package file entry: %s\n", mb(entry->getName()));
    }
    if (entry->getCompressed()) {
        in.compress(true);
        in.checksum(true);
    }
    ioBufferedStreamOutput out;
    out.openFile(fileName);
    out.flush();
    if (!out.good()) {
        in.close();
        out.close();
        return kyUtil::Error(2, "Can not create file: %s", mb(fileName));
    }
    char chunk[kChunk];
    for (;;) {
        const int got = in.readData(chunk, kChunk);
        if (got <= 0) {
            break;
        }
        out.writeData(chunk, got);
        if (!out.good()) {
            break;
        }
    }
    out.flush();
    const ioStreamStatus inStatus = in.getStatus();
    kyUtil::Error error;
    if (!out.good()) {
        error = kyUtil::Error(10, "Error writing file: %s", mb(fileName));
    } else if (inStatus != ioStreamEndOfFile && inStatus != ioStreamEndOfCompressed) {
        error = kyUtil::Error(9, "Error reading package file entry: %s", mb(entry->getName()));
    }
    in.close();
    out.close();
    if (error.ok() && !out.good()) {
        error = kyUtil::Error(10, "Error writing file: %s", mb(fileName));
    }
    return error;
}

kyUtil::Error ioPackageFile::expand(const kyString::IString& directoryName) {
    kyOS::File directory(directoryName);
    kyUtil::Error made = directory.makeDirectoryAll();
    if (made.failed()) {
        return kyUtil::Error(5, made.hasMessage() ? *made.messageString() : kyString::IString());
    }
    for (const auto& named : directory_) {
        // Names come from the file: only plain relative names may land under the target.
        const kyString::IString clean = cleanupName(named.first);
        if (!isSafeRelativeName(clean)) {
            return kyUtil::Error(12, "File is using a name which is not allowed: %s",
                                 mb(named.first));
        }
        kyUtil::Error error =
            extractEntry(getEntry(named.second), kyOS::Filename::join(directoryName, clean));
        if (error.failed()) {
            return error;
        }
    }
    return kyUtil::Error();
}
