// examples/scheduler with POCO.
#include <Poco/Exception.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <Poco/NumberParser.h>
#include <Poco/Runnable.h>
#include <Poco/Thread.h>
#include <Poco/Timer.h>
#include <Poco/Timestamp.h>
#include <pthread.h>
#include <signal.h>

#include <cstdio>
#include <vector>

constexpr long tickMs = 10;

struct Job
{
    unsigned int id = 0;
    unsigned int periodMs = 0;
    unsigned int runs = 0;
};

class DueJob : public Poco::Notification
{
public:
    explicit DueJob(const Job& job) : m_job(job) {}
    const Job& job() const { return m_job; }

private:
    Job m_job;
};

class Worker : public Poco::Runnable
{
public:
    explicit Worker(Poco::NotificationQueue& dueJobs) : m_dueJobs(dueJobs) {}
    void run() override
    {
        while (true)
        {
            const Poco::AutoPtr<Poco::Notification> notification(m_dueJobs.waitDequeueNotification());
            const auto* const due = dynamic_cast<const DueJob*>(notification.get());
            if (due == nullptr) return;
            std::printf("job %u, run %u\n", due->job().id, due->job().runs);
            ++m_count;
        }
    }
    unsigned int count() const { return m_count; }

private:
    Poco::NotificationQueue& m_dueJobs;
    unsigned int m_count = 0;
};

/// Puts each job in whenever its period is over.
class Scheduler
{
public:
    Scheduler(Poco::NotificationQueue& dueJobs, const std::vector<Job>& jobs) : m_dueJobs(dueJobs), m_jobs(jobs) {}
    ~Scheduler() { stop(); }

    void start() { m_timer.start(Poco::TimerCallback<Scheduler>(*this, &Scheduler::onTick)); }
    void stop() { m_timer.stop(); }
    unsigned int count() const { return m_count; }

private:
    void onTick(Poco::Timer&)
    {
        const auto passedMs = m_start.elapsed() / 1000;
        for (Job& job : m_jobs)
            while (job.runs < passedMs / job.periodMs) putNextRun(job);
    }

    void putNextRun(Job& job)
    {
        ++job.runs;
        if (m_dueJobs.size() < 4096)
        {
            m_dueJobs.enqueueNotification(new DueJob(job));
            ++m_count;
        }
        else std::fprintf(stderr, "scheduler: job %u, run %u is left out: too many are waiting\n", job.id, job.runs);
    }

    Poco::NotificationQueue& m_dueJobs;
    std::vector<Job> m_jobs;
    Poco::Timestamp m_start;
    unsigned int m_count = 0;
    Poco::Timer m_timer{tickMs, tickMs};
};

void run(int argc, char** argv, const sigset_t& signals)
{
    std::vector<Job> jobs;
    for (int n = 1; n < argc; ++n)
    {
        jobs.push_back({static_cast<unsigned int>(n), Poco::NumberParser::parseUnsigned(argv[n]), 0});
        if (jobs.back().periodMs == 0) throw Poco::InvalidArgumentException("no period");
    }
    Poco::NotificationQueue dueJobs;
    Worker firstWorker(dueJobs), secondWorker(dueJobs);
    Poco::Thread firstThread, secondThread;
    firstThread.start(firstWorker);
    secondThread.start(secondWorker);
    Scheduler scheduler(dueJobs, jobs);
    scheduler.start();

    int signal = 0;
    sigwait(&signals, &signal);
    scheduler.stop();
    for (int n = 0; n < 2; ++n) dueJobs.enqueueNotification(new Poco::Notification);
    firstThread.join();
    secondThread.join();
    const unsigned int done = firstWorker.count() + secondWorker.count();
    std::printf("stopped: %u runs put in, %u done\n", scheduler.count(), done);
}

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before threads are started, which inherit it
    try
    {
        run(argc, argv, signals);
    }
    catch (const Poco::Exception& error)
    {
        std::fprintf(stderr, "scheduler: %s\n", error.displayText().c_str());
        return 1;
    }
    return 0;
}
