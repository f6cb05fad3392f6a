#ifndef TESTS_ABI_GUARDED_H
#define TESTS_ABI_GUARDED_H
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "tests/support/object_bytes.h"

/// The same object, of which the compiler no longer knows how it was made: calls go through the table.
template <typename Object>
Object& OfUnknownOrigin(Object& rObject)
{
    Object* pObject = &rObject;
    asm volatile("" : "+r"(pObject));
    return *pObject;
}

/// Where a field lies in an object. (The offsetof of classes with virtual functions is no standard C++.)
template <typename Object, typename Class, typename Field>
std::size_t OffsetOf(const Object& rObject, Field Class::*pField)
{
    const void* const pvObject = &rObject;
    const void* const pvField = &(rObject.*pField);
    return static_cast<std::size_t>(static_cast<const char*>(pvField) - static_cast<const char*>(pvObject));
}

/// Memory for one object that the library builds: as large as this program believes it to be, and watched behind that.
/// The bytes are no zeros before, so that a field that the constructor sets can be told from one that it leaves.
template <typename Object>
class CGuarded
{
public:
    template <typename... Arguments>
    explicit CGuarded(Arguments&&... rArguments)
    {
        std::memset(m_auBytes, g_uGUARD, sizeof(m_auBytes));
        m_pObject = &OfUnknownOrigin(*new (m_auBytes) Object(std::forward<Arguments>(rArguments)...));
    }
    CGuarded(const CGuarded&) = delete;
    CGuarded& operator=(const CGuarded&) = delete;
    ~CGuarded()
    {
        if (!m_bDestroyed) Destroy();
        const std::vector<unsigned char> guard(sizeof(m_auBytes) - sizeof(Object), g_uGUARD);
        EXPECT_EQ(guard, BytesAt(m_auBytes, sizeof(Object), guard.size()))
            << "the library's object is larger than " << sizeof(Object) << " bytes";
    }

    Object* operator->() const { return m_pObject; }
    Object& operator*() const { return *m_pObject; }

    /// Leaves the bytes, so that what the destructor did to them can be seen.
    void Destroy()
    {
        m_pObject->~Object();
        m_bDestroyed = true;
    }
    template <typename Class, typename Field>
    Field Remains(Field Class::*pField) const
    {
        return LoadAt<Field>(m_auBytes, OffsetOf(*m_pObject, pField));
    }

private:
    static constexpr unsigned char g_uGUARD = 0xA5;
    alignas(16) unsigned char m_auBytes[sizeof(Object) + 64];
    Object* m_pObject;
    bool m_bDestroyed = false;
};

#endif
