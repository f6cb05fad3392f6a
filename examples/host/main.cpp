// Lets classes of plug-ins, which are shared objects, change a text in turn: host TEXT CLASS... -- PLUGIN...
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "examples/host/plugin.h"

bool Fail(const char* pszWhat, const char* pszWhy)
{
    std::fprintf(stderr, "host: %s: %s\n", pszWhat, pszWhy);
    return false;
}

/// A plug-in that is loaded and has registered its classes. Their objects must be gone before it is.
class CPlugin
{
public:
    CPlugin() = default;
    CPlugin(const CPlugin&) = delete;
    CPlugin& operator=(const CPlugin&) = delete;
    ~CPlugin()
    {
        if (m_pfnUnregister != nullptr) m_pfnUnregister();
        if (m_pvLibrary != nullptr) dlclose(m_pvLibrary);
    }

    /// What fails is told on standard error.
    bool Load(const char* pszPath)
    {
        m_pvLibrary = dlopen(pszPath, RTLD_NOW | RTLD_LOCAL);
        if (m_pvLibrary == nullptr) return Fail("plug-in", dlerror());
        const auto pfnRegister = reinterpret_cast<decltype(&PluginRegister)>(dlsym(m_pvLibrary, "PluginRegister"));
        if (pfnRegister == nullptr) return Fail(pszPath, "no plug-in");
        const auto pfnUnregister =
            reinterpret_cast<decltype(&PluginUnregister)>(dlsym(m_pvLibrary, "PluginUnregister"));
        if (pfnUnregister == nullptr) return Fail(pszPath, "no plug-in");
        const QvResult res = pfnRegister();
        if (QvFailed(res)) return Fail(pszPath, QvResultName(res));
        m_pfnUnregister = pfnUnregister;
        return true;
    }

private:
    void* m_pvLibrary = nullptr;
    void (*m_pfnUnregister)() = nullptr;
};

/// Sends a text through an object of a class, and prints what it made of it.
bool Transform(CString& rstrText, const char* pszClass)
{
    const SEComGuid clsid = {static_cast<unsigned int>(std::strlen(pszClass)) + 1,
                             reinterpret_cast<const unsigned char*>(pszClass)};
    CEComPtr<ITransform> pTransform;
    QvResult res = pTransform.CreateInstance(&clsid);
    if (QvSucceeded(res)) res = pTransform->Apply(rstrText);
    if (QvFailed(res)) return Fail(pszClass, QvResultName(res));
    CEComPtr<IAuthor> pAuthor;
    const char* const pszAuthor = QvSucceeded(pAuthor.QueryFrom(pTransform.Get())) ? pAuthor->GetAuthor() : "nobody";
    std::printf("%s, by %s: %s\n", pszClass, pszAuthor, rstrText.CStr());
    return true;
}

bool Run(int argc, char** argv)
{
    char** const ppszEnd = argv + argc;
    char** const ppszDashes = std::find_if(argv, ppszEnd, [](const char* psz) { return std::strcmp(psz, "--") == 0; });
    if (ppszEnd - ppszDashes < 2 || ppszDashes == argv) return Fail("usage", "host TEXT CLASS... -- PLUGIN...");
    CVector<std::unique_ptr<CPlugin>> plugins;
    for (char** ppsz = ppszDashes + 1; ppsz != ppszEnd; ++ppsz)
    {
        plugins.push_back(std::make_unique<CPlugin>());
        if (!plugins.back()->Load(*ppsz)) return false;
    }
    CString strText = argv[0];
    return std::all_of(argv + 1, ppszDashes, [&](const char* pszClass) { return Transform(strText, pszClass); });
}

int main(int argc, char** argv)
{
    const CFrameworkScope framework;
    const bool bUp = QvSucceeded(framework.GetResult()) || Fail("framework", QvResultName(framework.GetResult()));
    return bUp && Run(argc - 1, argv + 1) ? 0 : 1;
}
