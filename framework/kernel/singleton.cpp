#include "framework/kernel/singleton.h"

alignas(CMutex) unsigned char CSingletonBase::ms_auMutex[sizeof(CMutex)];
CMutex* CSingletonBase::ms_pmutex = nullptr;

QvResult CSingletonBase::InitializeCSingletonBase()
{
    ms_pmutex = new (ms_auMutex) CMutex;
    return QV_RES_OK;
}

void CSingletonBase::FinalizeCSingletonBase()
{
    ms_pmutex->~CMutex();
    ms_pmutex = nullptr;
}

QvResult InitializeCSingleton()
{
    return CSingletonBase::InitializeCSingletonBase();
}

void FinalizeCSingleton()
{
    CSingletonBase::FinalizeCSingletonBase();
}
