// kyOSFileOps.h - whole-file operations (delete, copy, move, rename), the temporary directory,
// temporary names and their clean-up, and their entry points for C callers.
#ifndef KY_OS_FILEOPS_H
#define KY_OS_FILEOPS_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSFileTypes.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cstddef>

// These functions work on names, not on open files, and keep no state: each may be called from
// any thread, though two threads working on the same names race as the system lets them. The
// operations' failures carry the codes of `FileOpError`, which deliberately differ from the
// file error table.
namespace kyOS {

/// Deletes a file. On failure: `kFileOpFailed` with the system's message.
KY_BASE_API kyUtil::Error fileDelete(const Filename& name);
KY_BASE_API kyUtil::Error fileDelete(const char* name);
KY_BASE_API kyUtil::Error fileDelete(const wchar_t* name);
/// Copies contents, permission bits and modification time. On failure the message is
/// "Error copying <from> to <to>: <system message>" and the code `kCopySourceMissing` (2) when
/// the source is missing, `kCopyTargetExists` (3) when the target exists and `overwrite` is
/// false, `kFileOpFailed` (1) otherwise (these codes deliberately differ from the file error
/// table).
KY_BASE_API kyUtil::Error fileCopy(const Filename& from, const Filename& to, bool overwrite);
KY_BASE_API kyUtil::Error fileCopy(const char* from, const char* to, bool overwrite);
KY_BASE_API kyUtil::Error fileCopy(const wchar_t* from, const wchar_t* to, bool overwrite);
/// Copy, then delete the source; a failed delete still counts as success.
KY_BASE_API kyUtil::Error fileMove(const Filename& from, const Filename& to, bool overwrite);
KY_BASE_API kyUtil::Error fileMove(const char* from, const char* to, bool overwrite);
KY_BASE_API kyUtil::Error fileMove(const wchar_t* from, const wchar_t* to, bool overwrite);
/// Renames within one directory; across directories moves with overwrite. A failed rename
/// gives `kRenameFailed` (6) and a message chosen by the system's error number.
KY_BASE_API kyUtil::Error fileRename(const Filename& from, const Filename& to);
KY_BASE_API kyUtil::Error fileRename(const char* from, const char* to);
KY_BASE_API kyUtil::Error fileRename(const wchar_t* from, const wchar_t* to);

/// Moves `from` over `to` (which may exist) in one step: at every moment `to` names the old
/// file or the new one, never neither, even if the process dies. Both must be in the same
/// directory. The directory entry is then synced (a failure of that is not reported: the move
/// has happened). A failure gives `kRenameFailed` (6) with the system's message and leaves
/// both files as they were.
KY_BASE_API kyUtil::Error fileReplace(const Filename& from, const Filename& to);

/// The system's temporary directory ($TMPDIR, else /tmp, on POSIX systems).
KY_BASE_API Filename getTempDirectory();
/// A name for a temporary file in the temporary directory, not in use when made: the
/// system's unique name for `prefix` ("KYTMP" when null) without its suffix, then "." and
/// `suffix` when `suffix` is not empty. The system creates the file to reserve the name and
/// it is deleted at once: only the name is kept. (Windows uses only the first three
/// characters of the prefix and appends four hex digits; POSIX systems keep the whole prefix
/// and append six random characters.) When the system cannot make one, the name
/// is "<prefix><process id>_<counter>" instead.
KY_BASE_API Filename createTmpFilename(const kyString::IString& suffix,
                                       const wchar_t* prefix = nullptr);
/// A name beside `name` that is not in use: "<dir>/<trunk><separator><n>.<suffix>" for the
/// first n from 1 whose name does not exist, where <suffix> is `suffix` when not null,
/// else the suffix of `name` ("shot.ma" gives "shot_1.ma" with the default separator).
/// `separator` ("_" when empty) stands between the trunk and the number.
KY_BASE_API Filename
createNewFilenameVariant(const Filename& name, const wchar_t* suffix = nullptr,
                         const kyString::IString& separator = kyString::IString());
/// Deletes the library's own leftover temporary files from the temporary directory (or
/// `directory`): plain files named "KYT<anything>" (the default prefix "KYTMP", which Windows
/// cuts to three characters) or "<anything>.0.tmp" / "<anything>.1.tmp" (the names
/// `ProtectedWrite` makes) that are older than one hour.
/// Returns the number of files deleted.
KY_BASE_API int cleanupTempDirectory();
KY_BASE_API int cleanupTempDirectory(const kyString::IString& directory);

} // namespace kyOS

// Entry points for C callers; narrow names are in the process's code page.
extern "C" {
/// `fileCopy(from, to, overwrite)`; true on success.
KY_BASE_API bool kyOS_CopyFileTo(const char* from, const char* to, bool overwrite);
KY_BASE_API bool kyOS_CopyFileToW(const wchar_t* from, const wchar_t* to, bool overwrite);
/// The temporary directory, copied with its terminating zero into `out` of `size` units;
/// returns false (and writes nothing) when it does not fit.
KY_BASE_API bool kyOS_GetTemporaryDirectory(char* out, std::size_t size);
KY_BASE_API bool kyOS_GetTemporaryDirectoryW(wchar_t* out, std::size_t size);
/// `createTmpFilename(suffix, prefix)` copied the same way; null suffix and prefix count as
/// empty and "KYTMP".
KY_BASE_API bool kyOS_CreateTemporaryFileName(const char* suffix, const char* prefix, char* out,
                                              std::size_t size);
KY_BASE_API bool kyOS_CreateTemporaryFileNameW(const wchar_t* suffix, const wchar_t* prefix,
                                               wchar_t* out, std::size_t size);
}

#endif // KY_OS_FILEOPS_H
