#ifndef TESTS_SUPPORT_DIGEST_ORACLE_H
#define TESTS_SUPPORT_DIGEST_ORACLE_H
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstddef>
#include <cstdint>
#include <vector>

/// libcrypto's digest of a message.
inline std::vector<unsigned char> EvpDigest(const EVP_MD* pAlgorithm, const void* pvData, std::size_t uSize)
{
    std::vector<unsigned char> digest(static_cast<std::size_t>(EVP_MD_get_size(pAlgorithm)));
    if (EVP_Digest(pvData, uSize, digest.data(), nullptr, pAlgorithm, nullptr) != 1) digest.clear();
    return digest;
}

inline std::vector<unsigned char> EvpDigest(const EVP_MD* pAlgorithm, const std::vector<unsigned char>& rMessage)
{
    return EvpDigest(pAlgorithm, rMessage.data(), rMessage.size());
}

/// libcrypto's HMAC of a message.
inline std::vector<unsigned char> EvpHmac(const EVP_MD* pAlgorithm, const std::vector<unsigned char>& rKey,
                                          const std::vector<unsigned char>& rMessage)
{
    // libcrypto takes a null key for "the one before".
    static const unsigned char uNone = 0;
    std::vector<unsigned char> code(static_cast<std::size_t>(EVP_MD_get_size(pAlgorithm)));
    const void* const pvKey = rKey.empty() ? &uNone : rKey.data();
    if (HMAC(pAlgorithm, pvKey, static_cast<int>(rKey.size()), rMessage.data(), rMessage.size(), code.data(),
             nullptr) == nullptr)
    {
        code.clear();
    }
    return code;
}

#endif
