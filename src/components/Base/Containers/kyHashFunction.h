// kyHashFunction.h - the ky::hashfunction overloads and the ky::hash functor.
#ifndef KY_CONTAINERS_HASHFUNCTION_H
#define KY_CONTAINERS_HASHFUNCTION_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace ky {

/// Hash values are 64-bit and live only in memory (they are never written to files), so they
/// may differ between platforms and releases.
using HashValue = std::uint64_t;

/// Hash of `count` bytes.
KY_BASE_API HashValue hashfunction(const void* bytes, std::size_t count);
/// Hash of an array of `count` unsigned ints (their bytes).
KY_BASE_API HashValue hashfunction(const unsigned int* words, std::size_t count);
/// Hash of a NUL-terminated narrow string (the terminator is not hashed).
KY_BASE_API HashValue hashfunction(const char* text);
/// Hash of `count` wide characters.
KY_BASE_API HashValue hashfunction(const wchar_t* text, std::size_t count);
/// Hash of the narrow characters in [begin, end).
KY_BASE_API HashValue hashfunction(const char* begin, const char* end);

/// Integers and pointers hash to their own value: bucket counts are primes, so the low bits
/// need no mixing, and sequential keys spread evenly over the buckets.
#define KY_HASH_IDENTITY(T)                                                                        \
    inline HashValue hashfunction(T value) {                                                       \
        return static_cast<HashValue>(value);                                                      \
    }
KY_HASH_IDENTITY(bool)
KY_HASH_IDENTITY(char)
KY_HASH_IDENTITY(signed char)
KY_HASH_IDENTITY(unsigned char)
KY_HASH_IDENTITY(wchar_t)
KY_HASH_IDENTITY(char16_t)
KY_HASH_IDENTITY(char32_t)
KY_HASH_IDENTITY(short)
KY_HASH_IDENTITY(unsigned short)
KY_HASH_IDENTITY(int)
KY_HASH_IDENTITY(unsigned int)
KY_HASH_IDENTITY(long)
KY_HASH_IDENTITY(unsigned long)
KY_HASH_IDENTITY(long long)
KY_HASH_IDENTITY(unsigned long long)
#undef KY_HASH_IDENTITY

/// A modifiable narrow string hashes by content, like `const char*`.
inline HashValue hashfunction(char* text) {
    return hashfunction(static_cast<const char*>(text));
}

/// Other pointers hash to their address.
template <class T>
inline HashValue hashfunction(T* pointer) {
    return static_cast<HashValue>(reinterpret_cast<std::uintptr_t>(pointer));
}

inline HashValue hashfunction(const std::string& text) {
    return hashfunction(text.data(), text.size());
}
inline HashValue hashfunction(const std::wstring& text) {
    return hashfunction(text.data(), text.size());
}

/// The default hasher of the hash containers: calls `hashfunction(key)`, found in namespace
/// `ky` or by argument-dependent lookup in the key's own namespace.
template <class T>
struct hash {
    HashValue operator()(const T& key) const {
        using ky::hashfunction;
        return hashfunction(key);
    }
};

} // namespace ky

#endif // KY_CONTAINERS_HASHFUNCTION_H
