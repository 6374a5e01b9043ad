// ioCipherBlocks.h - the cipher behind ioCipher.h for whole runs of blocks, the library's fixed
// key, and the switch that keeps the processor's AES instructions out of a test.
#ifndef KY_IO_INTERNAL_CIPHER_BLOCKS_H
#define KY_IO_INTERNAL_CIPHER_BLOCKS_H

#include <Base/BaseExport.h>

#include <cstddef>

namespace ioDetail {

/// The key every encrypted packet stream uses. Two builds read each other's encrypted
/// streams only if they carry the same key.
extern KY_BASE_API const unsigned char kCipherKey[32];

/// One key ready for both directions: the schedule of `fdblarccos2_` and, for the processor's
/// instructions, the decryption round keys derived from it.
struct KY_BASE_API CipherKey {
    alignas(16) unsigned char encrypt[240];
    alignas(16) unsigned char decrypt[240];
    explicit CipherKey(const unsigned char key[32]);
};

/// Enciphers or deciphers `count` consecutive 16-byte blocks in place (each on its own).
KY_BASE_API void encryptBlocks(const CipherKey& key, unsigned char* blocks, std::size_t count);
KY_BASE_API void decryptBlocks(const CipherKey& key, unsigned char* blocks, std::size_t count);

/// Whether the processor's AES instructions are used (they are when it has them).
KY_BASE_API bool cipherUsesHardware();
/// Whether this processor has AES instructions at all.
KY_BASE_API bool cipherHardwareAvailable();
/// Tests and benchmarks: true makes every call take the portable code.
KY_BASE_API void cipherForcePortable(bool portable);

} // namespace ioDetail

#endif // KY_IO_INTERNAL_CIPHER_BLOCKS_H
