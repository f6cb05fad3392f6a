#ifndef TESTS_SUPPORT_AES_ORACLE_H
#define TESTS_SUPPORT_AES_ORACLE_H
#include <openssl/evp.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "framework/crypto/cipher.h"

/// libcrypto's EVP interface to AES, which is another implementation than the AES functions that CAes stands on.
inline const EVP_CIPHER* EvpAes(CCipher::EMode eMode, std::size_t uKeySize)
{
    const std::size_t uBy = uKeySize == 16 ? 0 : uKeySize == 24 ? 1 : 2;
    switch (eMode)
    {
        case CCipher::eMODE_CBC: return uBy == 0 ? EVP_aes_128_cbc() : uBy == 1 ? EVP_aes_192_cbc() : EVP_aes_256_cbc();
        case CCipher::eMODE_CFB:
            return uBy == 0 ? EVP_aes_128_cfb128() : uBy == 1 ? EVP_aes_192_cfb128() : EVP_aes_256_cfb128();
        case CCipher::eMODE_CTR: return uBy == 0 ? EVP_aes_128_ctr() : uBy == 1 ? EVP_aes_192_ctr() : EVP_aes_256_ctr();
        case CCipher::eMODE_ECB: return uBy == 0 ? EVP_aes_128_ecb() : uBy == 1 ? EVP_aes_192_ecb() : EVP_aes_256_ecb();
        case CCipher::eMODE_OFB: return uBy == 0 ? EVP_aes_128_ofb() : uBy == 1 ? EVP_aes_192_ofb() : EVP_aes_256_ofb();
        case CCipher::eMODE_DEFAULT: break;
    }
    return nullptr;
}

/// The whole input at once, without padding.
inline std::vector<unsigned char> EvpCrypt(CCipher::EAction eAction, CCipher::EMode eMode,
                                           const std::vector<unsigned char>& rKey,
                                           const std::vector<unsigned char>& rIv,
                                           const std::vector<unsigned char>& rInput)
{
    EVP_CIPHER_CTX* const pContext = EVP_CIPHER_CTX_new();
    std::vector<unsigned char> output(rInput.size() + 32);
    int nSize = 0;
    int nLast = 0;
    const bool bDone =
        EVP_CipherInit_ex(pContext, EvpAes(eMode, rKey.size()), nullptr, rKey.data(), rIv.data(),
                          eAction == CCipher::eACTION_ENCRYPT ? 1 : 0) == 1 &&
        EVP_CIPHER_CTX_set_padding(pContext, 0) == 1 &&
        EVP_CipherUpdate(pContext, output.data(), &nSize, rInput.data(), static_cast<int>(rInput.size())) == 1 &&
        EVP_CipherFinal_ex(pContext, output.data() + nSize, &nLast) == 1;
    EVP_CIPHER_CTX_free(pContext);
    output.resize(bDone ? static_cast<std::size_t>(nSize + nLast) : 0);
    return output;
}

#endif
