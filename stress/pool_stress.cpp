// Blocks of the pool: none is handed out to two threads at a time, and the count comes back to where it was.
#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"
#include "stress/stress.h"

namespace
{
class CPoolProbe : public CPool<CMarshaler>
{
public:
    using CPool<CMarshaler>::ms_uAllocatedCount;
};
}  // namespace

TEST(PoolStress, ABlockHasOneTaker)
{
    const unsigned int uAllocated = CPoolProbe::ms_uAllocatedCount;
    StressThreads(4,
                  [](unsigned int uThread, CRandom& rRandom)
                  {
                      std::vector<unsigned int*> blocks(1 + Below(rRandom, 8));
                      for (unsigned int*& rpBlock : blocks)
                      {
                          rpBlock = static_cast<unsigned int*>(CPool<CMarshaler>::Allocate());
                          ASSERT_NE(nullptr, rpBlock);
                          *rpBlock = uThread;
                      }
                      for (unsigned int* const pBlock : blocks)
                      {
                          ASSERT_EQ(uThread, *pBlock) << "somebody else writes there";
                          CPool<CMarshaler>::Deallocate(pBlock);
                      }
                  });
    EXPECT_EQ(uAllocated, CPoolProbe::ms_uAllocatedCount);
}

TEST(PoolStress, MarshalersOfManyThreadsKeepTheirBytes)
{
    const unsigned int uAllocated = CPoolProbe::ms_uAllocatedCount;
    StressThreads(4,
                  [](unsigned int uThread, CRandom& rRandom)
                  {
                      CMarshaler marshaler;
                      const unsigned int uCount = Below(rRandom, 100);
                      for (unsigned int uValue = 0; uValue < uCount; ++uValue) marshaler << uValue * 4 + uThread;
                      for (unsigned int uValue = 0; uValue < uCount; ++uValue)
                      {
                          unsigned int uRead = 0;
                          marshaler >> uRead;
                          ASSERT_EQ(uValue * 4 + uThread, uRead);
                      }
                  });
    EXPECT_EQ(uAllocated, CPoolProbe::ms_uAllocatedCount);
}
