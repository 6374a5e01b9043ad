// ioCipher.h - the block cipher that the encryption filter of packet streams uses: AES-256,
// under plain C names so that other languages and older tools can call it.
#ifndef KY_IO_CIPHER_H
#define KY_IO_CIPHER_H

#include <Base/BaseExport.h>

extern "C" {

/// Expands a 32-byte key into the 240-byte schedule: the 60 round-key words, each in the
/// byte order of the key itself (word i is bytes 4i to 4i+3).
KY_BASE_API void fdblarccos2_(const unsigned char key[32], unsigned char schedule[240]);

/// Enciphers one 16-byte block in place with a schedule made by `fdblarccos2_`.
KY_BASE_API void fdblhypsin2_(const unsigned char schedule[240], unsigned char block[16]);

/// Deciphers one 16-byte block in place; takes the same schedule as enciphering.
KY_BASE_API void fdblhypcos2_(const unsigned char schedule[240], unsigned char block[16]);

} // extern "C"

#endif // KY_IO_CIPHER_H
