// The random generator under the crypto lock: what all threads draw together is the one stream, no block of it twice
// and none missing.
#include <algorithm>
#include <mutex>

#include "framework/crypto/crypto.h"
#include "stress/stress.h"
#include "tests/support/prng_model.h"

namespace
{
constexpr unsigned int g_uBLOCK = 20;  // what the generator makes at a time
using Block = std::vector<unsigned char>;
}  // namespace

TEST(CryptoStress, AllThreadsDrawFromOneStream)
{
    unsigned char auFirst[g_uBLOCK];
    ASSERT_EQ(QV_RES_OK, CSecurePrng::Generate(sizeof(auFirst), auFirst));
    CPrngModel model;
    std::mutex mutex;
    std::vector<Block> drawn;
    StressThreads(4,
                  [&](unsigned int, CRandom& rRandom)
                  {
                      Block blocks(g_uBLOCK * (1 + Below(rRandom, 4)));
                      ASSERT_EQ(QV_RES_OK,
                                CSecurePrng::Generate(static_cast<unsigned int>(blocks.size()), blocks.data()));
                      const std::lock_guard guard(mutex);
                      // Long runs would keep millions: from some point on they are only drawn.
                      if (drawn.size() >= 200000) return;
                      for (auto it = blocks.begin(); it != blocks.end(); it += g_uBLOCK)
                          drawn.emplace_back(it, it + g_uBLOCK);
                  });
    std::sort(drawn.begin(), drawn.end());
    EXPECT_EQ(drawn.end(), std::adjacent_find(drawn.begin(), drawn.end())) << "two threads were given the same bytes";
    if (drawn.size() >= 200000) return;
    std::vector<Block> stream;
    for (std::size_t uBlock = 0; uBlock < drawn.size(); ++uBlock) stream.push_back(model.Draw(g_uBLOCK));
    std::sort(stream.begin(), stream.end());
    EXPECT_EQ(stream, drawn);
}

TEST(CryptoStress, TheLockIsOneForAll)
{
    unsigned long uInside = 0;  // no atomic: the lock is what guards it
    std::atomic<unsigned long> uEntered = 0;
    StressThreads(4,
                  [&](unsigned int uThread, CRandom&)
                  {
                      if (uThread == 0)
                      {
                          unsigned char uDrawn = 0;
                          ASSERT_EQ(QV_RES_OK, CSecurePrng::Generate(1, &uDrawn));
                          return;
                      }
                      CCrypto::Instance()->Enter();
                      ++uInside;
                      CCrypto::Instance()->Exit();
                      ++uEntered;
                  });
    EXPECT_EQ(uEntered, uInside);
}
