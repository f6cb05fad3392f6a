#ifndef FRAMEWORK_KERNEL_FRAMEWORK_VERSION_H
#define FRAMEWORK_KERNEL_FRAMEWORK_VERSION_H
#include "framework/kernel/export.h"
#include "framework/kernel/version.h"

// The version of the headers that a program is compiled with. The build of the library reads it here, too: this is the
// one place to change it.

/// Moves when programs have to be compiled anew: it is also the number in liborvel_framework.so.1.
#define QV_FRAMEWORK_VERSION_MAJOR 1
/// Moves when something is added: programs that use it need at least this library.
#define QV_FRAMEWORK_VERSION_MINOR 1
/// Moves with corrections that change no interface.
#define QV_FRAMEWORK_VERSION_RELEASE 0
/// Left to packagers of the library; 0 in this tree.
#define QV_FRAMEWORK_VERSION_BUILD 0

/// The four parts in one number, to be compared: `#if QV_FRAMEWORK_VERSION >= QV_FRAMEWORK_VERSION_OF(1, 2, 0, 0)`.
#define QV_FRAMEWORK_VERSION                                                                                      \
    QV_FRAMEWORK_VERSION_OF(QV_FRAMEWORK_VERSION_MAJOR, QV_FRAMEWORK_VERSION_MINOR, QV_FRAMEWORK_VERSION_RELEASE, \
                            QV_FRAMEWORK_VERSION_BUILD)
/// Four parts in one number, eight bits each.
#define QV_FRAMEWORK_VERSION_OF(major, minor, release, build) \
    (((major) << 24) | ((minor) << 16) | ((release) << 8) | (build))

/// The version of the library that the program runs with. It may be newer than the headers of the program, and has the
/// same major number: the dynamic linker looks for that.
///
/// - **Threads:** Any, at any time.
/// - **Lifetime:** Works before the start-up of the framework and after its shut-down.
QV_EXPORT CVersion QvGetFrameworkVersion();

/// The version of the headers, compiled into the program; the two differ after the library was upgraded.
inline CVersion QvGetFrameworkHeaderVersion()
{
    return CVersion()
        .SetMajor(QV_FRAMEWORK_VERSION_MAJOR)
        .SetMinor(QV_FRAMEWORK_VERSION_MINOR)
        .SetRelease(QV_FRAMEWORK_VERSION_RELEASE)
        .SetBuild(QV_FRAMEWORK_VERSION_BUILD);
}

#endif
