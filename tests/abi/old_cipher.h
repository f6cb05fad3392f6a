#ifndef TESTS_ABI_OLD_CIPHER_H
#define TESTS_ABI_OLD_CIPHER_H
#include <cstdint>
#include <string>
#include <vector>

#include "tests/abi/old_result.h"

class CBlob;
template <typename T>
class CVector;

class CCipher
{
public:
    enum EAction : int
    {
        eACTION_DECRYPT = 0,
        eACTION_ENCRYPT = 1,
        eACTION_DEFAULT = 2
    };
    enum EMode : int
    {
        eMODE_CBC = 0,
        eMODE_CFB = 1,
        eMODE_CTR = 2,
        eMODE_ECB = 3,
        eMODE_OFB = 4,
        eMODE_DEFAULT = 5
    };

    virtual ~CCipher();
    virtual QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize,
                           const uint8_t* puIv, unsigned int uIvSize) = 0;
    virtual QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize) = 0;
    virtual QvResult End(uint8_t* puOut, unsigned int* puOutSize) = 0;
    virtual QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) = 0;
    virtual QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) = 0;
    virtual QvResult End(CBlob* pblobOut, bool bAppend) = 0;
    virtual unsigned int GetAlgorithm() = 0;
    virtual unsigned int GetBlockSizeInBits() = 0;
    virtual unsigned int GetBlockSizeInByte() = 0;
    virtual const CVector<EMode>* GetSupportedModes() = 0;
};

/// The slots of the interface as a class fills them.
inline std::vector<std::string> CipherSlotsOf(const std::string& rClass)
{
    std::vector<std::string> names(2, rClass + "::~" + rClass + "()");
    const std::string operations[] = {"Begin(CCipher::EAction, CCipher::EMode, unsigned char const*, unsigned int, " +
                                          std::string("unsigned char const*, unsigned int)"),
                                      "Update(unsigned char const*, unsigned int, unsigned char*, unsigned int*)",
                                      "End(unsigned char*, unsigned int*)",
                                      "Begin(CCipher::EAction, CCipher::EMode, CBlob const*, CBlob const*)",
                                      "Update(CBlob const*, CBlob*, bool)",
                                      "End(CBlob*, bool)",
                                      "GetAlgorithm()",
                                      "GetBlockSizeInBits()",
                                      "GetBlockSizeInByte()",
                                      "GetSupportedModes()"};
    for (const std::string& rOperation : operations) names.push_back(rClass + "::" + rOperation);
    return names;
}

#endif
