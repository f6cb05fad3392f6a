#ifndef TESTS_ABI_CRYPTO_H
#define TESTS_ABI_CRYPTO_H
#include "tests/abi/mutex.h"
#include "tests/abi/result.h"
#include "tests/abi/singleton.h"

class CCrypto;
extern template class CSingleton<CCrypto>;

class CCrypto : public CSingleton<CCrypto>
{
public:
    CCrypto();
    ~CCrypto() override;
    void Enter();
    void Exit();
    static QvResult InitializeCCrypto();
    static void FinalizeCCrypto();

    CMutex m_mutex;
};

QvResult InitializeCCrypto();
void FinalizeCCrypto();

#endif
