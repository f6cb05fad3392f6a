#include "framework/crypto/sha256.h"

#include "bench/support/peers.h"

BENCHMARK(BM_ShaOurs<CSha256>)->Name("sha256/ours")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_DigestPeer<CSha256, EVP_sha256>)->Name("sha256/libcrypto")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
