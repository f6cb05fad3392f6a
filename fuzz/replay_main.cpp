// Runs every target on what is known: the empty input, each file of its checked-in corpus, and a few thousand
// pseudo-random inputs, most of them corpus files with some damage. With arguments, only the targets of these names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "framework/kernel/framework_initializer.h"
#include "fuzz/check.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

#define FUZZ_TARGET(name) extern "C" int FuzzTarget_##name(const std::uint8_t* puData, std::size_t uSize);
#include "replay_targets.inc"
#undef FUZZ_TARGET

void FuzzFailed(const std::string& rstrWhat)
{
    throw std::runtime_error(rstrWhat);
}

namespace
{
using Input = std::vector<unsigned char>;
using TargetFunction = int (*)(const std::uint8_t*, std::size_t);

constexpr unsigned int uRANDOM_INPUTS = 2000;

struct STarget
{
    const char* pszName;
    TargetFunction pfnRun;
};

constexpr STarget astTARGETS[] = {
#define FUZZ_TARGET(name) {#name, FuzzTarget_##name},
#include "replay_targets.inc"
#undef FUZZ_TARGET
};

/// A copy of its exact size, so that a sanitizer sees every read beyond it.
void RunExact(TargetFunction pfnRun, const Input& rInput)
{
    const Input exact(rInput);
    static const std::uint8_t uNone = 0;
    pfnRun(exact.empty() ? &uNone : exact.data(), exact.size());
}

class CReplay : public testing::Test
{
public:
    CReplay(TargetFunction pfnRun, std::filesystem::path file) : m_pfnRun(pfnRun), m_file(std::move(file)) {}
    void TestBody() override
    {
        Input input;
        if (!m_file.empty())
        {
            std::ifstream stream(m_file, std::ios::binary);
            ASSERT_TRUE(stream) << m_file << " cannot be read";
            input.assign(std::istreambuf_iterator<char>(stream), {});
        }
        RunExact(m_pfnRun, input);
    }

private:
    TargetFunction m_pfnRun;
    std::filesystem::path m_file;
};

/// What a careless hand or a broken disk makes of an input.
void Damage(Input& rInput, std::mt19937& rRng)
{
    const std::size_t uAt = Below(rRng, rInput.size() + 1);
    const auto itAt = rInput.begin() + static_cast<std::ptrdiff_t>(uAt);
    switch (rRng() % 5)
    {
        case 0: rInput.insert(itAt, static_cast<unsigned char>(rRng())); break;
        case 1:
            rInput.erase(itAt,
                         itAt + static_cast<std::ptrdiff_t>(std::min<std::size_t>(rRng() % 4, rInput.size() - uAt)));
            break;
        case 2:
            if (uAt < rInput.size()) *itAt = static_cast<unsigned char>(rRng());
            break;
        case 3:
            if (uAt < rInput.size()) *itAt = static_cast<unsigned char>(*itAt ^ 1u << rRng() % 8);
            break;
        default:
            for (const unsigned char uByte : RandomBytes(rRng, 0, 8)) rInput.push_back(uByte);
            break;
    }
}

class CRandomReplay : public testing::Test
{
public:
    CRandomReplay(TargetFunction pfnRun, std::vector<std::filesystem::path> files)
        : m_pfnRun(pfnRun), m_files(std::move(files))
    {
    }
    void TestBody() override
    {
        std::vector<Input> corpus;
        for (const std::filesystem::path& rFile : m_files)
        {
            std::ifstream stream(rFile, std::ios::binary);
            corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
        }
        // Printed at once: a sanitizer's report leaves no time for it later.
        std::printf("TEST_SEED=%u\n", TestSeed());
        std::fflush(stdout);
        std::mt19937 rng(TestSeed());
        for (unsigned int uInput = 0; uInput < Repetitions(uRANDOM_INPUTS); ++uInput)
        {
            const CFuzzStep step("random input", uInput);
            Input input;
            if (!corpus.empty() && rng() % 8 != 0)
            {
                input = corpus[Below(rng, corpus.size())];
                for (unsigned int uTimes = 1 + Below(rng, 4); uTimes != 0; --uTimes) Damage(input, rng);
            }
            else { input = RandomBytes(rng, 0, uInput % 16 == 0 ? 3000 : 200); }
            RunExact(m_pfnRun, input);
        }
    }

private:
    TargetFunction m_pfnRun;
    std::vector<std::filesystem::path> m_files;
};

void Register(const STarget& rTarget)
{
    std::vector<std::filesystem::path> files;
    const std::filesystem::path corpus = std::filesystem::path(ORVEL_SOURCE_DIR "/fuzz/corpus") / rTarget.pszName;
    if (std::filesystem::is_directory(corpus))
    {
        for (const auto& rEntry : std::filesystem::directory_iterator(corpus)) files.push_back(rEntry.path());
    }
    std::sort(files.begin(), files.end());
    const std::string strSuite = std::string("Fuzz_") + rTarget.pszName;
    const auto add = [&](const std::string& rstrCase, auto make)
    { testing::RegisterTest(strSuite.c_str(), rstrCase.c_str(), nullptr, nullptr, __FILE__, __LINE__, make); };
    const TargetFunction pfnRun = rTarget.pfnRun;
    add("empty", [=]() -> testing::Test* { return new CReplay(pfnRun, {}); });
    for (const std::filesystem::path& rFile : files)
    {
        add(rFile.filename().string(), [=]() -> testing::Test* { return new CReplay(pfnRun, rFile); });
    }
    add("random", [=]() -> testing::Test* { return new CRandomReplay(pfnRun, files); });
}

/// A directory for results gets a file of the test's name, not of the program's that all tests share. GoogleTest
/// looks at this when it starts.
void NameResult(const std::string& rstrTest)
{
    std::string& rstrOutput = testing::GTEST_FLAG(output);
    if (rstrOutput.starts_with("xml:") && rstrOutput.ends_with("/")) rstrOutput += "test_fuzz." + rstrTest + ".xml";
}
}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2) NameResult(argv[1]);
    testing::InitGoogleTest(&argc, argv);
    const std::vector<std::string> wanted(argv + 1, argv + argc);
    std::size_t uFound = 0;
    for (const STarget& rTarget : astTARGETS)
    {
        const bool bWanted = std::find(wanted.begin(), wanted.end(), rTarget.pszName) != wanted.end();
        if (bWanted) ++uFound;
        if (bWanted || wanted.empty()) Register(rTarget);
    }
    if (uFound != wanted.size())
    {
        std::fprintf(stderr, "there is no fuzz target of such a name\n");
        return 1;
    }
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    return RUN_ALL_TESTS();
}
