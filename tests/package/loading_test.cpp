// The library as it comes into a process that was not linked with it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/object_bytes.h"
#include "tests/support/shell.h"

namespace
{
// A library that was loaded, until the end of its scope.
class CLoaded
{
public:
    explicit CLoaded(const char* pszFile) : m_pvHandle(dlopen(pszFile, RTLD_NOW | RTLD_LOCAL))
    {
        if (m_pvHandle == nullptr) ADD_FAILURE() << dlerror();
    }
    CLoaded(const CLoaded&) = delete;
    CLoaded& operator=(const CLoaded&) = delete;
    ~CLoaded()
    {
        if (m_pvHandle != nullptr) dlclose(m_pvHandle);
    }

    void* Handle() const { return m_pvHandle; }

    template <typename Function>
    Function* Find(const char* pszName) const
    {
        void* const pvFunction = dlsym(m_pvHandle, pszName);
        EXPECT_NE(nullptr, pvFunction) << pszName;
        return reinterpret_cast<Function*>(pvFunction);
    }

private:
    void* const m_pvHandle;
};

bool IsLoaded(const char* pszFile)
{
    void* const pvHandle = dlopen(pszFile, RTLD_NOW | RTLD_NOLOAD);
    if (pvHandle != nullptr) dlclose(pvHandle);
    return pvHandle != nullptr;
}

// Open(), Work() and Close() of a module.
struct SPlugin
{
    explicit SPlugin(const char* pszFile)
        : library(pszFile),
          pfnOpen(library.Find<int()>("Open")),
          pfnWork(library.Find<bool()>("Work")),
          pfnClose(library.Find<void()>("Close"))
    {
    }

    CLoaded library;
    int (*pfnOpen)();
    bool (*pfnWork)();
    void (*pfnClose)();
};

TEST(Loading, WorksInAModuleThroughCyclesOfStartUpAndShutDown)
{
    const SPlugin plugin(ORVEL_PLUGIN_A);
    for (int n = 0; n < 3; ++n)
    {
        EXPECT_EQ(0, plugin.pfnOpen());
        EXPECT_TRUE(plugin.pfnWork());
        plugin.pfnClose();
    }
}

// A thread counts as ended when its record is gone; it has a few instructions of the library in front of it then.
TEST(Loading, LastsLongerThanTheModulesThatLoadedIt)
{
    for (int n = 0; n < 50; ++n)
    {
        {
            const SPlugin plugin(ORVEL_PLUGIN_A);
            EXPECT_EQ(0, plugin.pfnOpen());
            EXPECT_TRUE(plugin.pfnWork());
            plugin.library.Find<void()>("LeaveThreads")();
            plugin.pfnClose();
        }
        ASSERT_TRUE(IsLoaded(ORVEL_LIBRARY)) << "threads that the shut-down has waited for still return through it";
    }
}

TEST(Loading, IsSharedByTwoModulesThatCountTheStartUpTogether)
{
    const SPlugin stays(ORVEL_PLUGIN_A);
    EXPECT_EQ(0, stays.pfnOpen());
    {
        const SPlugin goes(ORVEL_PLUGIN_B);
        EXPECT_EQ(0, goes.pfnOpen());
        EXPECT_TRUE(goes.pfnWork());
        goes.pfnClose();
    }
    EXPECT_TRUE(stays.pfnWork()) << "the second module has taken the framework down";
    stays.pfnClose();
}

TEST(Loading, TwiceIsTheSameLibrary)
{
    const CLoaded once(ORVEL_LIBRARY), twice(ORVEL_LIBRARY);
    EXPECT_EQ(once.Handle(), twice.Handle());
    const char* const pszInitialize = "_ZN21CFrameworkInitializer10InitializeEv";
    const char* const pszFinalize = "_ZN21CFrameworkInitializer8FinalizeEv";
    EXPECT_EQ(0, once.Find<int()>(pszInitialize)());
    EXPECT_EQ(0, twice.Find<int()>(pszInitialize)());
    once.Find<void()>(pszFinalize)();
    twice.Find<void()>(pszFinalize)();
}

// The names of the library's functions by their place in the file, those included that are not exported.
std::set<std::string> NamesAt(std::uint64_t uAddress)
{
    std::set<std::string> names;
    std::istringstream stream(Shell("nm --defined-only " + Quoted(ORVEL_LIBRARY)));
    for (std::string line; std::getline(stream, line);)
    {
        if (std::stoull(line.substr(0, 16), nullptr, 16) == uAddress) names.insert(line.substr(19));
    }
    return names;
}

// What the compiler and its tools put there themselves: they set up their own tables, and run nothing of ours.
bool IsTheCompilersOwn(const std::set<std::string>& rNames)
{
    for (const char* const pszName : {"frame_dummy", "asan.module_ctor", "tsan.module_ctor", "_sub_I_00100_0"})
    {
        if (rNames.count(pszName) != 0) return true;
    }
    return false;
}

TEST(Loading, RunsNoStaticConstructor)
{
    const CLoaded library(ORVEL_LIBRARY);
    const link_map* pMap = nullptr;
    ASSERT_EQ(0, dlinfo(library.Handle(), RTLD_DI_LINKMAP, &pMap));
    std::uint64_t uArray = 0, uSize = 0;
    for (const ElfW(Dyn)* pEntry = pMap->l_ld; pEntry->d_tag != DT_NULL; ++pEntry)
    {
        if (pEntry->d_tag == DT_INIT_ARRAY) uArray = pEntry->d_un.d_ptr;
        if (pEntry->d_tag == DT_INIT_ARRAYSZ) uSize = pEntry->d_un.d_val;
    }
    for (std::uint64_t u = 0; u < uSize; u += sizeof(std::uint64_t))
    {
        const char* const pcLoad = reinterpret_cast<const char*>(pMap->l_addr);
        const std::uint64_t uFunction = LoadAt<std::uint64_t>(pcLoad, uArray + u) - pMap->l_addr;
        const std::set<std::string> names = NamesAt(uFunction);
        EXPECT_TRUE(IsTheCompilersOwn(names)) << (names.empty() ? "?" : *names.begin());
    }
}
}  // namespace
