// kyOSGetOpt.cpp - kyOS::GetOpt: the option table, the name trie and the word parser.
#include <Base/OS/kyOSGetOpt.h>

#include <Base/Containers/kyList.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/Utility/kyImplBase.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <utility>

namespace kyOS {

using kyString::CString;
using kyString::IString;

// One declared option. Shared by the option table and every trie node that ends one of its
// names.
class GetOpt::impl::option : public ky::ReferenceCount {
public:
    std::int32_t index = -1;
    CString name;
    IString spec;
    // Every line added by addOptionUsage, each ended by '\n'.
    IString usage;
    ky::vector<std::int32_t> types;
    bool deprecated = false;

protected:
    ~option() override = default;
};

class GetOpt::impl::result {
public:
    void clear() {
        option = nullptr;
        name.clear();
        args.clear();
    }

    const impl::option* option = nullptr;
    CString name;
    ky::vector<IString> args;
};

namespace detail {

// A node of the name trie: one character deeper than its parent.
struct GetOptNode : public ky::ReferenceCount {
    ky::map<char, ky::Reference<GetOptNode>> children;
    ky::Reference<GetOpt::impl::option> option;
    int childCount = 0;

protected:
    ~GetOptNode() override = default;
};

} // namespace detail

class GetOpt::impl::parse : public ky::ImplBase {
public:
    using Node = detail::GetOptNode;

    parse() : root(new Node) {}
    ~parse() override {
        // Nodes are released level by level: a recursive teardown of a very long name would
        // exhaust the stack.
        ky::vector<ky::Reference<Node>> pending;
        pending.push_back(std::move(root));
        while (!pending.empty()) {
            ky::Reference<Node> node = std::move(pending.back());
            pending.pop_back();
            for (auto& child : node->children) {
                pending.push_back(child.second);
            }
            node->children.clear();
        }
    }

    // The node that `name` ends at, or null.
    const Node* walk(const char* name, std::size_t length) const {
        const Node* node = root.get();
        for (std::size_t i = 0; i < length; ++i) {
            auto it = node->children.find(name[i]);
            if (it == node->children.end()) {
                return nullptr;
            }
            node = it->second.get();
        }
        return node;
    }

    // Below a node without an option: the option at the end of a single-child chain. Options
    // on the way down are passed over on purpose ("col" selects "colorize", not "color").
    static const impl::option* descend(const Node* node) {
        while (node->childCount > 0) {
            if (node->childCount > 1) {
                return nullptr;
            }
            node = node->children.begin()->second.get();
        }
        return node->option.get();
    }

    const impl::option* lookup(const char* name, std::size_t length) const {
        if (length == 0) {
            return nullptr;
        }
        const Node* node = walk(name, length);
        if (!node) {
            return nullptr;
        }
        if (node->option) {
            return node->option.get();
        }
        return descend(node);
    }

    // The option selected by a typed word; words the code page cannot hold select nothing.
    const impl::option* lookup(const std::wstring& name) const {
        if (name.empty() || name.find(L'\0') != std::wstring::npos) {
            return nullptr;
        }
        bool lossless = false;
        const IString wide(name.c_str(), static_cast<unsigned int>(name.size()));
        const char* narrow = wide.asMultibyte(kyString::kMultibyte, &lossless);
        if (!lossless || !narrow) {
            return nullptr;
        }
        return lookup(narrow, std::strlen(narrow));
    }

    bool isOption(const std::string& name) const {
        const Node* node = walk(name.data(), name.size());
        return node && node->option;
    }

    void insert(const std::string& name, const ky::Reference<impl::option>& record) {
        Node* node = root.get();
        for (char c : name) {
            auto it = node->children.find(c);
            if (it == node->children.end()) {
                it = node->children.insert(std::make_pair(c, ky::Reference<Node>(new Node))).first;
                ++node->childCount;
            }
            node = it->second.get();
        }
        node->option = record;
    }

    void fail(const IString& text) {
        error = true;
        errorText = text;
        current.clear();
        hasResult = false;
    }

    void clearResult() {
        current.clear();
        hasResult = false;
    }

    void setWords() {
        queue.clear();
        clearResult();
        endOfOptions = false;
    }

    ky::vector<ky::Reference<impl::option>> options;
    ky::Reference<Node> root;
    ky::list<IString> queue;
    impl::result current;
    bool hasResult = false;
    bool error = false;
    IString errorText;
    bool endOfOptions = false;
    bool needLeadingDash = true;
};

namespace {

using Option = GetOpt::impl::option;

struct TypeName {
    const char* keyword;
    const char* usage;
};

// Indexed by type code.
constexpr TypeName kTypeNames[] = {
    {"bool", "bool"},           {"int", "integer"},       {"float", "float"},
    {"string", "string"},       {"inputfile", "file"},    {"inputfile-", "file"},
    {"outputfile", "file"},     {"outputfile-", "file"},  {"inoutfile", "file"},
    {"directory", "directory"}, {"sequence", "sequence"}, {"?", "?"},
};
constexpr int kNumTypes = static_cast<int>(sizeof(kTypeNames) / sizeof(kTypeNames[0]));

// The error code of every check.
constexpr int kCheckFailed = 1;

IString formatted(const wchar_t* format, ...) {
    IString text;
    va_list args;
    va_start(args, format);
    // A failed format leaves the text empty; these formats never give an empty result.
    (void)text.vformat(format, args);
    va_end(args);
    return text;
}

IString wide(const CString& text) {
    return IString(text, kyString::kMultibyte);
}

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

bool isInteger(const std::wstring& w) {
    if (!w.empty() && isDigit(w[0])) {
        return true;
    }
    return w.size() > 1 && w[0] == L'-' && isDigit(w[1]);
}

bool isFloat(const std::wstring& w) {
    std::size_t i = 0;
    if (i < w.size() && w[i] == L'-') {
        ++i;
    }
    if (w.size() - i > 1 && w[i] == L'.') {
        ++i;
    }
    return i < w.size() && isDigit(w[i]);
}

// "1"/"0" for the boolean words, null for anything else.
const wchar_t* booleanValue(const std::wstring& w) {
    for (const wchar_t* yes : {L"1", L"true", L"yes", L"on"}) {
        if (w == yes) {
            return L"1";
        }
    }
    for (const wchar_t* no : {L"0", L"false", L"no", L"off"}) {
        if (w == no) {
            return L"0";
        }
    }
    return nullptr;
}

ky::vector<std::int32_t> parseTypes(const char* spec) {
    ky::vector<std::int32_t> types;
    if (!spec) {
        return types;
    }
    const std::string text(spec);
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(' ', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        if (end > start) {
            const std::string word = text.substr(start, end - start);
            // Words that are not type keywords are skipped.
            for (int t = 0; t < kNumTypes; ++t) {
                if (word == kTypeNames[t].keyword) {
                    types.push_back(t);
                    break;
                }
            }
        }
        start = end + 1;
    }
    return types;
}

FileStatus statusOf(const IString& name) {
    FileStatus status;
    if (File::query(name, status).failed()) {
        // A name the system cannot tell anything about counts as missing.
        status.reset();
    }
    return status;
}

kyUtil::Error checkFailed(const wchar_t* format, const IString& name) {
    return kyUtil::Error(kCheckFailed, formatted(format, name.asWChar()));
}

} // namespace

GetOpt::GetOpt() : parse_(new impl::parse) {}

GetOpt::~GetOpt() {
    delete parse_;
}

void GetOpt::initialize(int argc, const char** argv) {
    initialize(argc, static_cast<const char* const*>(argv));
}

void GetOpt::initialize(int argc, const wchar_t** argv) {
    initialize(argc, static_cast<const wchar_t* const*>(argv));
}

void GetOpt::initialize(int argc, const char* const* argv) {
    parse_->setWords();
    for (int i = 0; argv && i < argc; ++i) {
        if (argv[i]) {
            parse_->queue.push_back(IString(argv[i]));
        }
    }
}

void GetOpt::initialize(int argc, const wchar_t* const* argv) {
    parse_->setWords();
    for (int i = 0; argv && i < argc; ++i) {
        if (argv[i]) {
            parse_->queue.push_back(IString(argv[i]));
        }
    }
}

void GetOpt::initialize(const ky::vector<IString>& words) {
    parse_->setWords();
    for (const IString& word : words) {
        parse_->queue.push_back(word);
    }
}

int GetOpt::addOption(const char* name, const char* spec) {
    if (!name || !*name) {
        return -1;
    }
    const std::string full(name);
    std::string primary = full;
    std::string second;
    const std::size_t bar = full.find('|');
    if (bar != std::string::npos) {
        second = full.substr(0, bar);
        primary = full.substr(bar + 1);
        if (second.empty() || primary.empty() || primary.find('|') != std::string::npos ||
            second == primary) {
            return -1;
        }
    }
    impl::parse& p = *parse_;
    if (p.isOption(primary) || (!second.empty() && p.isOption(second))) {
        return -1;
    }
    ky::Reference<impl::option> record(new impl::option);
    record->index = static_cast<std::int32_t>(p.options.size());
    record->name = primary.c_str();
    record->spec = IString(spec ? spec : "");
    record->types = parseTypes(spec);
    p.insert(primary, record);
    if (!second.empty()) {
        p.insert(second, record);
    }
    p.options.push_back(record);
    return record->index;
}

bool GetOpt::addOptionUsage(int index, const wchar_t* text) {
    if (index < 0 || index >= getNumOptions() || !text) {
        return false;
    }
    IString& usage = parse_->options[static_cast<std::size_t>(index)]->usage;
    usage.append(text);
    usage.append(L'\n');
    return true;
}

const GetOpt::impl::option* GetOpt::findOption(const char* name) const {
    return name ? parse_->lookup(name, std::strlen(name)) : nullptr;
}

const GetOpt::impl::option* GetOpt::getOption(int index) const {
    if (index < 0 || index >= getNumOptions()) {
        return nullptr;
    }
    return parse_->options[static_cast<std::size_t>(index)].get();
}

int GetOpt::getOptionIndex(const impl::option* option) const {
    return option ? option->index : -1;
}

int GetOpt::getNumOptions() const {
    return static_cast<int>(parse_->options.size());
}

CString GetOpt::getOptionName(const impl::option* option) const {
    return option ? option->name : CString();
}

CString GetOpt::getOptionShortestName(const impl::option* option) const {
    if (!option) {
        return CString();
    }
    // The nodes along the primary name; the last one ends it.
    const std::string& name = option->name.str();
    ky::vector<const impl::parse::Node*> path;
    const impl::parse::Node* node = parse_->root.get();
    for (char c : name) {
        node = node->children.find(c)->second.get();
        path.push_back(node);
    }
    // From the end upwards: what a prefix ending at each node selects. A node without an
    // option selects what its single child's descent selects.
    const impl::option* below = impl::parse::descend(path.back());
    std::size_t shortest = path.size();
    for (std::size_t k = path.size(); k-- > 0;) {
        const impl::parse::Node* n = path[k];
        if (k + 1 < path.size()) {
            below = n->childCount == 1 ? below : nullptr;
        }
        const impl::option* chosen = n->option ? n->option.get() : below;
        if (chosen == option) {
            shortest = k + 1;
        }
    }
    return CString(name.c_str(), static_cast<unsigned int>(shortest));
}

CString GetOpt::getOptionTitle(const impl::option* option) const {
    if (!option) {
        return CString();
    }
    CString title(parse_->needLeadingDash ? "-" : "");
    title.append(option->name);
    return title;
}

IString GetOpt::getOptionTypeList(const impl::option* option) const {
    return option ? option->spec : IString();
}

IString GetOpt::getOptionUsage(const impl::option* option, bool withShortest) const {
    IString text;
    if (!option) {
        return text;
    }
    const wchar_t* dash = parse_->needLeadingDash ? L"-" : L"";
    IString args;
    for (std::int32_t type : option->types) {
        args.append(L' ');
        args.append(IString(kTypeNames[type].usage));
    }
    const auto line = [&](const CString& name) {
        text.append(L"  ");
        text.append(dash);
        text.append(wide(name));
        text.append(args);
        text.append(L'\n');
    };
    if (withShortest) {
        const CString shortest = getOptionShortestName(option);
        if (shortest != option->name) {
            line(shortest);
        }
    }
    line(option->name);
    const std::wstring& usage = option->usage.str();
    std::size_t start = 0;
    while (start < usage.size()) {
        std::size_t end = usage.find(L'\n', start);
        if (end == std::wstring::npos) {
            end = usage.size();
        }
        text.append(L"    ");
        text.append(usage.c_str() + start, static_cast<unsigned int>(end - start));
        text.append(L'\n');
        start = end + 1;
    }
    return text;
}

void GetOpt::getSortedOptions(ky::vector<int>& indices) const {
    indices.clear();
    for (int i = 0; i < getNumOptions(); ++i) {
        indices.push_back(i);
    }
    const auto& options = parse_->options;
    std::sort(indices.begin(), indices.end(), [&options](int a, int b) {
        return options[static_cast<std::size_t>(a)]->name.compare(
                   options[static_cast<std::size_t>(b)]->name) < 0;
    });
}

IString GetOpt::getUsage(bool withShortest) const {
    ky::vector<int> sorted;
    getSortedOptions(sorted);
    IString text;
    for (int index : sorted) {
        const impl::option* option = getOption(index);
        if (!option->deprecated) {
            text.append(getOptionUsage(option, withShortest));
        }
    }
    return text;
}

bool GetOpt::markOptionDeprecated(int index) {
    if (index < 0 || index >= getNumOptions()) {
        return false;
    }
    parse_->options[static_cast<std::size_t>(index)]->deprecated = true;
    return true;
}

bool GetOpt::isOptionDeprecated(int index) const {
    return isOptionDeprecated(getOption(index));
}

bool GetOpt::isOptionDeprecated(const impl::option* option) const {
    return option && option->deprecated;
}

void GetOpt::needLeadingDash(bool on) {
    parse_->needLeadingDash = on;
}

bool GetOpt::getNeedLeadingDash() const {
    return parse_->needLeadingDash;
}

namespace {

// The checks of one argument word, with access to the parser's virtual file checks.
class ArgumentReader {
public:
    ArgumentReader(GetOpt& getOpt, GetOpt::impl::parse& parse, const Option& option)
        : getOpt_(getOpt), parse_(parse), name_(wide(option.name)) {}

    // Consumes the front word (or, for a sequence, several) for `type`; false after an error.
    bool read(std::int32_t type, ky::vector<IString>& args) {
        if (type == GetOpt::kSequence) {
            return readSequence(args);
        }
        const IString word = parse_.queue.front();
        // The word is consumed also when its check fails.
        parse_.queue.pop_front();
        const std::wstring& w = word.str();
        switch (type) {
        case GetOpt::kBool: {
            const wchar_t* value = booleanValue(w);
            if (!value) {
                return fail(formatted(L"While processing option: -%S\n  Expected a boolean type, "
                                      L"got: %S\n    valid boolean types are: 1, 0, true,  false, "
                                      L"yes, no, on, off.",
                                      name_.asWChar(), word.asWChar()));
            }
            args.push_back(IString(value));
            return true;
        }
        case GetOpt::kInt:
            if (!isInteger(w)) {
                return fail(
                    formatted(L"While processing option: -%S\n  Expected an integer, got: %S",
                              name_.asWChar(), word.asWChar()));
            }
            break;
        case GetOpt::kFloat:
            if (!isFloat(w)) {
                return fail(formatted(
                    L"While processing option: -%S\n  Expected a floating point value, got: %S",
                    name_.asWChar(), word.asWChar()));
            }
            break;
        case GetOpt::kString:
            break;
        default:
            if (!checkFile(type, word)) {
                return false;
            }
            break;
        }
        args.push_back(word);
        return true;
    }

private:
    bool checkFile(std::int32_t type, const IString& word) {
        const bool dash = word.str() == L"-";
        kyUtil::Error error;
        const wchar_t* kind = L"";
        switch (type) {
        case GetOpt::kInputFileOr:
        case GetOpt::kInputFile:
            if (dash && type == GetOpt::kInputFileOr) {
                return true;
            }
            kind = L"InputFile";
            error = dash ? dashNotValid() : getOpt_.validInputFile(word);
            break;
        case GetOpt::kOutputFileOr:
        case GetOpt::kOutputFile:
            if (dash && type == GetOpt::kOutputFileOr) {
                return true;
            }
            kind = L"OutputFile";
            error = dash ? dashNotValid() : getOpt_.validOutputFile(word);
            break;
        case GetOpt::kInOutFile:
            kind = L"InputOutputFile";
            error = getOpt_.validInOutFile(word);
            break;
        case GetOpt::kDirectory:
            kind = L"Directory";
            error = getOpt_.validDirectory(word);
            break;
        default:
            return true;
        }
        if (error.ok()) {
            return true;
        }
        const IString* message = error.messageString();
        return fail(formatted(L"While processing option: -%S  (%S)\n  %S", name_.asWChar(), kind,
                              message ? message->asWChar() : L""));
    }

    static kyUtil::Error dashNotValid() {
        return kyUtil::Error(kCheckFailed, "The filename \"-\" is not valid");
    }

    // Words up to "." (at any depth) or the "]" that closes the outermost "["; the outermost
    // brackets and the "." are consumed but not stored. A missing "]" is not an error.
    bool readSequence(ky::vector<IString>& args) {
        int depth = 0;
        bool done = false;
        while (!done && !parse_.queue.empty()) {
            const IString word = parse_.queue.front();
            parse_.queue.pop_front();
            const std::wstring& w = word.str();
            if (w == L".") {
                done = true;
            } else if (w == L"[") {
                if (++depth > 1) {
                    args.push_back(word);
                }
            } else if (w == L"]") {
                if (--depth == 0) {
                    done = true;
                } else {
                    args.push_back(word);
                }
            } else {
                args.push_back(word);
            }
        }
        if (depth < 0) {
            return fail(formatted(L"While processing option: -%S\n  Too many ']' characters",
                                  name_.asWChar()));
        }
        return true;
    }

    bool fail(const IString& text) {
        parse_.fail(text);
        return false;
    }

    GetOpt& getOpt_;
    GetOpt::impl::parse& parse_;
    const IString name_;
};

} // namespace

const GetOpt::impl::result* GetOpt::getOpt() {
    impl::parse& p = *parse_;
    p.clearResult();
    if (p.error || p.endOfOptions) {
        return nullptr;
    }
    p.errorText.clear();
    if (p.queue.empty()) {
        return nullptr;
    }
    const IString word = p.queue.front();
    p.queue.pop_front();
    const std::wstring& w = word.str();

    std::wstring name;
    if (!w.empty() && w[0] != L'-') {
        if (p.needLeadingDash) {
            if (w == L"[" || w == L"]") {
                p.fail(formatted(L"%C encountered outside of a sequence.",
                                 static_cast<std::wint_t>(w[0])));
            } else {
                p.fail(formatted(L"Malformed option: no leading dash: %S", word.asWChar()));
            }
            return nullptr;
        }
        name = w;
    } else if (!w.empty()) {
        name = w.substr(1);
        if (name.empty()) {
            p.fail(formatted(L"Malformed option: no option specified: %S", word.asWChar()));
            return nullptr;
        }
        if (name[0] == L'-') {
            if (name.size() == 1) {
                p.endOfOptions = true;
                return nullptr;
            }
            // "--name" is the same as "-name".
            name.erase(0, 1);
        }
    }

    const impl::option* option = p.lookup(name);
    if (!option) {
        p.fail(formatted(L"Option does not exist or is ambiguous: %S", word.asWChar()));
        return nullptr;
    }

    impl::result found;
    found.option = option;
    found.name = option->name;
    ArgumentReader reader(*this, p, *option);
    bool optional = false;
    for (std::int32_t type : option->types) {
        if (type == kOptional) {
            optional = true;
            continue;
        }
        if (p.queue.empty()) {
            if (optional) {
                break;
            }
            p.fail(formatted(L"Insufficient arguments when processing option: %S\nUsage:\n%S",
                             wide(option->name).asWChar(),
                             getOptionUsage(option, false).asWChar()));
            return nullptr;
        }
        const std::wstring& next = p.queue.front().str();
        if (optional && ((!next.empty() && next[0] == L'-') || next == L".")) {
            break;
        }
        if (!reader.read(type, found.args)) {
            return nullptr;
        }
    }
    p.current.option = found.option;
    p.current.name = found.name;
    p.current.args.swap(found.args);
    p.hasResult = true;
    return &p.current;
}

const GetOpt::impl::result* GetOpt::getCurrentResult() const {
    return parse_->hasResult ? &parse_->current : nullptr;
}

const GetOpt::impl::option* GetOpt::getResultOption(const impl::result* result) const {
    return result ? result->option : nullptr;
}

CString GetOpt::getResultName(const impl::result* result) const {
    return result ? result->name : CString();
}

int GetOpt::getResultIndex(const impl::result* result) const {
    return result && result->option ? result->option->index : -1;
}

int GetOpt::getNumArguments(const impl::result* result) const {
    return result ? static_cast<int>(result->args.size()) : 0;
}

IString GetOpt::getResultArg(const impl::result* result, int i) const {
    if (!result || i < 0 || i >= static_cast<int>(result->args.size())) {
        return IString();
    }
    return result->args[static_cast<std::size_t>(i)];
}

void GetOpt::getResultArgs(const impl::result* result, ky::vector<IString>& args) const {
    args.clear();
    if (result) {
        args = result->args;
    }
}

bool GetOpt::hasErrors() const {
    return parse_->error;
}

const IString& GetOpt::getError() const {
    return parse_->errorText;
}

void GetOpt::resetError() {
    parse_->error = false;
}

void GetOpt::abort() {
    parse_->endOfOptions = true;
    parse_->clearResult();
}

void GetOpt::remaining(ky::vector<IString>& words) const {
    words.clear();
    for (const IString& word : parse_->queue) {
        words.push_back(word);
    }
}

kyUtil::Error GetOpt::validFileName(const IString& name) const {
    if (isWindowsReservedDeviceName(Filename(name))) {
        return checkFailed(L"%S is a reserved device name.  Please choose another name.", name);
    }
    return kyUtil::Error();
}

kyUtil::Error GetOpt::validInputFile(const IString& name) {
    kyUtil::Error error = validFileName(name);
    if (error.failed()) {
        return error;
    }
    const FileStatus status = statusOf(name);
    if (!status.exists()) {
        return checkFailed(L"%S does not exist.", name);
    }
    if (!status.isFile()) {
        return checkFailed(L"%S exists but is not a file.", name);
    }
    if (!status.isReadable()) {
        return checkFailed(L"%S is not readable.", name);
    }
    return kyUtil::Error();
}

kyUtil::Error GetOpt::validOutputFile(const IString& name) {
    kyUtil::Error error = validFileName(name);
    if (error.failed()) {
        return error;
    }
    const FileStatus status = statusOf(name);
    if (status.exists()) {
        if (!status.isFile()) {
            return checkFailed(L"%S exists but is not a file.", name);
        }
        if (!status.isWritable()) {
            return checkFailed(L"%S is not writable.", name);
        }
        return kyUtil::Error();
    }
    // A new file: its directory must take it.
    IString directory = Filename(name).dirname();
    if (directory.isEmpty()) {
        directory = L".";
    }
    const FileStatus dirStatus = statusOf(directory);
    if (!dirStatus.exists()) {
        return checkFailed(L"Directory for %S does not exist.", name);
    }
    if (!dirStatus.isDirectory()) {
        return checkFailed(L"%S is not a valid path.", name);
    }
    if (!dirStatus.isWritable()) {
        if (directory.str() == L".") {
            return kyUtil::Error(kCheckFailed, "The current directory is not writable.");
        }
        return checkFailed(L"Directory is not writable: %S", name);
    }
    return kyUtil::Error();
}

kyUtil::Error GetOpt::validInOutFile(const IString& name) {
    kyUtil::Error error = validInputFile(name);
    if (error.failed()) {
        return error;
    }
    return validOutputFile(name);
}

kyUtil::Error GetOpt::validDirectory(const IString& name) {
    kyUtil::Error error = validFileName(name);
    if (error.failed()) {
        return error;
    }
    const FileStatus status = statusOf(name);
    if (!status.exists()) {
        return checkFailed(L"%S does not exist.", name);
    }
    if (!status.isDirectory()) {
        return checkFailed(L"%S exists but is not a directory.", name);
    }
    return kyUtil::Error();
}

} // namespace kyOS
