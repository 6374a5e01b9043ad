// kyOSProtectedWrite.h - kyOS::ProtectedWrite, replacing a file without ever losing it.
#ifndef KY_OS_PROTECTEDWRITE_H
#define KY_OS_PROTECTEDWRITE_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSFilename.h>

namespace kyOS {

/// Writes a new version of a file beside the old one and swaps it in only when the write is
/// complete. The caller calls `init`, writes the whole new content to `getTempFilename()`
/// and calls `finalize`, which parks the old file at a backup name, moves the new one into
/// place, makes it durable and removes the backup. A crash at any point leaves the complete
/// old or the complete new content under the main name, or the old content at the backup
/// name.
///
/// Two strategies: by default temp and backup lie beside the main file and the swap is two
/// renames; the copy strategy (`useCopyStrategy()`, or the environment variable
/// VELTO_PROTECTED_WRITE_USE_COPY set to anything) keeps them in the temporary directory and
/// the swap copies. Failures are kept in a status (0 all well, 1..7 see `Status`): once
/// non-zero it stays and `init` and `finalize` answer false. A plain value, copies copy every
/// field; not thread-safe. The destructor deletes the temp file if it is still there.
///
/// @code
///   kyOS::ProtectedWrite pw(kyOS::Filename(L"scene.ma"));
///   if (pw.init()) {
///       kyOS::File out(pw.getTempFilename());
///       // ... open, write the whole new content, close; on failure pw.invalidate() ...
///   }
///   bool written = pw.finalize();
/// @endcode
class KY_BASE_API ProtectedWrite {
public:
    enum Status {
        kOk = 0,
        kNotWritable = 1,     ///< main not writable, or the new content could not be put in place
        kTempDirCreated = 2,  ///< the temporary directory was missing and has just been made
        kTempDirNotDir = 3,   ///< the temporary directory's name is not a directory
        kStaleNotDeleted = 4, ///< a stale temp or backup file could not be deleted
        kNothingWritten = 5,  ///< finalize found no temp file
        kMainNotMoved = 6,    ///< main could not be moved aside
        kInvalidated = 7,     ///< the caller gave up (`invalidate`)
    };
    typedef Status status;

    explicit ProtectedWrite(const Filename& main);
    ProtectedWrite(const ProtectedWrite& other);
    ProtectedWrite& operator=(const ProtectedWrite& other);
    ~ProtectedWrite();

    /// Chooses the copy strategy; call before `init`.
    void useCopyStrategy();
    /// Chooses names for temp and backup and clears stale files there; false when the
    /// status is not 0.
    bool init();
    /// The caller gives up: `finalize` leaves main alone.
    void invalidate();
    /// Swaps the new content in (when `init` ran); false when the status is not 0.
    bool finalize();

    const Filename& getMainFilename() const { return main_; }
    const Filename& getTempFilename() const { return temp_; }
    const Filename& getBackupFilename() const { return backup_; }
    Status getStatus() const { return status_; }

private:
    Filename main_;
    Filename temp_;
    Filename backup_;
    Status status_;
    bool initialised_;
    bool valid_;
    bool useCopy_;
};

} // namespace kyOS

#endif // KY_OS_PROTECTEDWRITE_H
