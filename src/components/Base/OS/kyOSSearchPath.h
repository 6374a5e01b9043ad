// kyOSSearchPath.h - kyOS::SearchPath, an ordered list of directories to look names up in.
#ifndef KY_OS_SEARCHPATH_H
#define KY_OS_SEARCHPATH_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringIString.h>

namespace kyOS {

/// An ordered list of existing directories in which relative file names are looked up, as a
/// shell looks up commands. Directories are kept as given (no canonicalisation); only ones
/// that exist when they are added get in. There is no fall-back to the current directory.
///
/// With act-like-shell set (the default), a name that has a directory part ("sub\x") is
/// tested as it is and never searched for, like a shell command with a slash; absolute names
/// are always tested as they are.
///
/// A default-constructed path holds '?' as its list separator until an `initialize` sets
/// one: deliberately, `getDirectories` joins with it until then. Copies share nothing (the
/// joined-list cache is not copied). Not synchronised, and the const `getDirectories`
/// writes its cache: one thread at a time per object. Nothing fails: lookups that find
/// nothing give an empty string; a query error counts as "does not exist".
///
/// @code
///   kyOS::SearchPath path;
///   path.initialize(L"/usr/local/share/app:/usr/share/app", L':'); // keeps existing ones
///   kyString::IString found = path.findFile(L"plugins/render.so");
/// @endcode
class KY_BASE_API SearchPath {
public:
    SearchPath();
    /// Copies the directories, the separator and the two flags; the cache starts empty.
    SearchPath(const SearchPath& other);
    SearchPath& operator=(const SearchPath& other);
    ~SearchPath();

    /// `initialize(L"", Filename::pathSeparator())`.
    void initialize();
    /// `initialize(list, Filename::pathSeparator())` (';' on Windows, ':' on POSIX).
    void initialize(const kyString::IString& list);
    /// Stores `separator`, marks the path initialised and appends, in list order, each
    /// non-empty piece of `list` that names an existing directory. Entries already present
    /// stay.
    void initialize(const kyString::IString& list, wchar_t separator);
    /// Whether an `initialize` ran since construction or `reset`.
    bool initialized() const { return initialized_; }
    void actLikeShell(bool on) { actLikeShell_ = on; }
    bool actLikeShell() const { return actLikeShell_; }

    /// Empties the list; act-like-shell on, not initialised.
    void reset();
    /// Empties the list only.
    void clear();

    /// Appends `dir` if it is an existing directory; returns whether it did.
    bool addDirectoryToPath(const kyString::IString& dir);
    /// The same, inserting at the front.
    bool insertDirectoryInPath(const kyString::IString& dir);
    /// Removes the first entry equal to `dir` (exact text: case and separators as stored).
    bool removeDirectoryFromPath(const kyString::IString& dir);
    /// Exact text comparison with every entry.
    bool hasDirectory(const kyString::IString& dir) const;
    /// The entries joined by the list separator, built once and cached.
    const kyString::IString& getDirectories() const;
    /// The entries in search order.
    const ky::vector<kyString::IString>& directories() const { return directories_; }

    /// `name` itself when it is absolute (or has a directory part while acting like a shell)
    /// and exists; otherwise the first existing `Filename(directory, name)` in list order;
    /// empty when nothing is found.
    kyString::IString findFile(const kyString::IString& name) const;
    void findFile(const kyString::IString& name, kyString::IString& result) const;
    /// The dirname of `findFile(name)`, or empty.
    kyString::IString findDirectory(const kyString::IString& name) const;

private:
    void searchFor(kyString::IString& result, const kyString::IString& name) const;

    ky::vector<kyString::IString> directories_;
    mutable kyString::IString joined_;
    wchar_t listSeparator_;
    bool actLikeShell_;
    bool initialized_;
};

} // namespace kyOS

#endif // KY_OS_SEARCHPATH_H
