#ifndef STRESS_STRESS_H
#define STRESS_STRESS_H
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/test_seed.h"

using CRandom = std::mt19937;

/// How long a stress test goes on: STRESS_SECONDS, a second by itself. The clock decides how much is tried, never what
/// the outcome is.
inline std::chrono::seconds StressTime()
{
    const char* const pszSeconds = std::getenv("STRESS_SECONDS");
    return std::chrono::seconds(pszSeconds != nullptr ? std::atol(pszSeconds) : 1);
}

/// Lets uThreads threads call step(uThread, rRandom), over and over, until the time is over or a check has failed.
template <typename Step>
void StressThreads(unsigned int uThreads, const Step& rStep)
{
    const auto end = std::chrono::steady_clock::now() + StressTime();
    std::atomic<bool> bOver = false;
    std::atomic<unsigned long> uSteps = 0;
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < uThreads; ++uThread)
    {
        threads.emplace_back(
            [&, uThread]
            {
                CRandom random(TestSeed() + uThread);
                while (!bOver)
                {
                    rStep(uThread, random);
                    ++uSteps;
                    if (testing::Test::HasFailure() || std::chrono::steady_clock::now() >= end) bOver = true;
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    testing::Test::RecordProperty("steps", std::to_string(uSteps));
}

#endif
