#ifndef TESTS_SUPPORT_RUN_THREADS_H
#define TESTS_SUPPORT_RUN_THREADS_H
#include <atomic>
#include <thread>
#include <vector>

/// Runs work(0), work(1), ... on so many threads that start together, and waits for their ends.
template <typename Work>
void RunThreads(unsigned int uThreads, Work work)
{
    std::atomic<bool> bGo{false};
    std::vector<std::thread> threads;
    for (unsigned int u = 0; u < uThreads; ++u)
    {
        threads.emplace_back(
            [&bGo, &work, u]
            {
                while (!bGo) std::this_thread::yield();
                work(u);
            });
    }
    bGo = true;
    for (std::thread& rThread : threads) rThread.join();
}

#endif
