#include "framework/crypto/sha1.h"

#include "bench/support/peers.h"

BENCHMARK(BM_ShaOurs<CSha1>)->Name("sha1/ours")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_DigestPeer<CSha1, EVP_sha1>)->Name("sha1/libcrypto")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
