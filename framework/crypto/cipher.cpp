#include "framework/crypto/cipher.h"

static_assert(sizeof(CCipher) == 8, "an interface without data");
static_assert(sizeof(CCipher::EMode) == 4, "the modes are 32-bit elements");

template class CVector<CCipher::EMode>;

CCipher::~CCipher() = default;
