#ifndef TESTS_WHOLE_EXHAUSTION_H
#define TESTS_WHOLE_EXHAUSTION_H
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "framework/kernel/result.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"

/// Which of the two ways to memory refuses.
enum class ESource
{
    eOPERATOR_NEW,
    eALLOCATOR
};

/// One try of an operation with one request refused.
class CTrial
{
public:
    CTrial(ESource eSource, unsigned int uNth) : m_eSource(eSource), m_uNth(uNth) {}

    /// What containers draw their memory from: null means the default allocator.
    IAllocator* Source() { return m_eSource == ESource::eALLOCATOR ? &m_allocator : nullptr; }

    /// The operation; it returns a QvResult, or nothing.
    template <typename Operation>
    void Run(Operation&& rOperation)
    {
        if (m_eSource == ESource::eALLOCATOR)
        {
            m_allocator.RefuseNth(m_uNth + 1);
            Call(rOperation);
            m_bRefused = m_allocator.HasRefused();
            m_allocator.RefuseNth(0);
            return;
        }
        const CRefusingNew refusing(m_uNth);
        Call(rOperation);
        m_bRefused = refusing.HasRefused();
    }

    bool HasRefused() const { return m_bRefused; }
    /// Whether the operation got through: with all the memory that it wanted, or by its own word without that.
    bool IsDone() const { return !m_bRefused || (m_bReports && !m_bThrew && m_res >= 0); }
    bool HasThrown() const { return m_bThrew; }
    QvResult GetResult() const { return m_res; }

    /// The operation throws nothing, and returns res unless it succeeds, as it does with all its memory.
    void ExpectResult(QvResult res = QV_RES_OUT_OF_MEMORY) const
    {
        EXPECT_FALSE(m_bThrew);
        EXPECT_EQ(IsDone() || !m_bReports ? QV_RES_OK : res, m_res);
    }
    /// The operation has done all or nothing; one that can tell has told the truth.
    template <typename State>
    void ExpectState(const State& rBefore, const State& rAfter, const State& rNow) const
    {
        const bool bAfter = IsDone() || (!m_bReports && rNow == rAfter);
        EXPECT_EQ(bAfter ? rAfter : rBefore, rNow);
    }
    /// Refused, the operation throws; else it does not.
    void ExpectThrow() const { EXPECT_EQ(m_bRefused, m_bThrew); }
    void ExpectNoThrow() const { EXPECT_FALSE(m_bThrew); }

private:
    template <typename Operation>
    void Call(Operation& rOperation)
    {
        try
        {
            if constexpr (std::is_void_v<decltype(rOperation())>) rOperation();
            else
            {
                m_bReports = true;
                m_res = rOperation();
            }
        }
        catch (const std::bad_alloc&)
        {
            m_bThrew = true;
        }
    }

    const ESource m_eSource;
    const unsigned int m_uNth;
    CTestAllocator m_allocator;
    bool m_bRefused = false;
    bool m_bThrew = false;
    bool m_bReports = false;
    QvResult m_res = QV_RES_OK;
};

/// A row of the table: sets the scene, runs the operation once and checks what it left.
struct SOperation
{
    std::string strName;
    std::function<void(CTrial& rTrial)> tryIt;
    /// Whether its memory may come from an IAllocator as well.
    bool bTakesAllocator;
};

/// The rows, by what they are about.
std::vector<SOperation> ContainerOperations();
std::vector<SOperation> DataOperations();
std::vector<SOperation> ServiceOperations();

#endif
