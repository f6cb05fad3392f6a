#ifndef TESTS_ABI_EXPORTED_SYMBOL_H
#define TESTS_ABI_EXPORTED_SYMBOL_H
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstddef>

#include "tests/support/object_bytes.h"

/// Whether the library exports this symbol of a datum or a virtual table with exactly so many bytes; AddressSanitizer
/// counts the red zone behind them. A virtual table has two words in front of its slots.
inline testing::AssertionResult Covers(const char* pszMangled, std::size_t uSize)
{
#ifdef __has_feature
    constexpr bool bRedZone = __has_feature(address_sanitizer);
#else
    constexpr bool bRedZone = false;
#endif
    void* const pvSymbol = dlsym(RTLD_DEFAULT, pszMangled);
    Dl_info symbol;
    void* pvEntry = nullptr;
    if (pvSymbol == nullptr || dladdr1(pvSymbol, &symbol, &pvEntry, RTLD_DL_SYMENT) == 0 || pvEntry == nullptr)
    {
        return testing::AssertionFailure() << pszMangled << " is not exported";
    }
    const std::size_t uExported = static_cast<const ElfW(Sym)*>(pvEntry)->st_size;
    if (uExported == uSize || (bRedZone && uExported > uSize)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << pszMangled << " has " << uExported << " bytes, not " << uSize;
}

/// Whether a slot of an object's virtual table, counted from 0, leads to the exported function of this mangled name.
/// Unlike FunctionInSlot() this also works where the linker or the compiler made one of functions that do the same.
inline bool LeadsTo(const char* pszMangled, const void* pvObject, std::size_t uSlot)
{
    void* const pvFunction = dlsym(RTLD_DEFAULT, pszMangled);
    return pvFunction != nullptr && LoadAt<void* const*>(pvObject, 0)[uSlot] == pvFunction;
}

#endif
