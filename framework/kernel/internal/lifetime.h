#ifndef FRAMEWORK_KERNEL_INTERNAL_LIFETIME_H
#define FRAMEWORK_KERNEL_INTERNAL_LIFETIME_H
#include "framework/kernel/export.h"

/// Internal: how a module that is used outside the start-up and the shut-down of the framework ends the process.

/// Writes one line to standard error, which names the class and tells whether CFrameworkInitializer::Initialize() was
/// never called or the framework is down again, and calls abort(). Allocates nothing.
/// - **Threads:** From any.
[[noreturn, gnu::cold, gnu::noinline]] QV_EXPORT void QvAbortOutsideLifetime(const char* pszClass) noexcept;

namespace orvel_internal
{
/// Returns the pointer, which a module has only while it is up; ends the process as above if it is null. Cost: one
/// predicted branch.
template <typename T>
inline T* RequireUp(T* pModuleObject, const char* pszClass) noexcept
{
    if (IsUnlikely(pModuleObject == nullptr)) QvAbortOutsideLifetime(pszClass);
    return pModuleObject;
}

/// Records for later messages that the framework has been up. Called by CFrameworkInitializer.
QV_HIDDEN void NoteFrameworkUp() noexcept;
}  // namespace orvel_internal

#endif
