#ifndef TESTS_SUPPORT_VECTOR_PROBE_H
#define TESTS_SUPPORT_VECTOR_PROBE_H
#include "framework/basic/vector.h"

/// A vector of plain bytes that shows what CVectorBase keeps from its users.
class CVectorBaseProbe : public CVectorBase
{
public:
    using CVectorBase::CVectorBase;
    using CVectorBase::m_bConstruct;
    using CVectorBase::m_pAllocator;
    using CVectorBase::m_pvScratch;
    using CVectorBase::m_pvStorage;
    using CVectorBase::m_uCapacity;
    using CVectorBase::m_uElementSize;
    using CVectorBase::m_uLockCapacity;
    using CVectorBase::m_uSize;
};

#endif
