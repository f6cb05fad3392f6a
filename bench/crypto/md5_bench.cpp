#include "framework/crypto/md5.h"

#include "bench/support/peers.h"

BENCHMARK(BM_DigestOurs<CMd5>)->Name("md5/ours")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_DigestPeer<CMd5, EVP_md5>)->Name("md5/libcrypto")->Arg(16)->Arg(64)->Arg(1024)->Arg(64 << 10);
