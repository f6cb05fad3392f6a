#include "framework/kernel/unused_parameter.h"

uintptr_t QvRemoveUnusedFunctionParamWarning(uintptr_t uParameter)
{
    return uParameter;
}
