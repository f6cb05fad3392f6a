#include "framework/kernel/framework_version.h"

CVersion QvGetFrameworkVersion()
{
    return QvGetFrameworkHeaderVersion();
}
