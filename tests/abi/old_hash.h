#ifndef TESTS_ABI_OLD_HASH_H
#define TESTS_ABI_OLD_HASH_H
#include <cstdint>

#include "tests/abi/old_result.h"

class CBlob;

class CHash
{
public:
    virtual ~CHash();
    virtual QvResult Begin() = 0;
    virtual QvResult Update(const uint8_t* puData, unsigned int uSize) = 0;
    virtual QvResult End(uint8_t* puDigest) = 0;
    virtual QvResult Update(const CBlob* pblobData) = 0;
    virtual QvResult End(CBlob* pblobDigest) = 0;
    virtual unsigned int GetAlgorithm() = 0;
    virtual unsigned int GetSizeInBits() = 0;
    virtual unsigned int GetSizeInBytes() = 0;
};
static_assert(sizeof(CHash) == 8);

#endif
