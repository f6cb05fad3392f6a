#ifndef FRAMEWORK_BASIC_INTERNAL_CONTAINER_MEMBERS_H
#define FRAMEWORK_BASIC_INTERNAL_CONTAINER_MEMBERS_H
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/kernel/export.h"
#include "framework/kernel/unused_parameter.h"

/// Internal: members that are the same in several containers. The binary interface has them in each container, so that
/// a common base cannot hold them; their definitions are written once, here, for the containers' own sources.

/// For containers that have m_uSize and m_uLockCapacity.
#define ORVEL_DEFINE_SIZE_MEMBERS(Container)                    \
    unsigned int Container::GetLockCapacity() const             \
    {                                                           \
        return m_uLockCapacity;                                 \
    }                                                           \
    void Container::SetLockCapacity(unsigned int uLockCapacity) \
    {                                                           \
        m_uLockCapacity = uLockCapacity;                        \
    }                                                           \
    unsigned int Container::GetSize() const                     \
    {                                                           \
        return m_uSize;                                         \
    }

/// For all containers.
#define ORVEL_DEFINE_INDEX_MEMBERS(Container)     \
    bool Container::IsEmpty() const               \
    {                                             \
        return GetSize() == 0;                    \
    }                                             \
    unsigned int Container::GetFirstIndex() const \
    {                                             \
        return 0;                                 \
    }                                             \
    unsigned int Container::GetLastIndex() const  \
    {                                             \
        return GetSize() - 1;                     \
    }

/// The element operations of an untyped container, which do nothing.
#define ORVEL_DEFINE_ELEMENT_OPERATIONS(Container)                     \
    void Container::Construct(void* pElement)                          \
    {                                                                  \
        QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pElement);             \
    }                                                                  \
    void Container::ConstructFrom(void* pElement, const void* pSource) \
    {                                                                  \
        QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pElement);             \
        QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pSource);              \
    }                                                                  \
    void Container::Destruct(void* pElement)                           \
    {                                                                  \
        QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pElement);             \
    }

/// Sorting and searching by callback, for containers that have SearchWith() and SortElements().
#define ORVEL_DEFINE_SEQUENCE_MEMBERS(Container)                                                                     \
    unsigned int Container::GetEndIndex() const                                                                      \
    {                                                                                                                \
        return GetSize();                                                                                            \
    }                                                                                                                \
    QvResult Container::InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam)       \
    {                                                                                                                \
        return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);                                \
    }                                                                                                                \
    QvResult Container::AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,         \
                                       void** ppElement)                                                             \
    {                                                                                                                \
        const orvel_internal::SComparison compare{pfnCompare, uParam};                                               \
        return orvel_internal::AllocateSorted(*this, SearchWith(compare), pKey, ppElement);                          \
    }                                                                                                                \
    QV_HOT_CODE void Container::Sort(PFNCompareElements pfnCompare, unsigned int uParam)                             \
    {                                                                                                                \
        SortElements(orvel_internal::SComparison{pfnCompare, uParam});                                               \
    }                                                                                                                \
    unsigned int Container::Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,          \
                                 unsigned int uParam) const                                                          \
    {                                                                                                                \
        return SearchWith(orvel_internal::SComparison{pfnCompare, uParam}).Find(uStartIndex, pKey);                  \
    }                                                                                                                \
    unsigned int Container::FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const   \
    {                                                                                                                \
        return SearchWith(orvel_internal::SComparison{pfnCompare, uParam}).FindSorted(pKey);                         \
    }                                                                                                                \
    unsigned int Container::GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const             \
    {                                                                                                                \
        return SearchWith(orvel_internal::SComparison{pfnCompare, uParam}).MinIndex();                               \
    }                                                                                                                \
    unsigned int Container::GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const             \
    {                                                                                                                \
        return SearchWith(orvel_internal::SComparison{pfnCompare, uParam}).MaxIndex();                               \
    }                                                                                                                \
    unsigned int Container::InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) \
        const                                                                                                        \
    {                                                                                                                \
        return SearchWith(orvel_internal::SComparison{pfnCompare, uParam}).LowerBound(pKey);                         \
    }

#endif
