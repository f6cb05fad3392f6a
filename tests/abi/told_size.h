#ifndef TESTS_ABI_TOLD_SIZE_H
#define TESTS_ABI_TOLD_SIZE_H
#include <cstddef>
#include <new>

#include "tests/abi/exports.h"
#include "tests/abi/guarded.h"

// One per program, since it replaces a global operator.

inline thread_local std::size_t g_uDeletedSize = 0;

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsized-deallocation"
#endif
void operator delete(void* pvObject, std::size_t uSize) noexcept
{
    g_uDeletedSize = uSize;
    ::operator delete(pvObject);
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

/// How large the library holds an object of a class with a virtual destructor to be: its deleting destructor tells the
/// global operator delete. Clang's does not, so that a library built with it can only confirm the declared size.
template <typename Object>
std::size_t SizeToldByDelete(Object* pObject)
{
#ifdef __clang__
    g_uDeletedSize = sizeof(Object);
#else
    g_uDeletedSize = 0;
#endif
    delete &OfUnknownOrigin(*pObject);
    return g_uDeletedSize;
}

/// Expects of a class, known by its mangled name, that its objects are as large as this program declares them, and have
/// their destructor alone as a virtual function.
template <typename Object, typename... Arguments>
void ExpectDestructorsAlone(const char* pszMangled, Arguments... arguments)
{
    const Object object(arguments...);  // its destructor is called by name, the other one through its slot
    EXPECT_TRUE(HasDestructorsAlone(&object, pszMangled));
    EXPECT_EQ(sizeof(Object), SizeToldByDelete(new Object(arguments...)));
}

#endif
