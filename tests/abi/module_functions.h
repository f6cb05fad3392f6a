#ifndef TESTS_ABI_MODULE_FUNCTIONS_H
#define TESTS_ABI_MODULE_FUNCTIONS_H
#include "tests/abi/old_result.h"

/// How a module goes up and down; most have these two as functions of their own and as static members.
struct SModuleFunctions
{
    QvResult (*pfnInitialize)();
    void (*pfnFinalize)();
};

#endif
