// examples/scheduler with the standard library.
#include <pthread.h>
#include <signal.h>

#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

constexpr std::chrono::milliseconds tick(10);

struct Job
{
    unsigned int id = 0;
    unsigned int periodMs = 0;
    unsigned int runs = 0;
};

/// Jobs that are due, between those who put them in and those who take them out.
class DueJobs
{
public:
    /// False when there is no room.
    bool put(const Job& job)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_jobs.size() == 4096) return false;
            m_jobs.push_back(job);
        }
        m_changed.notify_one();
        return true;
    }

    /// Waits for a job. None when no more will come.
    std::optional<Job> take()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_closed || !m_jobs.empty(); });
        if (m_jobs.empty()) return std::nullopt;
        const Job job = m_jobs.front();
        m_jobs.pop_front();
        return job;
    }

    void close()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_closed = true;
        }
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    bool m_closed = false;
};

class Worker
{
public:
    explicit Worker(DueJobs& dueJobs) : m_dueJobs(dueJobs), m_thread([this] { work(); }) {}
    ~Worker() { join(); }
    void join()
    {
        if (m_thread.joinable()) m_thread.join();
    }
    /// After the join.
    unsigned int count() const { return m_count; }

private:
    void work()
    {
        for (; const std::optional<Job> job = m_dueJobs.take(); ++m_count)
            std::printf("job %u, run %u\n", job->id, job->runs);
    }

    DueJobs& m_dueJobs;
    unsigned int m_count = 0;
    std::thread m_thread;
};

/// Puts each job in whenever its period is over.
class Scheduler
{
public:
    Scheduler(DueJobs& dueJobs, std::vector<Job> jobs)
        : m_dueJobs(dueJobs), m_jobs(std::move(jobs)), m_thread([this] { work(); })
    {
    }
    ~Scheduler() { stop(); }

    /// No job is put in any more; the workers finish those that are in, and end.
    void stop()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_stopped.notify_all();
        if (m_thread.joinable()) m_thread.join();
        m_dueJobs.close();
    }
    /// After the stop.
    unsigned int count() const { return m_count; }

private:
    void work()
    {
        const auto start = std::chrono::steady_clock::now();
        auto next = start + tick;
        std::unique_lock lock(m_mutex);
        for (; !m_stopped.wait_until(lock, next, [&] { return m_stop; }); next += tick)
        {
            const auto passed =
                std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
            for (Job& job : m_jobs)
                while (job.runs < passed / job.periodMs) putNextRun(job);
        }
    }

    void putNextRun(Job& job)
    {
        ++job.runs;
        if (m_dueJobs.put(job)) ++m_count;
        else std::fprintf(stderr, "scheduler: job %u, run %u is left out: too many are waiting\n", job.id, job.runs);
    }

    DueJobs& m_dueJobs;
    std::vector<Job> m_jobs;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_stop = false;
    unsigned int m_count = 0;
    std::thread m_thread;
};

unsigned int periodOf(const char* text)
{
    unsigned int period = 0;
    const char* const end = text + std::strlen(text);
    const auto parsed = std::from_chars(text, end, period);
    if (parsed.ec != std::errc() || parsed.ptr != end || period == 0) throw std::invalid_argument("no period");
    return period;
}

void run(int argc, char** argv, const sigset_t& signals)
{
    std::vector<Job> jobs;
    for (int n = 1; n < argc; ++n) jobs.push_back({static_cast<unsigned int>(n), periodOf(argv[n]), 0});
    DueJobs dueJobs;
    Worker firstWorker(dueJobs), secondWorker(dueJobs);
    Scheduler scheduler(dueJobs, jobs);
    int signal = 0;
    if (sigwait(&signals, &signal) != 0) throw std::runtime_error("sigwait");
    scheduler.stop();
    firstWorker.join();
    secondWorker.join();
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
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "scheduler: %s\n", error.what());
        return 1;
    }
    return 0;
}
