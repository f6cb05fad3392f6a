#include "framework/kernel/alive.h"

#include <stdint.h>

static_assert(sizeof(CAliveObj) == 616, "field order and widths are the binary interface");

namespace
{
// What an object gives its thread: as much of its address as fits, but never 0.
unsigned int ParameterOf(const CThread* pObject)
{
    const unsigned int uLow = static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pObject));
    return uLow != 0 ? uLow : 1;
}
}  // namespace

CAliveObj::CAliveObj()
    : m_eAliveState(eUNBORN), m_semStarted(CBinarySemaphore::eTAKEN, true), m_semGo(CBinarySemaphore::eTAKEN, true)
{
}

#ifdef __clang__
// Of an abstract class, clang++ leaves out the constructor of complete objects. g++ and the binary interface have it.
extern "C" QV_EXPORT void ConstructCompleteAliveObj() __asm__("_ZN9CAliveObjC1Ev")
    __attribute__((alias("_ZN9CAliveObjC2Ev")));
#endif

CAliveObj::~CAliveObj()
{
    Join(nullptr);  // here already: the thread still uses the members
}

QvResult CAliveObj::Activate(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority)
{
    QvResult res = QV_RES_INVALID_STATE;
    if (GetThreadSelf() != this)
    {
        const CMutexGuard guard(&m_mutexActivation);
        res = Start(pszName, uStackSize, ePriority);
        if (res >= 0) m_semStarted.Wait();
    }
    // After a failure as well: a thread that runs without all its attributes waits for it.
    m_semGo.Signal(false);
    return res;
}

QvResult CAliveObj::Start(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority)
{
    if (IsAlive()) return QV_RES_INVALID_STATE;
    Join(nullptr);  // not under the mutex of the state, which an ending run may still want
    // What a refused activation has signalled since the last run went: the next one begins when it is let go itself.
    m_semGo.TakeIfFree();
    const CMutexGuard guard(&m_mutexState);
    const EAliveState eBefore = m_eAliveState;
    m_eAliveState = eACTIVATING;
    const QvResult res = StartThread(StartMechanism, ParameterOf(this), pszName, uStackSize, ePriority);
    if (res < 0) m_eAliveState = eBefore;
    return res;
}

bool CAliveObj::IsAlive()
{
    const CMutexGuard guard(&m_mutexState);
    return m_eAliveState == eACTIVATING || m_eAliveState == eALIVE;
}

bool CAliveObj::IsDead()
{
    const CMutexGuard guard(&m_mutexState);
    return m_eAliveState == eDEAD;
}

bool CAliveObj::IsUnborn()
{
    const CMutexGuard guard(&m_mutexState);
    return m_eAliveState == eUNBORN;
}

unsigned int CAliveObj::StartMechanism(unsigned int uParameter)
{
    CThread* const pThread = GetThreadSelf();
    if (pThread == nullptr || uParameter != ParameterOf(pThread)) return 0;
    // Not by dynamic_cast: the object may be of a program that is built without run-time type information.
    static_cast<CAliveObj*>(pThread)->Live();  // NOLINT(cppcoreguidelines-pro-type-static-cast-downcast)
    return 0;
}

void CAliveObj::BehaviorTerminating()
{
}

void CAliveObj::Live()
{
    SetAliveState(eALIVE);
    m_semStarted.Signal(false);
    m_semGo.Wait();
    Behavior();
    if (GetThreadSelf() == nullptr) return;  // the behaviour has destroyed the object
    SetAliveState(eDEAD);
    BehaviorTerminating();
}

void CAliveObj::SetAliveState(EAliveState eState)
{
    const CMutexGuard guard(&m_mutexState);
    m_eAliveState = eState;
}
