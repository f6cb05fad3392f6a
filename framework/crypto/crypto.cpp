#include "framework/crypto/crypto.h"

#include "framework/crypto/secure_prng.h"

static_assert(sizeof(CCrypto) == 56, "field order and widths are the binary interface");

template class CSingleton<CCrypto>;

CCrypto::CCrypto() = default;

CCrypto::~CCrypto() = default;

void CCrypto::Enter()
{
    m_mutex.Lock();
}

void CCrypto::Exit()
{
    m_mutex.Unlock();
}

QvResult CCrypto::InitializeCCrypto()
{
    uint8_t auDropped[40];
    CSecurePrng::Generate(sizeof(auDropped), auDropped);
    return QV_RES_OK;
}

void CCrypto::FinalizeCCrypto()
{
    DestroyInstance();
}

QvResult InitializeCCrypto()
{
    return CCrypto::InitializeCCrypto();
}

void FinalizeCCrypto()
{
    CCrypto::FinalizeCCrypto();
}
