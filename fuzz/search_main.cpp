// What a program that searches for inputs has besides its target; the main() comes with libFuzzer.
#include <cstdio>
#include <cstdlib>

#include "framework/kernel/framework_initializer.h"
#include "fuzz/check.h"

void FuzzFailed(const std::string& rstrWhat)
{
    std::fprintf(stderr, "CHECK FAILED: %s\n", rstrWhat.c_str());
    std::abort();
}

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    static const CFrameworkScope s_framework;
    return s_framework.GetResult() < 0 ? 1 : 0;
}
