#ifndef FRAMEWORK_KERNEL_PACKAGE_ID_H
#define FRAMEWORK_KERNEL_PACKAGE_ID_H

/// The package that reports a result or emits a trace. Applications number theirs from ePACKAGE_APPLICATION on;
/// every int is a valid value.
enum EQvPackageId : int
{
    ePACKAGE_FRAMEWORK = 0,
    ePACKAGE_KERNEL = 1,
    ePACKAGE_BASIC = 2,
    ePACKAGE_ECOM = 3,
    ePACKAGE_CRYPTO = 4,
    ePACKAGE_APPLICATION = 1000
};

#endif
