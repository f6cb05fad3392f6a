#ifndef FRAMEWORK_KERNEL_FRAMEWORK_INITIALIZER_H
#define FRAMEWORK_KERNEL_FRAMEWORK_INITIALIZER_H
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// Brings the framework up and down, in one fixed order of its modules:
/// ```
/// if (CFrameworkInitializer::Initialize() < 0) return 1;
/// ...
/// CFrameworkInitializer::Finalize();
/// ```
///
/// Calls are counted: each user in a process initialises and finalises for itself, and the modules live from the first
/// Initialize() to the matching last Finalize(). CFrameworkScope does both for a scope.
///
/// - **Threads:** No locking: from one thread at a time, before other threads use the framework and after they have
///   stopped.
class QV_EXPORT CFrameworkInitializer
{
public:
    /// How far start-up got: the stage of the last module that came up. Numbers between count as the one below.
    enum EFinalizeFrom : int
    {
        eFROM_ASSERT = 1,
        eFROM_RESULT = 3,
        eFROM_THREAD = 5,
        eFROM_DEFAULT_ALLOCATOR = 7,
        eFROM_SINGLETON = 8,
        eFROM_STRING = 9,
        eFROM_EVENT_NOTIFIER = 10,
        eFROM_TIMER = 11,
        eFROM_TRACE_KERNEL = 12,
        eFROM_TIME = 13,
        eFROM_TRACE_TIME = 14,
        eFROM_ECOM = 15,
        eFROM_POOL = 17,
        eFROM_AATREE = 18,
        eFROM_STRING_FORMAT = 26,
        eFROM_FAULT = 27,
        eFROM_CRYPTO = 29,
        eFROM_AES = 35,
        eFROM_SECURE_PRNG = 36,
        eFROM_SECURE_SEED = 37,
        eFROM_ALL = 38
    };

    /// Brings every module up on the first call; later calls only count. On a failure what came up is taken down again,
    /// and the count stays.
    ///
    /// - `QV_RES_OK`: the framework is up.
    /// - `QV_RES_FAIL`: the operating system has no key for thread-specific data left.
    ///
    /// What operator new throws passes through, after what came up was taken down again as after a failure: it may be
    /// tried again. Memory that is short without an exception does not end start-up: CAes then offers fewer modes, and
    /// the system's time zone is UTC.
    [[nodiscard]] static QvResult Initialize();

    /// Takes everything down when it matches the first Initialize(). Waits until every thread started through the
    /// framework has ended. Without a matching Initialize() the count wraps and nothing is taken down.
    /// Never from a thread that the framework started, and not in a child of fork() whose parent had such threads
    /// running: it would wait for ever. End such a child with _exit() or an exec.
    static void Finalize();

    /// Takes down every module whose stage is at most eFrom, in the reverse order of start-up; eFROM_ALL begins with
    /// the trace kernel and the threads. Values that are no stage do nothing. Meant for Initialize() and Finalize().
    static void PartialFinalize(EFinalizeFrom eFrom);

    /// Initialize() calls not yet matched by Finalize().
    static unsigned int ms_uInitializationCount;
};

/// Keeps the framework up for a scope; GetResult() tells whether it is.
class [[nodiscard]] CFrameworkScope
{
public:
    /// Initialize(); GetResult() tells what came of it.
    CFrameworkScope() : m_res(CFrameworkInitializer::Initialize()) {}
    /// Finalize(), if the framework came up.
    ~CFrameworkScope()
    {
        if (m_res >= 0) CFrameworkInitializer::Finalize();
    }
    CFrameworkScope(const CFrameworkScope&) = delete;
    CFrameworkScope& operator=(const CFrameworkScope&) = delete;

    /// What Initialize() returned.
    QvResult GetResult() const { return m_res; }

private:
    QvResult m_res;
};

#endif
