#ifndef TESTS_SUPPORT_PRNG_MODEL_H
#define TESTS_SUPPORT_PRNG_MODEL_H
#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/prng_probe.h"

/// The generator's stream, computed with libcrypto's HMAC.
class CPrngModel
{
public:
    /// Begins in the generator's present state.
    CPrngModel()
        : m_seed(BytesAt(CPrngProbe::ms_auSeed, 0, 20)),
          m_current(BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24)),
          m_uRemaining(CPrngProbe::ms_uBytesRemaining)
    {
    }

    /// Begins where a generator does that has just been seeded.
    explicit CPrngModel(const std::vector<unsigned char>& rSeed) : m_seed(rSeed), m_current(24), m_uRemaining(0) {}

    std::vector<unsigned char> Draw(std::size_t uSize)
    {
        std::vector<unsigned char> drawn;
        while (drawn.size() < uSize)
        {
            if (m_uRemaining == 0) NextBlock();
            drawn.push_back(m_current[20 - m_uRemaining--]);
        }
        return drawn;
    }

    /// Whether the generator has come to the same state.
    bool IsStateOfGenerator() const
    {
        return m_seed == BytesAt(CPrngProbe::ms_auSeed, 0, 20) &&
               m_current == BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24) &&
               m_uRemaining == CPrngProbe::ms_uBytesRemaining;
    }

    /// Mixes a seed in as CSecurePrng::SetSeed() does.
    void SetSeed(const std::vector<unsigned char>& rSeed)
    {
        const std::vector<unsigned char> digest = EvpDigest(EVP_sha1(), rSeed);
        std::copy(digest.begin(), digest.end(), m_current.begin());
    }

private:
    void NextBlock()
    {
        StoreAt(m_current.data(), 20, LoadAt<std::uint32_t>(m_current.data(), 20) + 1);
        const std::vector<unsigned char> block = EvpHmac(EVP_sha1(), m_seed, m_current);
        std::copy(block.begin(), block.end(), m_current.begin());
        m_uRemaining = 20;
    }

    std::vector<unsigned char> m_seed;
    std::vector<unsigned char> m_current;
    unsigned int m_uRemaining;
};

#endif
