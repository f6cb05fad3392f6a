#ifndef TESTS_ABI_OLD_SINGLETON_H
#define TESTS_ABI_OLD_SINGLETON_H
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_result.h"

class CSingletonBase
{
public:
    static QvResult InitializeCSingletonBase();
    static void FinalizeCSingletonBase();

    static unsigned char ms_auMutex[sizeof(CMutex)];
    static CMutex* ms_pmutex;
};

template <typename T>
class CSingleton : public CSingletonBase
{
public:
    CSingleton();
    virtual ~CSingleton();
    static T* Instance();
    static void DestroyInstance();

    static T* ms_pInstance;
};

#endif
