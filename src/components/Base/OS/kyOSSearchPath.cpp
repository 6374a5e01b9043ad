// kyOSSearchPath.cpp - kyOS::SearchPath.
#include <Base/OS/kyOSSearchPath.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFilename.h>

namespace kyOS {
namespace {

// '?' until an initialize sets the separator: kept, getDirectories joins with it.
constexpr wchar_t kUninitializedSeparator = L'?';

bool exists(const kyString::IString& name) {
    detail::NativeStat info{};
    int error = 0;
    return detail::fileCalls().stat(name.str(), &info, &error) == 0;
}

bool isDirectory(const kyString::IString& name) {
    detail::NativeStat info{};
    int error = 0;
    return detail::fileCalls().stat(name.str(), &info, &error) == 0 && info.isDirectory;
}

} // namespace

SearchPath::SearchPath()
    : listSeparator_(kUninitializedSeparator), actLikeShell_(true), initialized_(false) {}

SearchPath::SearchPath(const SearchPath& other)
    : directories_(other.directories_), listSeparator_(other.listSeparator_),
      actLikeShell_(other.actLikeShell_), initialized_(other.initialized_) {}

SearchPath& SearchPath::operator=(const SearchPath& other) {
    if (this != &other) {
        directories_ = other.directories_;
        joined_.clear();
        listSeparator_ = other.listSeparator_;
        actLikeShell_ = other.actLikeShell_;
        initialized_ = other.initialized_;
    }
    return *this;
}

SearchPath::~SearchPath() = default;

void SearchPath::initialize() {
    initialize(kyString::IString(), Filename::pathSeparator());
}

void SearchPath::initialize(const kyString::IString& list) {
    initialize(list, Filename::pathSeparator());
}

void SearchPath::initialize(const kyString::IString& list, wchar_t separator) {
    listSeparator_ = separator;
    initialized_ = true;
    joined_.clear();
    const std::wstring& text = list.str();
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(separator, start);
        if (end == std::wstring::npos) {
            end = text.size();
        }
        if (end > start) {
            const kyString::IString piece(text.c_str() + start,
                                          static_cast<unsigned int>(end - start));
            if (isDirectory(piece)) {
                directories_.push_back(piece);
            }
        }
        start = end + 1;
    }
}

void SearchPath::reset() {
    clear();
    actLikeShell_ = true;
    initialized_ = false;
}

void SearchPath::clear() {
    directories_.clear();
    joined_.clear();
}

bool SearchPath::addDirectoryToPath(const kyString::IString& dir) {
    joined_.clear();
    if (!isDirectory(dir)) {
        return false;
    }
    directories_.push_back(dir);
    return true;
}

bool SearchPath::insertDirectoryInPath(const kyString::IString& dir) {
    joined_.clear();
    if (!isDirectory(dir)) {
        return false;
    }
    directories_.insert(directories_.begin(), dir);
    return true;
}

bool SearchPath::removeDirectoryFromPath(const kyString::IString& dir) {
    for (auto it = directories_.begin(); it != directories_.end(); ++it) {
        if (*it == dir) {
            directories_.erase(it);
            joined_.clear();
            return true;
        }
    }
    return false;
}

bool SearchPath::hasDirectory(const kyString::IString& dir) const {
    for (const kyString::IString& d : directories_) {
        if (d == dir) {
            return true;
        }
    }
    return false;
}

const kyString::IString& SearchPath::getDirectories() const {
    if (joined_.isEmpty()) {
        for (std::size_t i = 0; i < directories_.size(); ++i) {
            if (i > 0) {
                joined_.append(listSeparator_);
            }
            joined_.append(directories_[i]);
        }
    }
    return joined_;
}

kyString::IString SearchPath::findFile(const kyString::IString& name) const {
    kyString::IString result;
    findFile(name, result);
    return result;
}

void SearchPath::findFile(const kyString::IString& name, kyString::IString& result) const {
    result.clear();
    const Filename f(name);
    if (f.isAbsolute() || (actLikeShell_ && !f.dirname().isEmpty())) {
        if (exists(f.name())) {
            result = name;
        }
    } else {
        searchFor(result, name);
    }
}

kyString::IString SearchPath::findDirectory(const kyString::IString& name) const {
    kyString::IString result = findFile(name);
    if (!result.isEmpty()) {
        result = Filename(result).dirname();
    }
    return result;
}

void SearchPath::searchFor(kyString::IString& result, const kyString::IString& name) const {
    for (std::size_t i = 0; i < directories_.size() && result.isEmpty(); ++i) {
        const Filename candidate(directories_[i], name);
        if (exists(candidate.name())) {
            result = candidate.name();
        }
    }
}

} // namespace kyOS
