// Every public operation that may allocate, with each of its requests for memory refused in turn: it says so as its
// page promises, the objects are as promised, nothing leaks, and the framework goes down and comes up again each time.
#include "tests/whole/exhaustion.h"

#include "framework/kernel/framework_initializer.h"

#if TESTS_OWN_OPERATOR_NEW
namespace
{
// More requests than any operation makes: one that never gets through would go on for ever.
constexpr unsigned int g_uMAX_REQUESTS = 2000;

// Returns whether the request that was to be refused was made.
bool TryOnce(const SOperation& rstOperation, ESource eSource, unsigned int uNth)
{
    SCOPED_TRACE(testing::Message() << rstOperation.strName << ", request " << uNth << " refused by "
                                    << (eSource == ESource::eALLOCATOR ? "the allocator" : "operator new"));
    bool bRefused = false;
    const long nLive = LiveNewBlocks();
    {
        const CFrameworkScope framework;
        EXPECT_EQ(QV_RES_OK, framework.GetResult());
        CTrial trial(eSource, uNth);
        rstOperation.tryIt(trial);
        bRefused = trial.HasRefused();
    }
    if (!testing::Test::HasFailure()) { EXPECT_EQ(nLive, LiveNewBlocks()) << "blocks leaked"; }
    return bRefused;
}

// How often the framework was started for it.
unsigned int Exhaust(const SOperation& rstOperation, ESource eSource)
{
    unsigned int uNth = 0;
    while (TryOnce(rstOperation, eSource, uNth) && uNth < g_uMAX_REQUESTS && !testing::Test::HasFailure()) ++uNth;
    EXPECT_LT(uNth, g_uMAX_REQUESTS) << rstOperation.strName << " asks for memory without an end";
    return uNth + 1;
}

class CExhaustion : public testing::TestWithParam<SOperation>
{
};

std::string NameOf(const testing::TestParamInfo<SOperation>& rInfo)
{
    std::string name = rInfo.param.strName;
    for (char& rc : name) rc = std::isalnum(rc) != 0 ? rc : '_';
    return name;
}

std::vector<SOperation> AllOperations()
{
    std::vector<SOperation> all;
    for (const auto& rPart : {ContainerOperations(), DataOperations(), ServiceOperations()})
        all.insert(all.end(), rPart.begin(), rPart.end());
    return all;
}
}  // namespace

TEST_P(CExhaustion, OfOperatorNew)
{
    Exhaust(GetParam(), ESource::eOPERATOR_NEW);
}

TEST_P(CExhaustion, OfTheAllocator)
{
    if (GetParam().bTakesAllocator) Exhaust(GetParam(), ESource::eALLOCATOR);
}

INSTANTIATE_TEST_SUITE_P(Operations, CExhaustion, testing::ValuesIn(AllOperations()), NameOf);

TEST(CExhaustionOfAll, TwoThousandTimesInOneProcess)
{
    unsigned int uStarts = 0;
    while (uStarts < 2000 && !HasFailure())
    {
        for (const SOperation& rstOperation : AllOperations())
        {
            uStarts += Exhaust(rstOperation, ESource::eOPERATOR_NEW);
            if (rstOperation.bTakesAllocator) uStarts += Exhaust(rstOperation, ESource::eALLOCATOR);
        }
    }
    EXPECT_LE(2000u, uStarts);
}
#endif
