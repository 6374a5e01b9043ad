// kyStringIntern.cpp - the two process-wide tables of interned strings.
#include <Base/String/kyStringIntern.h>

#include <Base/Containers/kyHashMap.h>
#include <Base/Utility/kyUtilInitializer.h>

#include <cstring>
#include <cwchar>
#include <new>

namespace kyString {

namespace {

// A table key is a view of the record's own text, so a look-up needs no copy of the query.
template <class C>
struct Key {
    const C* data;
    std::size_t size;
};

template <class C>
struct KeyHash {
    ky::HashValue operator()(const Key<C>& k) const {
        return ky::hashfunction(static_cast<const void*>(k.data), k.size * sizeof(C));
    }
};

template <class C>
struct KeyEqual {
    bool operator()(const Key<C>& a, const Key<C>& b) const {
        return a.size == b.size && std::memcmp(a.data, b.data, a.size * sizeof(C)) == 0;
    }
};

// The table keeps the permanent flag beside the record pointer, so that the common case, a
// constant interning of a text interned before, never touches the record itself.
template <class S>
struct Entry {
    InternalString<S>* record = nullptr;
    bool permanent = false;
};

template <class S, class C>
using Table = ky::hash_map<Key<C>, Entry<S>, KeyHash<C>, KeyEqual<C>>;

using CTable = Table<CString, char>;
using ITable = Table<IString, wchar_t>;

int plainIncrement(int& n) {
    return ++n;
}
int plainDecrement(int& n) {
    return --n;
}

struct Threading {
    void (*lock)();
    void (*unlock)();
    int (*increment)(int&);
    int (*decrement)(int&);
};

// Plain pointers (constant-initialised) so interning works during static construction.
Threading gThreading = {nullptr, nullptr, &plainIncrement, &plainDecrement};
CTable* gCTable = nullptr;
ITable* gITable = nullptr;

class TableLock {
public:
    TableLock() {
        if (gThreading.lock) {
            gThreading.lock();
        }
    }
    ~TableLock() {
        if (gThreading.unlock) {
            gThreading.unlock();
        }
    }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
};

inline Key<char> keyOf(const InternalString<CString>* r) {
    return {r->text.asChar(), r->text.str().size()};
}
inline Key<wchar_t> keyOf(const InternalString<IString>* r) {
    return {r->text.asWChar(), r->text.str().size()};
}

// The record for the text [data, data + n): found, or made and entered. A constant interning
// takes one reference for good and marks the record permanent; a dynamic one takes a reference
// that its handle will drop. A record whose count has fallen to 0 is being freed by the thread
// that dropped its last handle: it is taken out of the table and a new one made.
template <class S, class C>
InternalString<S>* internRecord(Table<S, C>*& table, const C* data, std::size_t n, bool constant) {
    TableLock lock;
    if (!table) {
        table = new (std::nothrow) Table<S, C>();
        if (!table) {
            return nullptr;
        }
        // Look-ups vastly outnumber insertions: short chains are worth the larger bucket array.
        table->max_load_factor(0.5f);
    }
    auto it = table->find(Key<C>{data, n});
    if (it != table->end()) {
        Entry<S>& entry = it->second;
        if (constant && entry.permanent) {
            return entry.record;
        }
        InternalString<S>* record = entry.record;
        if (gThreading.increment(record->refCount) > 1) {
            if (constant) {
                record->permanent = true;
                entry.permanent = true;
            }
            return record;
        }
        gThreading.decrement(record->refCount);
        table->erase(it);
    }
    auto* record =
        new (std::nothrow) InternalString<S>{S(data, static_cast<unsigned int>(n)), 0, constant};
    if (!record) {
        return nullptr;
    }
    gThreading.increment(record->refCount);
    table->insert({keyOf(record), Entry<S>{record, constant}});
    return record;
}

template <class S, class C>
void dropRecord(Table<S, C>*& table, InternalString<S>* record) {
    if (!record || gThreading.decrement(record->refCount) != 0) {
        return;
    }
    {
        TableLock lock;
        if (table) {
            auto it = table->find(keyOf(record));
            if (it != table->end() && it->second.record == record) {
                table->erase(it);
            }
        }
    }
    delete record;
}

template <class S, class C>
void deleteTable(Table<S, C>*& table) {
    if (!table) {
        return;
    }
    for (auto& entry : *table) {
        delete entry.second.record;
    }
    delete table;
    table = nullptr;
}

std::size_t lengthOf(const char* text) {
    return text ? std::strlen(text) : 0;
}
std::size_t lengthOf(const wchar_t* text) {
    return text ? std::wcslen(text) : 0;
}

// The library's own initialiser for the string tables: they are made on first use, and
// freed at shut-down by finalizeAll().
class StringTablesInitializer : public kyUtil::Initializer {
public:
    StringTablesInitializer() : Initializer("src/components/Base/String/kyStringIntern") {}
    kyUtil::Error initialize() override { return kyUtil::Error(); }

protected:
    void finalize() override { deleteStringTables(); }
};

StringTablesInitializer gStringTablesInitializer;

} // namespace

void increaseStringRef(InternalString<CString>* record) {
    if (record) {
        gThreading.increment(record->refCount);
    }
}
void decreaseStringRef(InternalString<CString>* record) {
    dropRecord(gCTable, record);
}
void increaseStringRef(InternalString<IString>* record) {
    if (record) {
        gThreading.increment(record->refCount);
    }
}
void decreaseStringRef(InternalString<IString>* record) {
    dropRecord(gITable, record);
}

const CString& emptyCString() {
    static const CString empty;
    return empty;
}
const IString& emptyIString() {
    static const IString empty;
    return empty;
}

ConstantCString intern(const char* text) {
    return ConstantCString(internRecord(gCTable, text ? text : "", lengthOf(text), true));
}
ConstantCString intern(const CString& text) {
    return ConstantCString(internRecord(gCTable, text.asChar(), text.str().size(), true));
}
ConstantIString intern(const wchar_t* text) {
    return ConstantIString(internRecord(gITable, text ? text : L"", lengthOf(text), true));
}
ConstantIString intern(const IString& text) {
    return ConstantIString(internRecord(gITable, text.asWChar(), text.str().size(), true));
}
DynamicCString intern_dynamic(const char* text) {
    return DynamicCString(internRecord(gCTable, text ? text : "", lengthOf(text), false));
}
DynamicCString intern_dynamic(const CString& text) {
    return DynamicCString(internRecord(gCTable, text.asChar(), text.str().size(), false));
}
DynamicIString intern_dynamic(const wchar_t* text) {
    return DynamicIString(internRecord(gITable, text ? text : L"", lengthOf(text), false));
}
DynamicIString intern_dynamic(const IString& text) {
    return DynamicIString(internRecord(gITable, text.asWChar(), text.str().size(), false));
}

void sharedStringThreading(void (*lock)(), void (*unlock)(), int (*increment)(int&),
                           int (*decrement)(int&)) {
    gThreading.lock = lock;
    gThreading.unlock = unlock;
    gThreading.increment = increment ? increment : &plainIncrement;
    gThreading.decrement = decrement ? decrement : &plainDecrement;
}

void deleteStringTables() {
    TableLock lock;
    deleteTable(gCTable);
    deleteTable(gITable);
}

unsigned int numInternedCStrings() {
    TableLock lock;
    return gCTable ? static_cast<unsigned int>(gCTable->size()) : 0;
}

unsigned int numInternedIStrings() {
    TableLock lock;
    return gITable ? static_cast<unsigned int>(gITable->size()) : 0;
}

} // namespace kyString
