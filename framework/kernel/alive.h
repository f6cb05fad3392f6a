#ifndef FRAMEWORK_KERNEL_ALIVE_H
#define FRAMEWORK_KERNEL_ALIVE_H
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "framework/kernel/thread.h"

/// An object with a thread of its own, on which its behaviour runs once for each activation:
/// ```
/// class CCopier : public CAliveObj
/// {
/// public:
///     ~CCopier() override { m_bStop = true; Join(nullptr); }
/// private:
///     void Behavior() override { while (!m_bStop) ... }
///     std::atomic<bool> m_bStop = false;
/// };
///
///         Activate()               thread runs          Behavior() returns        Activate()
/// unborn -----------> activating -------------> alive -------------------> dead -----------> activating
/// ```
///
/// - **Ownership:** The object must live until its thread has ended. A derived class ends its behaviour and calls
///   Join() in its destructor, while its members are still there. Behavior() may itself "delete this", provided that no
///   other thread can be in a member then: nothing is touched afterwards, and BehaviorTerminating() is not called.
/// - **Threads:** Activate() and the three queries from any thread.
/// - **Lifetime:** As of CThread.
class QV_EXPORT CAliveObj : public CThread
{
public:
    /// Unborn: without a thread until Activate().
    CAliveObj();
    /// Waits for the thread, unless it is the caller. The derived parts of the object are destroyed by then: see
    /// Ownership.
    ~CAliveObj() override;

    /// Starts the behaviour; returns when the thread runs. A dead object first waits until its last run has ended,
    /// BehaviorTerminating() included. The arguments are those of CThread::StartThread().
    ///
    /// - `QV_RES_OK`: the object is alive.
    /// - `QV_RES_INVALID_STATE`: it is alive already, or the caller is its own thread.
    /// - `QV_RES_THREAD_ATTRIBUTES`: the behaviour runs, but nobody has waited for its thread, and one of the next
    ///   calls may return before its thread runs: join and destroy the object.
    /// - `QV_RES_THREAD_CREATE_FAILED`: the system refused the thread.
    /// - `QV_RES_INVALID_ARGUMENT`: ePriority is none of the four.
    [[nodiscard]] QvResult Activate(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority);

    /// From Activate() until Behavior() has returned. Exactly one of IsAlive(), IsDead() and IsUnborn() is true.
    bool IsAlive();
    /// From the end of Behavior() on, until the next Activate().
    bool IsDead();
    /// Before the first Activate().
    bool IsUnborn();

    /// The function of the object's thread; it finds the object through the thread that it runs on, whose parameter is
    /// the lower half of the object's address. Does nothing for 0 and on other threads. Returns 0.
    static unsigned int StartMechanism(unsigned int uParameter);

protected:
    /// The work of the object.
    virtual void Behavior() = 0;
    /// Called on the object's thread when the behaviour has returned and the object is dead.
    virtual void BehaviorTerminating();

private:
    enum EAliveState : unsigned int
    {
        eUNBORN = 1,
        eACTIVATING = 2,
        eALIVE = 3,
        eDEAD = 4
    };

    QV_HIDDEN QvResult Start(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority);
    QV_HIDDEN void Live();
    QV_HIDDEN void SetAliveState(EAliveState eState);

    EAliveState m_eAliveState;
    CBinarySemaphore m_semStarted;
    CBinarySemaphore m_semGo;
    /// Taken before m_mutexState where both are.
    CMutex m_mutexActivation;
    CMutex m_mutexState;
};

#endif
