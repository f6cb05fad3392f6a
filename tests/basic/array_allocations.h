#ifndef TESTS_BASIC_ARRAY_ALLOCATIONS_H
#define TESTS_BASIC_ARRAY_ALLOCATIONS_H
#include <optional>
#include <vector>

#include "tests/support/refusing_new.h"

/// What is asked of the global array allocation between Watch() and Stop(), part of which can be refused.
class CArrayAllocations
{
public:
    /// From now on calls are listed, and the uNth is refused, counted from 1; 0: none.
    void Watch(unsigned int uRefuseNth = 0)
    {
        Stop();
        m_record.emplace(eARRAYS);
        if (uRefuseNth != 0) m_refusal.emplace(uRefuseNth - 1, eARRAYS);
    }
    void Stop()
    {
        m_refusal.reset();
        if (!m_record) return;
        m_made.assign(m_record->GetMade().begin(), m_record->GetMade().end());
        m_freed.assign(m_record->GetFreed().begin(), m_record->GetFreed().end());
        m_record.reset();
    }
    /// What was allocated and freed between the two, in order.
    const std::vector<CNewRecord::SBlock>& GetMade() const { return m_made; }
    const std::vector<void*>& GetFreed() const { return m_freed; }

private:
    std::optional<CNewRecord> m_record;
    std::optional<CRefusingNew> m_refusal;
    std::vector<CNewRecord::SBlock> m_made;
    std::vector<void*> m_freed;
};

#endif
