#pragma once

#include <cstddef>

/**
 * The MD5 message digest of RFC 1321. One object digests one message at a time: `MD5Init` (the constructor calls it),
 * any number of `MD5Update`, then one `MD5Final`, which leaves the object ready for the next message.
 */
class MD5 {
public:
    MD5();
    virtual ~MD5() = default;

    void MD5Init();
    /** Adds bytes to the message. A length of 0 or less adds nothing. */
    void MD5Update(const void* lpData, int nLen);
    /** The digest as 32 small hexadecimal digits and a terminator: `lpszDigest` holds 33 bytes. */
    void MD5Final(char* lpszDigest);
    /** The digest's 16 bytes. */
    void MD5Final(unsigned char* lpDigest);

private:
    /** Takes one block of 64 bytes into the state. */
    void MD5Transform(const unsigned char* lpBlock);
    void Append(const unsigned char* lpData, std::size_t nLen);

    // The words are wider than the algorithm's on this machine: only the low 32 bits of each count.
    unsigned long state[4];
    /** Bits of the message so far, low word first. */
    unsigned long count[2];
    unsigned char buffer[64];
};
