#include "framework/crypto/cipher.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <new>

#include "framework/crypto/aes.h"
#include "framework/crypto/base64.h"

namespace
{
// Gives blocks of any size, of which there is the first page alone: what is written elsewhere traps.
class CFirstPageAllocator : public IAllocator
{
public:
    SBlock* Allocate(unsigned int, unsigned int uSize, SBlock**) override
    {
        void* const pv = mmap(nullptr, uSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        EXPECT_NE(MAP_FAILED, pv);
        EXPECT_EQ(0, mprotect(pv, 1, PROT_READ | PROT_WRITE));
        return new (pv) SBlock{nullptr};
    }
    // Told the size in bytes, as by every vector.
    void Release(SBlock* pChain, unsigned int uSize) override { EXPECT_EQ(0, munmap(pChain, uSize)); }
};

TEST(CCipherInterface, ABlobThatWouldPass32BitsIsOutOfMemory)
{
    CFirstPageAllocator allocator;
    CBlob blobFull(UINT_MAX, &allocator);
    ASSERT_EQ(UINT_MAX, blobFull.GetCapacity());
    constexpr unsigned int uFULL = UINT_MAX - 3;
    ASSERT_EQ(QV_RES_OK, blobFull.Resize(uFULL));
    const uint8_t auBytes[17] = {};
    const CBlob blobKey(auBytes, 16);
    const CBlob blobIn(auBytes, 17);
    CAes aes;
    CBase64 base64;
    for (CCipher* const pCipher : {static_cast<CCipher*>(&aes), static_cast<CCipher*>(&base64)})
    {
        SCOPED_TRACE(pCipher->GetAlgorithm());
        CBlob blobOut;
        ASSERT_EQ(QV_RES_OK, pCipher->Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, &blobKey, nullptr));
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, pCipher->Update(&blobIn, &blobFull, true));
        ASSERT_EQ(QV_RES_OK, pCipher->Update(&blobIn, &blobOut, false));
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, pCipher->End(&blobFull, true));
        EXPECT_EQ(uFULL, blobFull.GetSize());
        EXPECT_EQ(QV_RES_OK, pCipher->End(&blobOut, true));
    }
}
}  // namespace
