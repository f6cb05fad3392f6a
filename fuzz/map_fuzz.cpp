// Operations on maps of numbers and of texts beside std::map, with a source of memory that refuses requests.
// Options: -max_len=1000
#include "fuzz/check.h"
#include "fuzz/models/map_steps.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    const std::string strFailure = twin::CompareMaps(puData, uSize);
    if (!strFailure.empty()) FuzzFailed(strFailure);
    return 0;
}
