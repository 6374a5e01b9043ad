// kyStringIntern.h - interned (shared) strings: one record per distinct text.
#ifndef KY_STRING_INTERN_H
#define KY_STRING_INTERN_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>

#include <functional>
#include <utility>

namespace kyString {

/// The shared record of an interned text, owned by the process-wide table of its string
/// class. `refCount` counts the `DynamicString` handles on it (plus one for good once the text
/// has been interned as a constant); `permanent` is set by constant interning.
template <class S>
struct InternalString {
    S text;
    int refCount = 0;
    bool permanent = false;
};

/// Take and drop a reference on a record (through the installed count functions). The holder
/// whose drop takes a non-permanent record to 0 removes it from its table and frees it.
KY_BASE_API void increaseStringRef(InternalString<CString>* record);
KY_BASE_API void decreaseStringRef(InternalString<CString>* record);
KY_BASE_API void increaseStringRef(InternalString<IString>* record);
KY_BASE_API void decreaseStringRef(InternalString<IString>* record);

/// The empty strings that null handles show.
KY_BASE_API const CString& emptyCString();
KY_BASE_API const IString& emptyIString();

namespace detail {
inline const CString& emptyOf(const CString*) {
    return emptyCString();
}
inline const IString& emptyOf(const IString*) {
    return emptyIString();
}
} // namespace detail

/// A handle on an interned text that lives until `deleteStringTables()`. Copying copies a
/// pointer; two handles are equal exactly when their texts are equal. A default-constructed
/// handle is null and shows the empty string. Handles must not outlive `deleteStringTables()`.
template <class S>
class ConstantString {
public:
    using Record = InternalString<S>;

    ConstantString() = default;
    explicit ConstantString(Record* record) : record_(record) {}

    /// The interned text (the empty string for a null handle).
    const S& str() const {
        return record_ ? record_->text : detail::emptyOf(static_cast<S*>(nullptr));
    }
    unsigned int length() const { return str().length(); }
    bool isNull() const { return record_ == nullptr; }
    const Record* record() const { return record_; }

    friend bool operator==(const ConstantString& a, const ConstantString& b) {
        return a.record_ == b.record_;
    }
    friend bool operator!=(const ConstantString& a, const ConstantString& b) {
        return a.record_ != b.record_;
    }
    friend ky::HashValue hashfunction(const ConstantString& s) {
        return ky::hashfunction(static_cast<const void*>(s.record_));
    }

private:
    Record* record_ = nullptr;
};

/// A counted handle on an interned text: the record is freed when the last dynamic handle on
/// it goes (unless the text was also interned as a constant). Copies call
/// `increaseStringRef`, destruction `decreaseStringRef`. Equality as for `ConstantString`.
template <class S>
class DynamicString {
public:
    using Record = InternalString<S>;

    DynamicString() = default;
    /// Adopts one reference already taken on `record`.
    explicit DynamicString(Record* record) : record_(record) {}
    DynamicString(const DynamicString& other) : record_(other.record_) {
        if (record_) {
            increaseStringRef(record_);
        }
    }
    DynamicString(DynamicString&& other) noexcept : record_(other.record_) {
        other.record_ = nullptr;
    }
    ~DynamicString() {
        if (record_) {
            decreaseStringRef(record_);
        }
    }
    DynamicString& operator=(DynamicString other) noexcept {
        std::swap(record_, other.record_);
        return *this;
    }

    const S& str() const {
        return record_ ? record_->text : detail::emptyOf(static_cast<S*>(nullptr));
    }
    unsigned int length() const { return str().length(); }
    bool isNull() const { return record_ == nullptr; }
    const Record* record() const { return record_; }

    friend bool operator==(const DynamicString& a, const DynamicString& b) {
        return a.record_ == b.record_;
    }
    friend bool operator!=(const DynamicString& a, const DynamicString& b) {
        return a.record_ != b.record_;
    }
    friend ky::HashValue hashfunction(const DynamicString& s) {
        return ky::hashfunction(static_cast<const void*>(s.record_));
    }

private:
    Record* record_ = nullptr;
};

using ConstantCString = ConstantString<CString>;
using ConstantIString = ConstantString<IString>;
using DynamicCString = DynamicString<CString>;
using DynamicIString = DynamicString<IString>;

// Interning. The tables are created on first use and guarded only by the functions installed
// with `sharedStringThreading`: until then interning is for one thread. Cost: one hash of the
// text and one table look-up; the first interning of a text also copies it. A null pointer
// interns the empty text.
//
//   kyString::ConstantCString a = kyString::intern("shape");
//   a == kyString::intern(kyString::CString("shape")); // true: one record per distinct text
KY_BASE_API ConstantCString intern(const char* text);
KY_BASE_API ConstantCString intern(const CString& text);
KY_BASE_API ConstantIString intern(const wchar_t* text);
KY_BASE_API ConstantIString intern(const IString& text);
KY_BASE_API DynamicCString intern_dynamic(const char* text);
KY_BASE_API DynamicCString intern_dynamic(const CString& text);
KY_BASE_API DynamicIString intern_dynamic(const wchar_t* text);
KY_BASE_API DynamicIString intern_dynamic(const IString& text);

/// Installs the functions that guard the tables (`lock`, `unlock`) and change reference counts
/// (`increment`, `decrement`, returning the new count, e.g. atomic operations). A null function
/// restores the single-threaded default. Call before other threads intern.
KY_BASE_API void sharedStringThreading(void (*lock)(), void (*unlock)(), int (*increment)(int&),
                                       int (*decrement)(int&));
/// Frees both tables and every record in them; every handle still alive then dangles. The
/// library's string-table initialiser calls it from `kyUtil::Initializer::finalizeAll()`.
KY_BASE_API void deleteStringTables();
KY_BASE_API unsigned int numInternedCStrings();
KY_BASE_API unsigned int numInternedIStrings();

/// Strict weak orderings of the handles for sorted containers: by record, so consistent with
/// equality of the interned texts (the order itself is not meaningful).
struct ConstantCStringSort {
    bool operator()(const ConstantCString& a, const ConstantCString& b) const {
        return std::less<const void*>()(a.record(), b.record());
    }
};
struct ConstantIStringSort {
    bool operator()(const ConstantIString& a, const ConstantIString& b) const {
        return std::less<const void*>()(a.record(), b.record());
    }
};
struct DynamicCStringSort {
    bool operator()(const DynamicCString& a, const DynamicCString& b) const {
        return std::less<const void*>()(a.record(), b.record());
    }
};
struct DynamicIStringSort {
    bool operator()(const DynamicIString& a, const DynamicIString& b) const {
        return std::less<const void*>()(a.record(), b.record());
    }
};

} // namespace kyString

#endif // KY_STRING_INTERN_H
