#ifndef TESTS_SUPPORT_VTABLE_H
#define TESTS_SUPPORT_VTABLE_H
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/object_bytes.h"

/// There in a program built with AddressSanitizer, which makes symbols larger by what it guards them with.
extern "C" int __asan_address_is_poisoned(const volatile void* pvAddress) __attribute__((weak));

/// The mangled names of the functions in an object's virtual table, in slot order and to the last slot. The class must
/// be the library's own and exported: only then does the dynamic linker know the table's length and the names.
inline std::vector<std::string> VtableSlots(const void* pvObject)
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
        std::string name = bFound ? function.dli_sname : "?";
        // The base-object destructor is an alias of the complete-object one where no virtual base tells them apart.
        const std::size_t uAlias = name.rfind("D2Ev");
        if (uAlias != std::string::npos) name.replace(uAlias, 2, "D1");
        names.push_back(name);
    }
    return names;
}

#endif
