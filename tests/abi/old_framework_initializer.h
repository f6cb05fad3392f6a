#ifndef TESTS_ABI_OLD_FRAMEWORK_INITIALIZER_H
#define TESTS_ABI_OLD_FRAMEWORK_INITIALIZER_H
#include "tests/abi/old_result.h"

class CFrameworkInitializer
{
public:
    enum EFinalizeFrom : int
    {
        eFROM_ASSERT = 1,
        eFROM_RESULT = 3,
        eFROM_THREAD = 5,
        eFROM_DEFAULT_ALLOCATOR = 7,
        eFROM_SINGLETON = 8,
        eFROM_STRING = 9,
        eFROM_EVENT_NOTIFIER = 10,
        eFROM_TIMER = 11,
        eFROM_TRACE_KERNEL = 12,
        eFROM_TIME = 13,
        eFROM_TRACE_TIME = 14,
        eFROM_ECOM = 15,
        eFROM_POOL = 17,
        eFROM_AATREE = 18,
        eFROM_STRING_FORMAT = 26,
        eFROM_FAULT = 27,
        eFROM_CRYPTO = 29,
        eFROM_AES = 35,
        eFROM_SECURE_PRNG = 36,
        eFROM_SECURE_SEED = 37,
        eFROM_ALL = 38
    };

    static QvResult Initialize();
    static void Finalize();
    static void PartialFinalize(EFinalizeFrom eFrom);

    static unsigned int ms_uInitializationCount;
};

#endif
