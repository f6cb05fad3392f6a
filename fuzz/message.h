#ifndef FUZZ_MESSAGE_H
#define FUZZ_MESSAGE_H
#include <algorithm>
#include <cstddef>
#include <vector>

#include "fuzz/input.h"

/// A piece of a message: mostly a few bytes of the input; sometimes, for the loops over many blocks, up to 1,000 bytes
/// that a few bytes of the input decide.
inline std::vector<unsigned char> FuzzPiece(CFuzzInput& rInput)
{
    const unsigned int uKind = rInput.Byte();
    if (uKind < 192) return rInput.Exactly(std::min<std::size_t>(uKind % 80, rInput.GetLeft()));
    std::vector<unsigned char> piece(rInput.Between(1, 1000));
    unsigned char uByte = rInput.Byte();
    const unsigned char uFactor = static_cast<unsigned char>(rInput.Byte() | 1);
    for (unsigned char& ruByte : piece)
    {
        ruByte = uByte;
        uByte = static_cast<unsigned char>(uByte * uFactor + 1);
    }
    return piece;
}

#endif
