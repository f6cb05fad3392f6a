#ifndef TESTS_ABI_FOREIGN_OBJECT_H
#define TESTS_ABI_FOREIGN_OBJECT_H
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "tests/abi/foreign_program.h"
#include "tests/support/vtable.h"

// One per program, since it replaces a global operator: what a program that was compiled long ago needs for living
// with the library's objects. The framework is up while the tests run.

using QvResult = int;
constexpr QvResult QV_RES_OK = 0;
constexpr QvResult QV_RES_FAIL = static_cast<QvResult>(0x80000001u);
constexpr QvResult QV_RES_INVALID_STATE = static_cast<QvResult>(0x80000002u);
constexpr QvResult QV_RES_INVALID_ARGUMENT = static_cast<QvResult>(0x80000003u);
constexpr QvResult QV_RES_ALREADY_EXISTS = static_cast<QvResult>(0x80000009u);
constexpr QvResult QV_RES_NO_INTERFACE = static_cast<QvResult>(0x80008422u);
constexpr QvResult QV_RES_CLASS_NOT_REGISTERED = static_cast<QvResult>(0x80008424u);

class CFrameworkInitializer
{
public:
    static QvResult Initialize();
    static void Finalize();
};

class CFrameworkUp : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};
inline testing::Environment* const g_pFrameworkUp = testing::AddGlobalTestEnvironment(new CFrameworkUp);

/// The same object, of which the compiler no longer knows how it was made: a call goes through the virtual table.
template <typename Object>
Object& OfUnknownOrigin(Object& rObject)
{
    Object* pObject = &rObject;
    __asm__ volatile("" : "+r"(pObject));
    return *pObject;
}

/// What the whole table of an exported class holds, demangled: the slots, and for a class with a second base that
/// base's offset ("?"), the type's description and that base's slots.
inline std::vector<std::string> TableOf(const void* pvObject)
{
    std::vector<std::string> names = VtableSlots(pvObject);
    for (std::string& rName : names)
    {
        int nStatus = 0;
        char* const pszName = abi::__cxa_demangle(rName.c_str(), nullptr, nullptr, &nStatus);
        if (nStatus == 0) rName = pszName;
        std::free(pszName);
    }
    return names;
}

/// The same for a class without objects of its own, an interface, by the mangled name of its table.
inline std::vector<std::string> TableNamed(const char* pszMangled)
{
    // The slots stand behind the offset to the top and the type's description.
    const void* const* const ppvTable = static_cast<const void* const*>(dlsym(RTLD_DEFAULT, pszMangled));
    if (ppvTable == nullptr) return {"not exported"};
    const void* const pvSlots = ppvTable + 2;
    return TableOf(&pvSlots);
}

/// Whether a slot holds this function, by its mangled name. Tells apart what TableOf() cannot: a compiler may make one
/// function of two that do the same, which then goes by either name.
inline bool HoldsInSlot(const void* pvObject, std::size_t uSlot, const std::string& rMangled)
{
    void* const pvFunction = dlsym(RTLD_DEFAULT, rMangled.c_str());
    return pvFunction != nullptr && LoadAt<void* const*>(pvObject, 0)[uSlot] == pvFunction;
}

/// One letter per slot of an abstract class: p where it is pure. A compiler may leave out its destructors, which nobody
/// can call through the table of a class without objects of its own.
inline std::string PureSlots(const char* pszMangled)
{
    std::string slots;
    for (const std::string& rName : TableNamed(pszMangled)) slots += rName == "__cxa_pure_virtual" ? 'p' : '-';
    return slots;
}

/// How large an exported datum is in the library that brings it.
inline std::size_t SizeOfDatum(const void* pvDatum)
{
    Dl_info datum;
    void* pvSymbol = nullptr;
    if (dladdr1(pvDatum, &datum, &pvSymbol, RTLD_DL_SYMENT) == 0 || pvSymbol == nullptr) return 0;
    const std::size_t uSize = static_cast<const ElfW(Sym)*>(pvSymbol)->st_size;
    if (__asan_address_is_poisoned == nullptr) return uSize;
    const unsigned char* const puDatum = static_cast<const unsigned char*>(pvDatum);
    std::size_t uUsed = 0;
    while (uUsed < uSize && __asan_address_is_poisoned(puDatum + uUsed) == 0) ++uUsed;
    return uUsed;
}

inline std::size_t g_uDeletedSize = 0;

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

#endif
