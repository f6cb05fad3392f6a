#ifndef FRAMEWORK_KERNEL_LIFETIME_H
#define FRAMEWORK_KERNEL_LIFETIME_H
#include "framework/kernel/export.h"

/// Internal: how a module that is used outside the start-up and the shut-down of the framework ends the process.

/// Writes one line to standard error, which names the class and tells whether CFrameworkInitializer::Initialize() was
/// never called or the framework is down again, and calls abort(). Allocates nothing.
/// - **Threads:** From any.
[[noreturn, gnu::cold, gnu::noinline]] QV_EXPORT void QvAbortOutsideLifetime(const char* pszClass) noexcept;

namespace orvel_internal
{
/// Passes on a pointer that a module has only while it is up. Cost: one branch that is predicted.
template <typename T>
inline T* RequireUp(T* pModuleObject, const char* pszClass) noexcept
{
    if (IsUnlikely(pModuleObject == nullptr)) QvAbortOutsideLifetime(pszClass);
    return pModuleObject;
}

/// Tells later complaints that the framework has been up. Called by CFrameworkInitializer.
QV_HIDDEN void NoteFrameworkUp() noexcept;
}  // namespace orvel_internal

#endif
