#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <thread>

#include "tests/abi/foreign_hash.h"
#include "tests/abi/foreign_object.h"

class CMutex
{
public:
    CMutex();
    virtual ~CMutex();
    void Lock() const;
    void Unlock() const;

    mutable pthread_mutex_t m_mutex;
};

class CSingletonBase
{
};

template <typename T>
class CSingleton : public CSingletonBase
{
public:
    CSingleton();
    virtual ~CSingleton();
    static T* Instance();
    static void DestroyInstance();

    static T* ms_pInstance;
};

class CCrypto;
extern template class CSingleton<CCrypto>;

class CCrypto : public CSingleton<CCrypto>
{
public:
    CCrypto();
    ~CCrypto() override;
    void Enter();
    void Exit();
    static QvResult InitializeCCrypto();
    static void FinalizeCCrypto();

    CMutex m_mutex;
};

QvResult InitializeCCrypto();
void FinalizeCCrypto();

namespace
{
bool IsTaken(CCrypto& rCrypto)
{
    int nResult = -1;
    std::thread other(
        [&]
        {
            nResult = pthread_mutex_trylock(&rCrypto.m_mutex.m_mutex);
            if (nResult == 0) pthread_mutex_unlock(&rCrypto.m_mutex.m_mutex);
        });
    other.join();
    return nResult == EBUSY;
}
}  // namespace

TEST(CCryptoLayout, HasTheMutexRightBehindTheSingletonBase)
{
    CCrypto crypto;
    const std::vector<std::string> destructors{"CMutex::~CMutex()", "CMutex::~CMutex()"};
    EXPECT_EQ(destructors, TableOf(&crypto.m_mutex));
    EXPECT_FALSE(IsTaken(crypto));
    crypto.Enter();
    EXPECT_TRUE(IsTaken(crypto));
    crypto.Exit();
    EXPECT_FALSE(IsTaken(crypto));
}

TEST(CCryptoLayout, SizeIsThatOfAPointerAndAMutex)
{
    static_assert(sizeof(CMutex) == 48);
    static_assert(sizeof(CCrypto) == 56);
    EXPECT_EQ(56u, SizeToldByDelete(new CCrypto));
}

TEST(CCryptoSlots, AreTheDestructorsAlone)
{
    const CCrypto crypto;
    EXPECT_EQ(0, OffsetToTop(&crypto));
    EXPECT_EQ((std::vector<std::string>{"CCrypto::~CCrypto()", "CCrypto::~CCrypto()"}), TableOf(&crypto));

    const CSingleton<CCrypto> base;
    EXPECT_EQ(std::vector<std::string>(2, "CSingleton<CCrypto>::~CSingleton()"), TableOf(&base));
}

TEST(CCrypto, SingletonIsMadeOnFirstUseAndDestroyedByEitherFinaliser)
{
    for (void (*const pfnDestroy)() :
         {static_cast<void (*)()>(FinalizeCCrypto), CCrypto::FinalizeCCrypto, CSingleton<CCrypto>::DestroyInstance})
    {
        CCrypto* const pcrypto = CSingleton<CCrypto>::Instance();
        ASSERT_NE(nullptr, pcrypto);
        EXPECT_EQ(pcrypto, CSingleton<CCrypto>::ms_pInstance);
        EXPECT_EQ(pcrypto, CSingleton<CCrypto>::Instance());
        pcrypto->Enter();
        EXPECT_TRUE(IsTaken(*pcrypto));
        pcrypto->Exit();
        pfnDestroy();
        EXPECT_EQ(nullptr, CSingleton<CCrypto>::ms_pInstance);
    }
}

TEST(CCrypto, EitherInitialiserDrawsAndSoMakesTheSingleton)
{
    for (QvResult (*const pfnInitialize)() :
         {static_cast<QvResult (*)()>(InitializeCCrypto), CCrypto::InitializeCCrypto})
    {
        CSingleton<CCrypto>::DestroyInstance();
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_NE(nullptr, CSingleton<CCrypto>::ms_pInstance);
    }
}

TEST(CHashSlots, AreTheDestructorsThenEightPureOperations)
{
    EXPECT_EQ("--pppppppp", PureSlots("_ZTV5CHash"));
}
