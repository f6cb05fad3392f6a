#include "framework/crypto/hash.h"

static_assert(sizeof(CHash) == 8, "an interface without data");

CHash::~CHash() = default;
