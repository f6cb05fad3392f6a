#ifndef TESTS_EXAMPLES_REFUSING_H
#define TESTS_EXAMPLES_REFUSING_H
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tests/support/sanitizers.h"

/// One or two settings for the programs made with refused_calls.cpp, in the environment as long as this lives.
class CRefusing
{
public:
    CRefusing(const char* pszName, const std::string& rValue, const char* pszName2 = nullptr,
              const std::string& rValue2 = "")
        : m_pszName(pszName), m_pszName2(pszName2)
    {
        setenv(m_pszName, rValue.c_str(), 1);
        if (m_pszName2 != nullptr) setenv(m_pszName2, rValue2.c_str(), 1);
    }
    ~CRefusing()
    {
        unsetenv(m_pszName);
        if (m_pszName2 != nullptr) unsetenv(m_pszName2);
    }
    CRefusing(const CRefusing&) = delete;
    CRefusing& operator=(const CRefusing&) = delete;

private:
    const char* m_pszName;
    const char* m_pszName2;
};

/// Calls run() with the first request refused, with the second, and so on until there is none left to be refused.
/// pszWhat: "REFUSE_NEW" or "REFUSE_CALL". Returns how many there were.
template <class TRun>
unsigned int RefuseEach(const char* pszWhat, TRun run)
{
    std::string strMark = testing::TempDir() + "refused.XXXXXX";
    const int nMark = mkstemp(strMark.data());
    EXPECT_GE(nMark, 0);
    close(nMark);
    for (unsigned int u = 0; !testing::Test::HasFatalFailure(); ++u)
    {
        SCOPED_TRACE(testing::Message() << pszWhat << " " << u);
        unlink(strMark.c_str());
        const CRefusing refusing(pszWhat, std::to_string(u), "REFUSE_MARK", strMark);
        run();
        if (access(strMark.c_str(), F_OK) != 0) return u;
        if (testing::Test::HasFailure()) break;
    }
    unlink(strMark.c_str());
    return 0;
}

#endif
