#include "framework/kernel/alive.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "framework/kernel/memory_queue.h"
#include "framework/kernel/os_version.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "framework/kernel/thread.h"
#include "tests/clients/client.h"

namespace
{
class CMyAlive : public CAliveObj
{
public:
    CMyAlive()
        : m_semLeave(static_cast<CBinarySemaphore::EInitValue>(0), true),
          m_semEnded(static_cast<CBinarySemaphore::EInitValue>(0), true)
    {
    }
    ~CMyAlive() override { Join(nullptr); }

    void Behavior() override { m_semLeave.Wait(); }
    void BehaviorTerminating() override
    {
        CAliveObj::BehaviorTerminating();
        m_semEnded.Signal(false);
    }

    CBinarySemaphore m_semLeave;
    CBinarySemaphore m_semEnded;
};

class CMyQueue : public CMemoryQueue
{
public:
    ~CMyQueue() override = default;
};

void Alive()
{
    static_assert(std::is_base_of_v<CThread, CAliveObj> && std::is_convertible_v<CAliveObj*, CThread*>);
    Promised<QvResult (CAliveObj::*)(const char*, unsigned int, CThread::EPriority)>(&CAliveObj::Activate);
    Promised<unsigned int (*)(unsigned int)>(&CAliveObj::StartMechanism);
    CHECK(CAliveObj::StartMechanism(0) == 0);

    CMyAlive object;
    CHECK(object.IsUnborn() && !object.IsAlive() && !object.IsDead());
    const CThread::EPriority ePriority = static_cast<CThread::EPriority>(2);
    CHECK(object.Activate("alive", 0, ePriority) == QV_RES_OK && object.IsAlive());
    CHECK(object.Activate(nullptr, 0, ePriority) == QV_RES_INVALID_STATE);
    object.m_semLeave.Signal(false);
    object.m_semEnded.Wait();
    CHECK(object.IsDead());
    CAliveObj* const pBase = &object;
    CHECK(pBase->Activate(NULL, 0, ePriority) == QV_RES_OK);
    object.m_semLeave.Signal(false);
    object.m_semEnded.Wait();
}

void Queue()
{
    static_assert(std::has_virtual_destructor_v<CMemoryQueue>);
    Promised<bool (CMemoryQueue::*)(unsigned int, unsigned int)>(&CMemoryQueue::Initialize);
    Promised<void (CMemoryQueue::*)()>(&CMemoryQueue::Uninitialize);
    Promised<unsigned char* (CMemoryQueue::*)(unsigned int)>(&CMemoryQueue::Push);
    CMyQueue queue;
    CMemoryQueue* const pBase = &queue;
    CHECK(pBase->Initialize(2, 0) && !queue.Initialize(16, 1));
    queue.Uninitialize();
    CHECK(queue.Initialize(16, 1) && queue.Push(12) == nullptr && queue.Push(11) == nullptr);
    unsigned char* const puPayload = queue.Push(8);
    CHECK(puPayload != nullptr);
    for (unsigned int uIndex = 0; uIndex < 8; ++uIndex) puPayload[uIndex] = 1;
}

void Alignment()
{
    Promised<unsigned int (*)(unsigned int, unsigned long)>(&QV_ALIGNUP_VAL<unsigned int>);
    Promised<unsigned char* (*)(unsigned char*, long)>(&QV_ALIGNUP_PTR<unsigned char*>);
    CHECK(QV_ALIGNUP_VAL(5, 4) == 8 && QV_ALIGNUP_VAL(8, 4) == 8 && QV_ALIGNUP_VAL(0, 16) == 0);
    CHECK(QV_ALIGNUP_VAL<unsigned int>(5, 4) == 8u);
    alignas(8) unsigned char auBytes[16];
    CHECK(QV_ALIGNUP_PTR<unsigned char*>(auBytes + 1, 8) == auBytes + 8 && QV_ALIGNUP_PTR(auBytes, 8) == auBytes);
    CHECK(QV_ALIGNUP_PTR<unsigned char*>(nullptr, 8) == nullptr);
    CHECK(QV_ALIGNUP_PTR<unsigned char*>(0, 8) == nullptr && QV_ALIGNUP_PTR<unsigned char*>(NULL, 8) == nullptr);
}
}  // namespace

void AliveClient()
{
    Alive();
    Queue();
    Alignment();
    CHECK(COsVersion::GetOsVersion() == 6 && g_eOsVersion == 6);
    static_assert(std::is_enum_v<decltype(COsVersion::GetOsVersion())> && sizeof(g_eOsVersion) == 4);
    static_assert(std::is_same_v<decltype(COsVersion::GetOsVersion()), decltype(g_eOsVersion)>);
}
