#ifndef FRAMEWORK_KERNEL_EVENT_NOTIFIER_H
#define FRAMEWORK_KERNEL_EVENT_NOTIFIER_H
#include <stdarg.h>

#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// Broadcasts events to whoever has registered for them, in the order of registration:
/// ```
/// void OnEvent(void* pOpaque, EEventNotifier eEvent, va_list args)
/// {
///     if (eEvent != EEventNotifier::eCONFIGURATION_CHANGED) return;
///     static_cast<CServer*>(pOpaque)->Reload(va_arg(args, const char*));
/// }
///
/// RegisterEventObserver(OnEvent, &server);
/// NotifyEventObservers(EEventNotifier::eCONFIGURATION_CHANGED, "/etc/server.conf");
/// ```
///
/// - **Ownership:** pOpaque is borrowed: unregister before what it points to is destroyed.
/// - **Threads:** From any thread. The module's mutex is held while observers run: they must be brief, and must not
///   wait for a thread that may notify. They may register, unregister and notify themselves, on the same thread.
/// - **Lifetime:** Between the start-up and the shut-down of the framework, which forgets all observers. Registering
///   outside it ends the process; unregistering and announcing do nothing there, as nobody is registered.
/// - **Cost:** The table grows by one entry, and is copied, for each registration beyond the most there ever were.

/// What has happened, and the arguments that go with it. The library itself announces nothing; applications announce
/// these, and number theirs from eAPPLICATION on: every int is a valid value. A scoped enumeration, since the parameter
/// before variable arguments must not have a type that is promoted.
enum class EEventNotifier : int
{
    /// No argument.
    eSHUT_DOWN = 0,
    /// const char*: what was changed, or null.
    eCONFIGURATION_CHANGED = 1,
    /// int64_t: by how many milliseconds the clock was moved.
    eCLOCK_CHANGED = 2,
    /// The application decides which arguments go with these.
    eAPPLICATION = 1000
};

/// Each observer is given the arguments from the start, as a list of its own.
typedef void (*PFNEventObserver)(void* pOpaque, EEventNotifier eEvent, va_list args);

/// Adds the pair of function and pOpaque, unless it is registered already. A null function is ignored; so is, without a
/// report, a registration for which there is no memory. A pair that an observer registers is called for the event that
/// is being announced as well.
QV_EXPORT void RegisterEventObserver(void (*pfnObserver)(void*, EEventNotifier, va_list), void* pOpaque);

/// Removes the pair, if it is registered. When an observer removes itself or one before it, the observer that follows
/// it misses the event that is being announced: unregister outside of observers where that matters.
QV_EXPORT void UnregisterEventObserver(void (*pfnObserver)(void*, EEventNotifier, va_list), void* pOpaque);

/// Calls every observer.
QV_EXPORT void NotifyEventObservers(EEventNotifier eEvent, ...);

/// Module start-up and shut-down, called by CFrameworkInitializer: the mutex and the table. Start-up returns QV_RES_OK.
QV_EXPORT QvResult InitializeQvEventNotifier();
QV_EXPORT void FinalizeQvEventNotifier();

#endif
