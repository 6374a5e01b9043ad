// kyOSFileTypes.h - the codes and flags of the file layer: file error codes, the codes of the
// whole-file operations, open modes, seek origins and delete flags.
#ifndef KY_OS_FILETYPES_H
#define KY_OS_FILETYPES_H

namespace kyOS {

/// The codes of the file error table: `File::getError(code)` makes an error with the text
/// `File::ErrMsgs[code - 1]` (quoted after each name). Every file operation and every
/// `IOStream` reports one of these; the serialization stack and package files report through
/// them too. Plain values, usable wherever an `int` code is.
enum FileError {
    kFileErrNotImplemented = 1,        ///< "Not Implemented" (also: an invalid File)
    kFileErrExists = 2,                ///< "File Exists"
    kFileErrEndOfFile = 3,             ///< "End Of File"
    kFileErrIO = 4,                    ///< "An I/O problem has occurred"
    kFileErrNoWritePermission = 5,     ///< "No write permission"
    kFileErrNoReadPermission = 6,      ///< "No read permission"
    kFileErrNoOverwritePermission = 7, ///< "No Overwrite permission"
    kFileErrNotOpen = 8,               ///< "File is not open"
    kFileErrIsOpen = 9,                ///< "File is open"
    kFileErrNotADirectory = 10,        ///< "Resource is not a directory"
    kFileErrNotAFile = 11,             ///< "Resource is not a file"
    kFileErrPathTooLong = 12,          ///< "The path is too long"
    kFileErrDirectoryNotEmpty = 13,    ///< "The directory is not empty"
    kFileErrSyscall = 14,          ///< "ErrSyscall"; errors made with it carry the system's text
    kFileErrInvalidURL = 15,       ///< "The URL is invalid"
    kFileErrPermissionDenied = 16, ///< "Permission Denied"
    kFileErrAuthenticationFailed = 17, ///< "Authentication Failed"
    kFileErrDoesNotExist = 18,         ///< "File does not exist"
    kFileErrParentOfRoot = 19,         ///< "Cannot become the parent of a root directory"
    kFileErrCount = 19,                ///< the number of codes in the table
};

/// The codes of the whole-file operations (`fileDelete`, `fileCopy`, `fileMove`,
/// `fileRename`), which deliberately differ from the file error table: callers test for them.
/// Their messages come from the system.
enum FileOpError {
    kFileOpFailed = 1,      ///< delete, copy or move failed for another reason
    kCopySourceMissing = 2, ///< copy or move: the source does not exist
    kCopyTargetExists = 3,  ///< copy or move without overwrite: the target exists
    kRenameFailed = 6,      ///< rename within one directory failed
};

/// How `File::open` and `File::openTemp` open a file: one of `kRead`, `kWrite`,
/// `kReadWrite`, optionally with the modifiers.
///  - `kRead`: the file must exist (`kFileErrDoesNotExist` otherwise).
///  - `kWrite`, `kReadWrite`: the file must exist unless `kCreate` is given.
///  - `kAppend`: every write goes to the end (implies writing).
///  - `kCreate`: create the file when missing (permissions 0666 less the process's umask).
///  - `kTruncate`: empty an existing file.
///  - `kExclusive`: with `kCreate`, fail with `kFileErrExists` when the file exists.
/// Files are always opened in binary mode and are not inherited by child processes.
enum OpenMode {
    kRead = 1,
    kWrite = 2,
    kReadWrite = 3,
    kAppend = 4,
    kCreate = 8,
    kTruncate = 16,
    kExclusive = 32,
};

/// Flags of `File::deleteSelf`: `kDeleteRecursive` removes a directory with its contents;
/// without it a directory must be empty (`kFileErrDirectoryNotEmpty`).
enum DeleteFlags { kDeleteRecursive = 1 };

/// Origins of `File::seek`.
enum SeekOrigin { kSeekSet = 0, kSeekCurrent = 1, kSeekEnd = 2 };

} // namespace kyOS

#endif // KY_OS_FILETYPES_H
