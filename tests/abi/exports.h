#ifndef TESTS_ABI_EXPORTS_H
#define TESTS_ABI_EXPORTS_H
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/object_bytes.h"

// What the tests in this directory share. They are programs that were compiled long ago: they include none of the
// library's headers, declare its classes by themselves, and must go on working with every library of the same soname.
// Members that the library keeps to itself or to derived classes are public in their declarations: access is no part of
// a symbol.

/// There in a program built with AddressSanitizer, which makes symbols larger by what it guards them with.
extern "C" int __asan_address_is_poisoned(const volatile void* pvAddress) __attribute__((weak));

/// Whether the library exports a symbol of this mangled name.
inline bool IsExported(const char* pszMangled)
{
    return dlsym(RTLD_DEFAULT, pszMangled) != nullptr;
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

/// Whether it is there as large as this program declares it.
template <typename Datum>
testing::AssertionResult HasItsSize(const Datum& rDatum)
{
    const std::size_t uSize = SizeOfDatum(&rDatum);
    if (uSize == sizeof(Datum)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << uSize << " bytes, not " << sizeof(Datum);
}

inline std::string Demangled(const std::string& rMangled)
{
    int nStatus = 0;
    char* const pszName = abi::__cxa_demangle(rMangled.c_str(), nullptr, nullptr, &nStatus);
    const std::string name = nStatus == 0 ? pszName : rMangled;
    std::free(pszName);
    return name;
}

/// The demangled name of the function in a slot of the virtual table at the start of an object or base object, counted
/// from 0; a virtual destructor takes two slots. Works for functions that the library exports.
inline std::string FunctionInSlot(const void* pvObject, std::size_t uSlot)
{
    Dl_info function;
    void* const pvFunction = LoadAt<void* const*>(pvObject, 0)[uSlot];
    if (dladdr(pvFunction, &function) == 0 || function.dli_sname == nullptr) return "?";
    if (function.dli_saddr != pvFunction) return std::string("within ") + function.dli_sname;
    return Demangled(function.dli_sname);
}

/// What the whole table of an exported class holds, demangled: the slots, and for a class with a second base that
/// base's offset ("?"), the type's description and that base's slots. Only of an exported table the dynamic linker
/// knows the length.
inline std::vector<std::string> TableOf(const void* pvObject)
{
    void* const* const ppvSlots = LoadAt<void* const*>(pvObject, 0);
    // Two words, the offset to the top and the type's description, stand before the slots.
    Dl_info table;
    void* pvSymbol = nullptr;
    if (dladdr1(ppvSlots - 2, &table, &pvSymbol, RTLD_DL_SYMENT) == 0 || pvSymbol == nullptr)
    {
        ADD_FAILURE() << "the class exports no virtual table";
        return {};
    }
    EXPECT_EQ(static_cast<const void*>(ppvSlots - 2), table.dli_saddr);
    const std::size_t uCount = static_cast<const ElfW(Sym)*>(pvSymbol)->st_size / sizeof(void*) - 2;
    std::vector<std::string> names;
    for (std::size_t u = 0; u < uCount; ++u)
    {
        if (__asan_address_is_poisoned != nullptr && __asan_address_is_poisoned(ppvSlots + u) != 0) break;
        Dl_info function;
        const bool bFound = dladdr(ppvSlots[u], &function) != 0 && function.dli_sname != nullptr;
        names.push_back(bFound ? Demangled(function.dli_sname) : "?");
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

/// One letter per slot of an abstract class: p where it is pure. A compiler may leave out its destructors, which nobody
/// can call through the table of a class without objects of its own.
inline std::string PureSlots(const char* pszMangled)
{
    std::string slots;
    for (const std::string& rName : TableNamed(pszMangled)) slots += rName == "__cxa_pure_virtual" ? 'p' : '-';
    return slots;
}

/// Whether the slots from the given one on hold these exported functions. By mangled names, which tell the two entries
/// of a destructor apart, and by address: a compiler may make one function of two that do the same.
inline testing::AssertionResult HasSlots(const void* pvObject, const std::vector<std::string>& rMangledNames,
                                         std::size_t uSlot = 0)
{
    for (const std::string& rMangled : rMangledNames)
    {
        const void* const pvExported = dlsym(RTLD_DEFAULT, rMangled.c_str());
        if (pvExported == nullptr) return testing::AssertionFailure() << rMangled << " is not exported";
        if (LoadAt<void* const*>(pvObject, 0)[uSlot] != pvExported)
            return testing::AssertionFailure()
                   << "slot " << uSlot << " is not " << rMangled << " but " << FunctionInSlot(pvObject, uSlot);
        ++uSlot;
    }
    return testing::AssertionSuccess();
}

/// How far a base object lies behind the start of its complete object: negative, or 0 in the complete object itself.
/// The word in front of the type's description, in front of the slots, says so (Itanium C++ ABI, 2.5.2).
inline std::ptrdiff_t OffsetToTop(const void* pvObject)
{
    return LoadAt<const std::ptrdiff_t*>(pvObject, 0)[-2];
}

/// Whether a complete object of the class of this mangled name has its destructor alone as a virtual function.
inline testing::AssertionResult HasDestructorsAlone(const void* pvObject, const std::string& rMangledClass)
{
    if (OffsetToTop(pvObject) != 0) return testing::AssertionFailure() << "a base object of " << rMangledClass;
    const std::size_t uSlots = TableOf(pvObject).size();
    if (uSlots != 2) return testing::AssertionFailure() << uSlots << " slots in the table of " << rMangledClass;
    return HasSlots(pvObject, {"_ZN" + rMangledClass + "D1Ev", "_ZN" + rMangledClass + "D0Ev"});
}

#endif
