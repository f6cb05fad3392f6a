#ifndef TESTS_ABI_OLD_SHA1_H
#define TESTS_ABI_OLD_SHA1_H
#include "tests/abi/old_hash.h"

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
