#ifndef TESTS_ABI_ROOM_FOR_H
#define TESTS_ABI_ROOM_FOR_H
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

/// The same object for a compiler that no longer knows its type: virtual functions are then called through the table.
template <typename Object>
Object* ThroughTheTable(Object* pObject)
{
    asm volatile("" : "+r"(pObject));
    return pObject;
}

/// Where a field lies in an object. (The offsetof of classes with virtual functions is no standard C++.)
template <typename Object, typename Class, typename Field>
std::size_t OffsetOf(const Object& rObject, Field Class::*pField)
{
    const void* const pvObject = &rObject;
    const void* const pvField = &(rObject.*pField);
    return static_cast<std::size_t>(static_cast<const char*>(pvField) - static_cast<const char*>(pvObject));
}

/// Room for one object that the library builds: as large as this program believes it to be, and watched behind that.
/// The bytes are no zeros before, so that a field that the constructor sets can be told from one that it leaves.
template <typename Object>
class CRoomFor
{
public:
    template <typename... Args>
    explicit CRoomFor(Args&&... rArgs)
    {
        std::memset(m_auBytes, g_uFILL, sizeof(m_auBytes));
        m_pObject = ThroughTheTable(new (m_auBytes) Object(std::forward<Args>(rArgs)...));
    }
    CRoomFor(const CRoomFor&) = delete;
    CRoomFor& operator=(const CRoomFor&) = delete;
    ~CRoomFor()
    {
        Destroy();
        const unsigned char* const puBehind = m_auBytes + sizeof(Object);
        const unsigned char* const puEnd = m_auBytes + sizeof(m_auBytes);
        EXPECT_TRUE(std::all_of(puBehind, puEnd, [](unsigned char u) { return u == g_uFILL; }))
            << "the library's object is larger than " << sizeof(Object) << " bytes";
    }

    void Destroy()
    {
        if (m_pObject != nullptr) m_pObject->~Object();
        m_pObject = nullptr;
    }
    const void* Bytes() const { return m_auBytes; }
    Object* operator->() const { return m_pObject; }
    Object& operator*() const { return *m_pObject; }

private:
    static constexpr unsigned char g_uFILL = 0xA5;
    alignas(Object) unsigned char m_auBytes[sizeof(Object) + 64];
    Object* m_pObject;
};

#endif
