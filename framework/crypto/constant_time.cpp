#include "framework/crypto/constant_time.h"

#include <stdint.h>
#include <string.h>

namespace
{
template <typename T>
void AddDifference(uint64_t& ruDifference, const unsigned char* puLeft, const unsigned char* puRight)
{
    T uLeft;
    T uRight;
    memcpy(&uLeft, puLeft, sizeof(T));
    memcpy(&uRight, puRight, sizeof(T));
    ruDifference |= static_cast<uint64_t>(uLeft ^ uRight);
    // The compiler must not know the sum: it could leave the loop where no further byte can change the answer.
    asm volatile("" : "+r"(ruDifference));
}
}  // namespace

bool QvIsEqualConstantTime(const void* pvLeft, const void* pvRight, unsigned int uSize)
{
    const unsigned char* const puLeft = static_cast<const unsigned char*>(pvLeft);
    const unsigned char* const puRight = static_cast<const unsigned char*>(pvRight);
    uint64_t uDifference = 0;
    size_t uAt = 0;
    for (; uSize - uAt >= sizeof(uint64_t); uAt += sizeof(uint64_t))
        AddDifference<uint64_t>(uDifference, puLeft + uAt, puRight + uAt);
    for (; uAt < uSize; ++uAt) AddDifference<unsigned char>(uDifference, puLeft + uAt, puRight + uAt);
    return uDifference == 0;
}
