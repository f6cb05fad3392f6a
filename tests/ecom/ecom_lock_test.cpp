// The C library's mutex functions are replaced here, to see which operations of a component take its lock.
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "framework/ecom/unknown.h"
#include "tests/support/gate.h"
#include "tests/support/real_mutex.h"

namespace
{
thread_local int t_nLocks = 0;
// Opened when the thread is about to take, or to leave, the next mutex; it then passes the other gate, if there is one.
thread_local CGate* t_pAtLock = nullptr;
thread_local CGate* t_pMayLock = nullptr;
thread_local CGate* t_pAtUnlock = nullptr;
thread_local CGate* t_pMayUnlock = nullptr;
// Likewise when it has left it.
thread_local CGate* t_pBehindUnlock = nullptr;
thread_local CGate* t_pMayGoOn = nullptr;

// The gate's own mutex comes by here as well: so it is forgotten first.
void OpenOnce(CGate*& rpGate)
{
    CGate* const pGate = rpGate;
    rpGate = nullptr;
    if (pGate != nullptr) pGate->Open();
}
}  // namespace

extern "C"
{
    QV_EXPORT int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
    {
        ++t_nLocks;
        CGate* const pMayLock = t_pAtLock != nullptr ? t_pMayLock : nullptr;
        OpenOnce(t_pAtLock);
        if (pMayLock != nullptr) pMayLock->Pass();
        return RealMutexLock(pMutex);
    }
    QV_EXPORT int pthread_mutex_unlock(pthread_mutex_t* pMutex) noexcept
    {
        if (t_pAtUnlock != nullptr)
        {
            OpenOnce(t_pAtUnlock);
            t_pMayUnlock->Pass();
        }
        const int nResult = RealMutexUnlock(pMutex);
        if (t_pBehindUnlock != nullptr)
        {
            OpenOnce(t_pBehindUnlock);
            t_pMayGoOn->Pass();
        }
        return nResult;
    }
}

namespace
{
template <typename Operation>
int LocksOf(Operation&& rOperation)
{
    const int nBefore = t_nLocks;
    rOperation();
    return t_nLocks - nBefore;
}

/// May outlive its last reference.
class CKept : public CEComUnknown
{
public:
    using CEComUnknown::CEComUnknown;
    void UninitializeInstance(bool* pbDeleteThis) override
    {
        ++nEndings;
        CEComUnknown::UninitializeInstance(pbDeleteThis);
        *pbDeleteThis = !bKeep;
    }

    bool bKeep = false;
    int nEndings = 0;
};

TEST(CEComUnknownLock, IsTakenForEveryChangeOfTheCount)
{
    CGate end;
    std::thread other([&end] { end.Pass(); });  // components do not lock in a process of one thread
    CEComUnknown* const pObject = new CEComUnknown(nullptr);
    EXPECT_EQ(1, LocksOf([=] { EXPECT_EQ(2u, pObject->NonDelegatingAddIfRef()); }));
    EXPECT_EQ(1, LocksOf([=] { EXPECT_EQ(3u, pObject->NonDelegatingAddIfRef()); }));
    EXPECT_EQ(1, LocksOf([=] { EXPECT_EQ(3u, pObject->GetReferenceCount()); }));
    EXPECT_EQ(1, LocksOf([=] { EXPECT_EQ(2u, pObject->NonDelegatingReleaseIfRef()); }));
    EXPECT_EQ(1, LocksOf([=] { EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef()); }));
    EXPECT_EQ(2, LocksOf([=] { EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef()); }))
        << "the last release, and the reference that the object takes while it ends";
    end.Open();
    other.join();
}

// A cache does not count what it knows; an object that ends tells it, and takes itself away.
TEST(CEComUnknownLock, LetsACacheAddAReferenceBeforeTheLastOneGoes)
{
    CKept* const pObject = new CKept(nullptr);
    pObject->bKeep = true;
    CGate atLock;
    CGate added;
    std::thread holder(
        [&]
        {
            t_pAtLock = &atLock;
            t_pMayLock = &added;
            EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef()) << "the cache was first";
            t_pMayLock = nullptr;
            OpenOnce(t_pAtLock);  // nobody shall wait for a mutex that was not taken
        });
    atLock.Pass();
    EXPECT_EQ(2u, pObject->NonDelegatingAddIfRef());
    added.Open();
    holder.join();
    EXPECT_EQ(0, pObject->nEndings);
    pObject->bKeep = false;
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
}

TEST(CEComUnknownLock, IsLeftByAllOthersBeforeTheObjectEnds)
{
    CKept* const pObject = new CKept(nullptr);
    pObject->bKeep = true;
    pObject->NonDelegatingAddIfRef();
    CGate released;
    CGate mayLeave;
    std::thread other(
        [&]
        {
            t_pAtUnlock = &released;
            t_pMayUnlock = &mayLeave;
            EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef());
            OpenOnce(t_pAtUnlock);  // nobody shall wait for a mutex that was not taken
        });
    released.Pass();  // the count is 1, and the other thread still in the mutex
    t_pAtLock = &mayLeave;
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
    EXPECT_EQ(nullptr, t_pAtLock) << "the object has ended under the other thread";
    OpenOnce(t_pAtLock);
    other.join();
    pObject->bKeep = false;
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
}

TEST(CEComUnknownLock, CoversTheCountThatAReleaseAnswersWith)
{
    CEComUnknown* const pObject = new CEComUnknown(nullptr);
    pObject->NonDelegatingAddIfRef();
    CGate released;
    CGate taken;
    std::thread other(
        [&]
        {
            t_pBehindUnlock = &released;
            t_pMayGoOn = &taken;
            EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef());
        });
    released.Pass();
    EXPECT_EQ(2u, pObject->NonDelegatingAddIfRef());
    taken.Open();
    other.join();
    EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
}
}  // namespace
