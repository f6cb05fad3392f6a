// Runs jobs again and again, each with a period of its own, by two workers, until it is interrupted:
// scheduler PERIOD_MS...
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstdio>

#include "framework/framework.h"

constexpr unsigned int g_uTICK_MS = 10;

struct SJob
{
    unsigned int uId = 0;
    unsigned int uPeriodMs = 0;
    unsigned int uRuns = 0;
};

/// Jobs that are due, between those who put them in and those who take them out.
class CDueJobs
{
public:
    bool Initialize() { return m_queue.Initialize(64 * 1024, alignof(SJob)); }

    /// False when there is no room.
    bool Put(const SJob& rJob)
    {
        {
            const CMutexGuard guard(&m_mutex);
            if (!m_queue.PushCopy(&rJob, sizeof(rJob))) return false;
        }
        m_semJobs.Signal(false);
        return true;
    }

    /// Waits for a job. False when no more will come.
    bool Take(SJob* pJob)
    {
        while (!m_semJobs.Wait()) continue;
        const CMutexGuard guard(&m_mutex);
        if (m_queue.PopCopy(pJob, sizeof(*pJob))) return true;
        m_semJobs.Signal(false);  // for the next one who waits
        return false;
    }

    /// After the last Put().
    void Close() { m_semJobs.Signal(false); }

private:
    CMutex m_mutex;
    CMemoryQueue m_queue;
    CSemaphore m_semJobs{0, 0x7FFFFFFF, false};
};

class CWorker : public CAliveObj
{
public:
    explicit CWorker(CDueJobs& rDueJobs) : m_rDueJobs(rDueJobs) {}
    ~CWorker() override { Join(nullptr); }
    /// After the join.
    unsigned int GetCount() const { return m_uCount; }

private:
    void Behavior() override
    {
        for (SJob job; m_rDueJobs.Take(&job); ++m_uCount) std::printf("job %u, run %u\n", job.uId, job.uRuns);
    }

    CDueJobs& m_rDueJobs;
    unsigned int m_uCount = 0;
};

/// Puts each job in whenever its period is over.
class CScheduler : public CAliveObj
{
public:
    explicit CScheduler(CDueJobs& rDueJobs) : m_rDueJobs(rDueJobs) {}
    ~CScheduler() override { Stop(); }

    /// Before the activation.
    QvResult Add(unsigned int uPeriodMs)
    {
        if (uPeriodMs == 0) return QV_RES_INVALID_ARGUMENT;
        return m_jobs.Append(SJob{m_jobs.GetSize() + 1, uPeriodMs, 0});
    }

    /// No job is put in any more; the workers finish those that are in, and end.
    void Stop()
    {
        m_bStop = true;
        m_timer.StopCyclicWait();
        Join(nullptr);
        m_rDueJobs.Close();
    }

    /// After the stop.
    unsigned int GetCount() const { return m_uCount; }

private:
    void Behavior() override
    {
        const unsigned long uStartMs = CTimer::GetSystemUpTimeMs();
        m_timer.StartCyclicWait(g_uTICK_MS);
        while (m_timer.CyclicWait(false) && !m_bStop)
        {
            const unsigned long uPassedMs = CTimer::GetSystemUpTimeMs() - uStartMs;
            for (SJob& rJob : m_jobs)
                while (rJob.uRuns < uPassedMs / rJob.uPeriodMs) PutNextRun(rJob);
        }
    }

    void PutNextRun(SJob& rJob)
    {
        ++rJob.uRuns;
        if (m_rDueJobs.Put(rJob)) ++m_uCount;
        else
            std::fprintf(stderr, "scheduler: job %u, run %u is left out: too many are waiting\n", rJob.uId, rJob.uRuns);
    }

    CDueJobs& m_rDueJobs;
    CTimer m_timer;
    CVector<SJob> m_jobs;
    std::atomic<bool> m_bStop = false;
    unsigned int m_uCount = 0;
};

QvResult Run(int nPeriods, char** ppszPeriods, const sigset_t& rSignals)
{
    CDueJobs dueJobs;
    if (!dueJobs.Initialize()) return QV_RES_OUT_OF_MEMORY;
    CWorker firstWorker(dueJobs), secondWorker(dueJobs);
    CScheduler scheduler(dueJobs);  // behind the workers: its end, on every way out, is theirs
    for (int n = 0; n < nPeriods; ++n)
    {
        unsigned int uPeriodMs = 0;
        QV_RETURN_IF_FAILED(CString::ParseNumber(ppszPeriods[n], &uPeriodMs));
        QV_RETURN_IF_FAILED(scheduler.Add(uPeriodMs));
    }
    QV_RETURN_IF_FAILED(firstWorker.Activate("first worker", 0, CThread::eNORMAL));
    QV_RETURN_IF_FAILED(secondWorker.Activate("second worker", 0, CThread::eNORMAL));
    QV_RETURN_IF_FAILED(scheduler.Activate("scheduler", 0, CThread::eNORMAL));

    int nSignal = 0;
    if (sigwait(&rSignals, &nSignal) != 0) return QV_RES_FAIL;
    scheduler.Stop();
    firstWorker.Join(nullptr);
    secondWorker.Join(nullptr);
    const unsigned int uDone = firstWorker.GetCount() + secondWorker.GetCount();
    std::printf("stopped: %u runs put in, %u done\n", scheduler.GetCount(), uDone);
    return QV_RES_OK;
}

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before threads are started, which inherit it
    const CFrameworkScope framework;
    QvResult res = framework.GetResult();
    if (QvSucceeded(res)) res = Run(argc - 1, argv + 1, signals);
    if (QvFailed(res)) std::fprintf(stderr, "scheduler: %s\n", QvResultName(res));
    return QvFailed(res) ? 1 : 0;
}
