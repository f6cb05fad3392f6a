#include "framework/kernel/alive.h"

static_assert(sizeof(CAliveObj) == 616, "field order and widths are the binary interface");

CAliveObj::CAliveObj()
    : m_eAliveState(eUNBORN), m_semStarted(CBinarySemaphore::eTAKEN, true), m_semGo(CBinarySemaphore::eTAKEN, true)
{
}

#ifdef __clang__
// Of an abstract class, clang++ leaves out the constructor of complete objects, which g++ emits. The binary interface has it.
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
    const CMutexGuard guard(&m_mutexState);
    const EAliveState eBefore = m_eAliveState;
    m_eAliveState = eACTIVATING;
    // The parameter says no more than that there is an object: its address does not fit.
    const QvResult res = StartThread(StartMechanism, 1, pszName, uStackSize, ePriority);
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
    if (uParameter == 0) return 0;
    CAliveObj* const pObject = dynamic_cast<CAliveObj*>(GetThreadSelf());
    if (pObject != nullptr) pObject->Live();
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
