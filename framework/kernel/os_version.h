#ifndef FRAMEWORK_KERNEL_OS_VERSION_H
#define FRAMEWORK_KERNEL_OS_VERSION_H
#include "framework/kernel/export.h"

/// Names the operating system that the library is built for.
class QV_EXPORT COsVersion
{
public:
    /// What GetOsVersion() returns.
    enum EOsVersion : unsigned int
    {
        /// GetOsVersion() was not called yet.
        eUNKNOWN = 0,
        /// Any Linux.
        eLINUX = 6
    };

    /// eLINUX; stores it in g_eOsVersion. Any thread.
    static EOsVersion GetOsVersion();
};

/// What COsVersion::GetOsVersion() last returned.
extern QV_EXPORT COsVersion::EOsVersion g_eOsVersion;

#endif
