#ifndef TESTS_ABI_FOREIGN_HASH_H
#define TESTS_ABI_FOREIGN_HASH_H
#include <cstdint>

#include "tests/abi/foreign_object.h"

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

class CSha1BremoFw
{
public:
    CSha1BremoFw();
    virtual ~CSha1BremoFw();
    QvResult Begin();
    QvResult Update(const uint8_t* puData, unsigned int uSize);
    QvResult End(uint8_t* puDigest);
    QvResult Update(const CBlob* pblobData);
    QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

    void Reset();
    void Input(const uint8_t* puData, unsigned int uSize);
    void ProcessMsgBlock();
    void PadMsg();
    void Result(uint8_t* puDigest);

    uint32_t m_auChain[5];
    uint8_t m_auBlock[64];
    uint8_t m_uIndex;
    uint64_t m_uByteCount;
};
static_assert(sizeof(CSha1BremoFw) == 104);

class CSha1 : public CHash, public CSha1BremoFw
{
public:
    CSha1();
    ~CSha1() override;
    QvResult Begin() override;
    QvResult Update(const uint8_t* puData, unsigned int uSize) override;
    QvResult End(uint8_t* puDigest) override;
    QvResult Update(const CBlob* pblobData) override;
    QvResult End(CBlob* pblobDigest) override;
    unsigned int GetAlgorithm() override;
    unsigned int GetSizeInBits() override;
    unsigned int GetSizeInBytes() override;
};
static_assert(sizeof(CSha1) == 112);

#endif
