// kyOSProtectedWrite.cpp - kyOS::ProtectedWrite.
#include <Base/OS/kyOSProtectedWrite.h>

#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/kyOSFile.h>

#include <cstdlib>

namespace kyOS {

namespace {

// Read once per process, on the first init that needs it, and remembered.
bool copyStrategyFromEnvironment() {
    static const bool set = std::getenv("VELTO_PROTECTED_WRITE_USE_COPY") != nullptr;
    return set;
}

// Only whether something is there: one status call, not a whole status query.
bool exists(const Filename& name) {
    return detail::nameExists(name.name().str());
}

void deleteIfExists(const Filename& name) {
    if (!name.name().isEmpty()) {
        // Cleanup after the outcome is decided; a leftover is harmless and is reported by
        // the next init (status 4) if it gets in the way.
        static_cast<void>(detail::removeLeftover(name.name().str()));
    }
}

// Puts the content of `from` under `to` so that `to` never holds part of a file: within one
// directory a rename does it; from another directory (the copy strategy) the content is
// copied beside `to` under from's name, made durable and renamed over `to`. A copy straight
// to `to` would leave a truncated file there if the process died during it.
kyUtil::Error putInPlace(const Filename& from, const Filename& to) {
    if (from.dirname() == to.dirname()) {
        return fileRename(from, to);
    }
    const Filename staged(Filename(to.dirname()), Filename(from.basename()));
    kyUtil::Error e = fileCopy(from, staged, true);
    int error = 0;
    if (e.ok() && detail::syncFile(staged.name().str(), &error) != 0) {
        e = detail::runtimeError(error);
    }
    if (e.ok()) {
        e = fileRename(staged, to);
    }
    if (e.failed()) {
        deleteIfExists(staged);
    }
    return e;
}

} // namespace

ProtectedWrite::ProtectedWrite(const Filename& main)
    : main_(main), status_(kOk), initialised_(false), valid_(true), useCopy_(false) {}

ProtectedWrite::ProtectedWrite(const ProtectedWrite& other) = default;
ProtectedWrite& ProtectedWrite::operator=(const ProtectedWrite& other) = default;

ProtectedWrite::~ProtectedWrite() {
    deleteIfExists(temp_);
}

void ProtectedWrite::useCopyStrategy() {
    useCopy_ = true;
}

void ProtectedWrite::invalidate() {
    valid_ = false;
}

bool ProtectedWrite::init() {
    if (initialised_) {
        return status_ == kOk;
    }
    initialised_ = true;
    const bool copy = useCopy_ || copyStrategyFromEnvironment();

    FileStatus mainStatus;
    if (File::query(main_, mainStatus).ok() && mainStatus.exists() && !mainStatus.isWritable()) {
        status_ = kNotWritable;
        return false;
    }

    if (copy) {
        const Filename tempDir = getTempDirectory();
        FileStatus dirStatus;
        static_cast<void>(File::query(tempDir, dirStatus));
        if (!dirStatus.exists()) {
            // Deliberately inverted, and kept: a directory that had to be made refuses the
            // write, one that could not be made lets it go ahead.
            if (tempDir.makeDir()) {
                status_ = kTempDirCreated;
            }
        } else if (!dirStatus.isDirectory()) {
            status_ = kTempDirNotDir;
        }
    }

    if (status_ == kOk) {
        const wchar_t* prefix = main_.basename().asWChar();
        temp_ = createTmpFilename(kyString::IString(L"0.tmp"), prefix);
        backup_ = createTmpFilename(kyString::IString(L"1.tmp"), prefix);
        if (!copy) {
            temp_ = Filename(Filename(main_.dirname()), Filename(temp_.basename()));
            backup_ = Filename(Filename(main_.dirname()), Filename(backup_.basename()));
        }
        if (exists(temp_) && fileDelete(temp_).failed()) {
            status_ = kStaleNotDeleted;
        } else if (exists(backup_) && fileDelete(backup_).failed()) {
            status_ = kStaleNotDeleted;
        }
    }
    return status_ == kOk;
}

bool ProtectedWrite::finalize() {
    if (!initialised_) {
        return true;
    }
    if (status_ == kOk && !valid_) {
        status_ = kInvalidated;
    }
    if (status_ == kOk && !exists(temp_)) {
        status_ = kNothingWritten;
    }
    int error = 0;
    // The new content must be on the disk before it replaces the old one.
    if (status_ == kOk && detail::syncFile(temp_.name().str(), &error) != 0) {
        status_ = kNotWritable;
    }
    // True while the old content is at the backup name and nowhere else.
    bool parked = false;
    if (status_ == kOk && exists(main_)) {
        if (fileRename(main_, backup_).failed()) {
            status_ = kMainNotMoved;
        } else {
            parked = true;
        }
    }
    if (status_ == kOk) {
        if (putInPlace(temp_, main_).failed()) {
            // Restore the old content; a main that was never moved aside is the old content.
            if (parked) {
                static_cast<void>(fileDelete(main_));
                parked = putInPlace(backup_, main_).failed();
            }
            status_ = kNotWritable;
        } else {
            parked = false;
            // The rename itself must reach the disk before the backup may go.
            const Filename dir(main_.dirname().isEmpty() ? Filename(kyString::IString(L"."))
                                                         : Filename(main_.dirname()));
            const std::wstring native = dir.name().str();
            if (detail::retryInterrupted(
                    [&] { return detail::fileCalls().syncDirectory(native, &error); }, &error) !=
                0) {
                status_ = kNotWritable;
            }
        }
    }
    deleteIfExists(temp_);
    // While the main name is empty the backup is the only copy of the old content: it stays
    // for the caller (or the user) to recover, rather than being deleted with the rest. What
    // finalize did decides that, not a query that may itself fail.
    if (!parked) {
        deleteIfExists(backup_);
    }
    return status_ == kOk;
}

} // namespace kyOS
