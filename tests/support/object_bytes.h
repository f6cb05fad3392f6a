#ifndef TESTS_SUPPORT_OBJECT_BYTES_H
#define TESTS_SUPPORT_OBJECT_BYTES_H
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// Reads a field of a live object where the binary interface says it lies.
template <typename Field>
Field LoadAt(const void* pvObject, std::size_t uOffset)
{
    Field field;
    std::memcpy(&field, static_cast<const unsigned char*>(pvObject) + uOffset, sizeof(field));
    return field;
}

/// Changes such a field.
template <typename Field>
void StoreAt(void* pvObject, std::size_t uOffset, Field field)
{
    std::memcpy(static_cast<unsigned char*>(pvObject) + uOffset, &field, sizeof(field));
}

inline std::vector<unsigned char> BytesAt(const void* pvObject, std::size_t uOffset, std::size_t uSize)
{
    const unsigned char* const puFirst = static_cast<const unsigned char*>(pvObject) + uOffset;
    return {puFirst, puFirst + uSize};
}

/// Which entry of the virtual table a member function is called through, counted from 0; a virtual destructor takes two
/// entries. As the Itanium C++ ABI represents pointers to members: one more than the entry's offset in bytes.
template <typename Member>
std::ptrdiff_t SlotOf(Member pfnMember)
{
    return (LoadAt<std::ptrdiff_t>(&pfnMember, 0) - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

#endif
