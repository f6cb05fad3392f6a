#ifndef FRAMEWORK_KERNEL_UNUSED_PARAMETER_H
#define FRAMEWORK_KERNEL_UNUSED_PARAMETER_H
#include <stdint.h>

#include "framework/kernel/export.h"

/// Marks a parameter that a function ignores on purpose; returns it unchanged.
template <typename T>
QV_EXPORT inline const T& QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(const T& rParameter)
{
    return rParameter;
}

/// Marks an ignored parameter in C-style code: takes a pointer-sized value and returns it.
QV_EXPORT uintptr_t QvRemoveUnusedFunctionParamWarning(uintptr_t uParameter);

#endif
