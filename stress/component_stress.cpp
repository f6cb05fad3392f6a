// Components that many threads take and drop: a count tells the truth at every time, so that a cache which holds no
// reference of its own can tell an object that is ending from one that lives.
#include <mutex>

#include "framework/ecom/component.h"
#include "stress/stress.h"

namespace
{
class CCached;
std::mutex g_mutexCache;
CCached* g_pCached = nullptr;
std::atomic<int> g_nLive = 0;

class CCached : public CEComUnknown
{
public:
    CCached() : CEComUnknown(nullptr) { ++g_nLive; }
    ~CCached() override
    {
        m_uAlive = 0;
        --g_nLive;
    }
    void UninitializeInstance(bool* pbDeleteThis) override
    {
        {
            const std::lock_guard guard(g_mutexCache);
            if (g_pCached == this) g_pCached = nullptr;
        }
        CEComUnknown::UninitializeInstance(pbDeleteThis);
    }

    unsigned int m_uAlive = 1;
};

// The object in the cache, counted; a new one where there is none, or where the one there is ending.
CCached* TakeFromCache()
{
    const std::lock_guard guard(g_mutexCache);
    if (g_pCached != nullptr && g_pCached->NonDelegatingAddIfRef() > 1) return g_pCached;
    return g_pCached = new CCached;
}

class IPart : public IEComUnknown
{
    QV_ECOM_INTERFACE(IPart, IEComUnknown)
    virtual unsigned int GetValue() const = 0;
};

class CPart : public CEComComponent<IPart>
{
public:
    explicit CPart(IEComUnknown* pOuterUnknown) : CEComComponent(pOuterUnknown) { ++g_nLive; }
    ~CPart() override { --g_nLive; }
    unsigned int GetValue() const override { return 7; }
};

QV_ECOM_GUID(CLSID_Part, "stress.Part");
}  // namespace

TEST(ComponentStress, ACacheThatCountsNothingSeesWhatIsEnding)
{
    StressThreads(4,
                  [](unsigned int, CRandom& rRandom)
                  {
                      CCached* const pObject = TakeFromCache();
                      EXPECT_EQ(1u, pObject->m_uAlive) << "used after its end";
                      if (Below(rRandom, 2) == 0)
                      {
                          pObject->NonDelegatingAddIfRef();
                          pObject->NonDelegatingReleaseIfRef();
                      }
                      pObject->NonDelegatingReleaseIfRef();
                  });
    EXPECT_EQ(0, g_nLive);
}

TEST(ComponentStress, ClassesComeAndGoWhileObjectsAreMade)
{
    StressThreads(4,
                  [](unsigned int uThread, CRandom&)
                  {
                      if (uThread == 0)
                      {
                          EXPECT_EQ(QV_RES_OK, RegisterECom(&CLSID_Part, CreateEComObject<CPart>));
                          EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Part));
                          return;
                      }
                      CEComPtr<IPart> pPart;
                      const QvResult res = pPart.CreateInstance(&CLSID_Part);
                      EXPECT_TRUE(res == QV_RES_OK || res == QV_RES_CLASS_NOT_REGISTERED) << res;
                      if (res < 0) return;
                      EXPECT_EQ(7u, pPart->GetValue());
                      CEComPtr<IEComUnknown> pUnknown;
                      EXPECT_EQ(QV_RES_OK, pUnknown.QueryFrom(pPart.Get()));
                      EXPECT_TRUE(IsEqualECom(pPart.Get(), pUnknown.Get()));
                  });
    EXPECT_EQ(0, g_nLive);
}

TEST(ComponentStress, ReferencesOfOneObjectAddUp)
{
    CEComUnknown* const pObject = new CCached;
    StressThreads(4,
                  [&](unsigned int, CRandom& rRandom)
                  {
                      const unsigned int uTaken = Below(rRandom, 5);
                      for (unsigned int u = 0; u < uTaken; ++u) EXPECT_LT(1u, pObject->NonDelegatingAddIfRef());
                      for (unsigned int u = 0; u < uTaken; ++u) EXPECT_LT(0u, pObject->NonDelegatingReleaseIfRef());
                  });
    EXPECT_EQ(1u, pObject->GetReferenceCount());
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0, g_nLive);
}
