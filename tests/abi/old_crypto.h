#ifndef TESTS_ABI_OLD_CRYPTO_H
#define TESTS_ABI_OLD_CRYPTO_H
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_result.h"
#include "tests/abi/old_singleton.h"

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
