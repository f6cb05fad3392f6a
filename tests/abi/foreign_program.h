#ifndef TESTS_ABI_FOREIGN_PROGRAM_H
#define TESTS_ABI_FOREIGN_PROGRAM_H
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <string>

#include "tests/support/object_bytes.h"

// What the tests in this directory share. They are programs that were compiled long ago: they include none of the
// library's headers, declare its classes by themselves, and must go on working with every library of the same soname.

/// The demangled name of the function in a slot of the virtual table at the start of an object or base object, counted
/// from 0; a virtual destructor takes two slots. Works for functions that the library exports.
inline std::string FunctionInSlot(const void* pvObject, std::size_t uSlot)
{
    Dl_info function;
    void* const pvFunction = LoadAt<void* const*>(pvObject, 0)[uSlot];
    if (dladdr(pvFunction, &function) == 0 || function.dli_sname == nullptr) return "?";
    if (function.dli_saddr != pvFunction) return std::string("within ") + function.dli_sname;
    int nStatus = 0;
    char* const pszName = abi::__cxa_demangle(function.dli_sname, nullptr, nullptr, &nStatus);
    const std::string name = nStatus == 0 ? pszName : function.dli_sname;
    std::free(pszName);
    return name;
}

/// How far a base object lies behind the start of its complete object: negative, or 0 in the complete object itself.
/// The word in front of the type's description, in front of the slots, says so (Itanium C++ ABI, 2.5.2).
inline std::ptrdiff_t OffsetToTop(const void* pvObject)
{
    return LoadAt<const std::ptrdiff_t*>(pvObject, 0)[-2];
}

/// Whether the library exports a symbol of this mangled name.
inline bool IsExported(const char* pszMangled)
{
    return dlsym(RTLD_DEFAULT, pszMangled) != nullptr;
}

#endif
