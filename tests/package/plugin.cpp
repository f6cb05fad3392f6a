// A module that a program loads while it runs, and that brings the framework up for itself.
#include <cstring>

#include "framework/framework.h"

extern "C" QV_EXPORT int Open()
{
    return CFrameworkInitializer::Initialize();
}

extern "C" QV_EXPORT void Close()
{
    CFrameworkInitializer::Finalize();
}

namespace
{
unsigned int Increment(unsigned int uParameter)
{
    static_cast<void>(uParameter);
    return 1;
}

unsigned int DestroyItsObject(unsigned int uParameter)
{
    delete CThread::GetThreadSelf();
    return uParameter;
}
}  // namespace

// Threads that nobody joins: only the shut-down waits for them.
extern "C" QV_EXPORT void LeaveThreads()
{
    for (unsigned int u = 0; u < 3; ++u)
    {
        CThread* const pThread = new CThread;
        if (pThread->StartThread(DestroyItsObject, u, nullptr, 0, CThread::eNORMAL) < 0) delete pThread;
    }
}

// Goes through what is set up at start-up: strings, the pool, singletons, threads and the crypto lock.
extern "C" QV_EXPORT bool Work()
{
    CString strText("text"), strCopy;
    CMarshaler marshaler;
    marshaler << strText >> strCopy;
    unsigned char auRandom[16] = {};
    const unsigned char auNone[16] = {};
    const bool bDrawn = CSecurePrng().Generate(sizeof(auRandom), auRandom) >= 0;
    CThread thread;
    unsigned int uExitCode = 0;
    const bool bRan =
        thread.StartThread(Increment, 0, nullptr, 0, CThread::eNORMAL) >= 0 && thread.Join(&uExitCode) >= 0;
    CVector<int> vecn;
    const bool bAppended = vecn.Append(7) >= 0;
    return strCopy == "text" && bDrawn && std::memcmp(auRandom, auNone, sizeof(auNone)) != 0 && bRan &&
           uExitCode == 1 && bAppended && vecn[0] == 7;
}
