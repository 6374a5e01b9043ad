// kyOSUuid.h - kyOS::Uuid, a 128-bit identifier with a fixed text form.
#ifndef KY_OS_UUID_H
#define KY_OS_UUID_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringCString.h>

namespace kyOS {

/// A 128-bit identifier held as four unsigned 32-bit words; all zero is the invalid (unset)
/// identifier. Its text form is the four words as "%08x-%08x-%08x-%08x" (35 characters, lower
/// case); the parser accepts exactly that shape, in either case, and leaves the identifier
/// invalid otherwise. A plain value: cheap to copy, no hidden state. Thread-safe as values
/// are: distinct objects may be used from distinct threads.
///
/// @code
///   kyOS::Uuid id;
///   id.generate();
///   kyOS::Uuid copy(id.asString());  // copy == id
/// @endcode
class KY_BASE_API Uuid {
public:
    /// The invalid identifier.
    Uuid() = default;
    explicit Uuid(const unsigned int words[4]);
    /// Each word from four bytes, most significant first (bytes 0 to 3 give the first word).
    explicit Uuid(const unsigned char bytes[16]);
    /// Parses the text form; anything else leaves the identifier invalid.
    explicit Uuid(const kyString::CString& text);

    /// A new random identifier from the platform; on failure the identifier is invalid and the
    /// result false.
    bool generate();
    /// True when any word is non-zero.
    bool valid() const { return (words_[0] | words_[1] | words_[2] | words_[3]) != 0; }
    /// Sets the words of an invalid identifier; a valid one is left unchanged (result false).
    bool set(const unsigned int words[4]);

    void get(unsigned int words[4]) const;
    /// The bytes of each word, most significant first (the inverse of `Uuid(bytes)`).
    void get(unsigned char bytes[16]) const;
    const unsigned int* get() const { return words_; }

    kyString::CString asString() const;

    /// Byte-wise comparison of the four words as they lie in memory: on a little-endian
    /// machine this is not the order of the text forms. Negative, zero or positive.
    int compare(const Uuid& other) const;
    bool operator==(const Uuid& other) const { return compare(other) == 0; }
    bool operator!=(const Uuid& other) const { return compare(other) != 0; }
    bool operator<(const Uuid& other) const { return compare(other) < 0; }

    /// Length of the text form.
    static constexpr unsigned int kTextLength = 35;

private:
    unsigned int words_[4] = {0, 0, 0, 0};
};

} // namespace kyOS

#endif // KY_OS_UUID_H
