// An activation is a handshake of two threads:
// ```
//   Activate()                                    the thread of the object
//   state = activating, StartThread() ----------->
//                                                 state = alive
//   m_semStarted.Wait() <------------------------ m_semStarted.Signal()
//   m_semGo.Signal() ---------------------------> m_semGo.Wait()
//                                                 Behavior()
//                                                 state = dead, BehaviorTerminating()
// ```
// m_mutexActivation lets one activation go on at a time. m_mutexState guards the state alone. Start() holds it until
// the result of StartThread() is known, but not while it joins the run before, which still needs it.
//
// The behaviour may delete the object, so m_semGo holds it back until Activate() no longer needs the object. If it has
// deleted the object, GetThreadSelf() is null when it returns, and no member is touched any more.
#include "framework/kernel/alive.h"

#include <stdint.h>

static_assert(sizeof(CAliveObj) == 616, "field order and widths are the binary interface");

namespace
{
// The parameter of the thread: the lower half of the address of the object, but never 0.
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
// For an abstract class, clang++ emits no constructor of complete objects. g++ does, and the binary interface has it.
extern "C" QV_EXPORT void ConstructCompleteAliveObj() __asm__("_ZN9CAliveObjC1Ev")
    __attribute__((alias("_ZN9CAliveObjC2Ev")));
#endif

CAliveObj::~CAliveObj()
{
    Join(nullptr);  // before the members are destroyed, which the thread still uses
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
    // After a failure as well: a thread that runs in spite of QV_RES_THREAD_ATTRIBUTES waits for it.
    m_semGo.Signal(false);
    return res;
}

QvResult CAliveObj::Start(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority)
{
    if (IsAlive()) return QV_RES_INVALID_STATE;
    Join(nullptr);  // not under m_mutexState, which an ending run may still need
    // An activation that was refused has signalled m_semGo, too. Without this the next behaviour would not wait for its
    // own signal.
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
