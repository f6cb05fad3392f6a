#include "examples/journal/text_seal.h"

#include <algorithm>
#include <cstring>

#include "examples/journal/refusal.h"

namespace
{
constexpr unsigned int g_uKEY_SIZE = 32;

const uint8_t* BytesOf(const CString& rText)
{
    return reinterpret_cast<const uint8_t*>(rText.CStr());
}

// The AES key; wiped when it is no longer needed.
struct SDerivedKey
{
    uint8_t auBytes[g_uKEY_SIZE];
    ~SDerivedKey() { explicit_bzero(auBytes, sizeof(auBytes)); }
};

// RFC 5869, HKDF-Expand with HMAC-SHA1: "T(N) = HMAC-Hash(PRK, T(N-1) | info | N)". No header and no frame begins like
// what is hashed here, so that no code in a journal is a part of this key.
void DeriveKey(const SKey& rKey, SDerivedKey& rDerived)
{
    static constexpr char s_acINFO[] = {'t', 'e', 'x', 't', ' ', 's', 'e', 'a', 'l'};
    SMac block;
    uint8_t uNumber = 0;
    for (unsigned int uDone = 0; uDone < g_uKEY_SIZE; uDone += sizeof(block))
    {
        CSha1Mac mac;
        Check(mac.Begin(rKey.auBytes, sizeof(rKey.auBytes)));
        if (uNumber++ != 0) Check(mac.Update(block.auBytes, sizeof(block)));
        Check(mac.Update(reinterpret_cast<const uint8_t*>(s_acINFO), sizeof(s_acINFO)));
        Check(mac.Update(&uNumber, sizeof(uNumber)));
        Check(mac.End(block.auBytes));
        std::memcpy(rDerived.auBytes + uDone, block.auBytes, std::min<size_t>(sizeof(block), g_uKEY_SIZE - uDone));
    }
    explicit_bzero(&block, sizeof(block));
}
}  // namespace

CTextSeal::CTextSeal(const SKey& rKey)
{
    SDerivedKey derived;
    DeriveKey(rKey, derived);
    Check(m_aes.SetDefaultKey(derived.auBytes, sizeof(derived.auBytes)));
    Check(m_blobResult.ReserveCapacity(CString::uMAX_SIZE));
}

void CTextSeal::Seal(SRecord& rRecord)
{
    SNonce& rNonce = rRecord.nonce.emplace();
    Check(CSecurePrng::Generate(sizeof(rNonce.auBytes), rNonce.auBytes));
    Transform(CCipher::eACTION_ENCRYPT, rNonce, rRecord.strText);
}

void CTextSeal::Open(SRecord& rRecord)
{
    Transform(CCipher::eACTION_DECRYPT, *rRecord.nonce, rRecord.strText);
    rRecord.nonce.reset();
}

void CTextSeal::Transform(CCipher::EAction eAction, const SNonce& rNonce, CString& rText)
{
    uint8_t* const puResult = m_blobResult.begin();
    unsigned int uSize = 0;
    unsigned int uRest = 0;
    Check(m_aes.Begin(eAction, CCipher::eMODE_CTR, nullptr, 0, rNonce.auBytes, sizeof(rNonce.auBytes)));
    Check(m_aes.Update(BytesOf(rText), rText.GetSize(), puResult, &uSize));
    Check(m_aes.End(puResult + uSize, &uRest));
    SetText(rText, reinterpret_cast<const char*>(puResult), uSize + uRest);
}

CBlob SealedTextOf(const SRecord& rRecord)
{
    CBlob blobSealed;
    Check(blobSealed.Append(rRecord.nonce->auBytes, sizeof(SNonce)));
    Check(blobSealed.Append(rRecord.strText));
    CBlob blobText;
    CBase64 base64;
    Check(base64.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_DEFAULT, nullptr, nullptr));
    Check(base64.Update(&blobSealed, &blobText, false));
    Check(base64.End(&blobText, true));
    return blobText;
}
