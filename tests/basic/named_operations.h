#ifndef TESTS_BASIC_NAMED_OPERATIONS_H
#define TESTS_BASIC_NAMED_OPERATIONS_H
#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

/// What a test of random operations chooses from. Of two, the one of twice the weight comes twice as often.
template <typename Model>
struct SNamedOperation
{
    const char* pszName;
    unsigned int uWeight;
    void (Model::*pfnDo)();
};

/// Lets a model do operations of a table at random. A failure tells the step and the operation, and ends it.
template <typename Model, std::size_t uOPERATIONS>
void DoAtRandom(std::type_identity_t<Model>& rModel, const SNamedOperation<Model> (&aOperations)[uOPERATIONS],
                unsigned int uSteps, std::mt19937& rRng)
{
    unsigned int uWeights = 0;
    for (const SNamedOperation<Model>& rOperation : aOperations) uWeights += rOperation.uWeight;
    for (unsigned int uStep = 0; uStep < Repetitions(uSteps); ++uStep)
    {
        unsigned int uChoice = Below(rRng, uWeights);
        const SNamedOperation<Model>* pOperation = aOperations;
        while (uChoice >= pOperation->uWeight) uChoice -= pOperation++->uWeight;
        SCOPED_TRACE(testing::Message() << "step " << uStep << ": " << pOperation->pszName);
        rModel.BeginStep();
        if (testing::Test::HasFatalFailure()) return;
        (rModel.*pOperation->pfnDo)();
        if (testing::Test::HasFatalFailure()) return;
        rModel.EndStep();
        if (testing::Test::HasFatalFailure()) return;
    }
}

#endif
