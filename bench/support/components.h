#ifndef BENCH_SUPPORT_COMPONENTS_H
#define BENCH_SUPPORT_COMPONENTS_H
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/ecom/component.h"
#include "framework/ecom/ecom.h"

inline constexpr int g_nCLASSES = 10;
inline const char* const g_apszNames[g_nCLASSES] = {"bench.Circle", "bench.Square", "bench.Triangle", "bench.Line",
                                                    "bench.Point",  "bench.Curve",  "bench.Polygon",  "bench.Ellipse",
                                                    "bench.Arc",    "bench.Cone"};

class IShape : public IEComUnknown
{
    QV_ECOM_INTERFACE(IShape, IEComUnknown)
    virtual int GetNumber() const = 0;
};

template <int NUMBER>
class CShape : public CEComComponent<IShape>
{
public:
    using CEComComponent::CEComComponent;
    int GetNumber() const override { return NUMBER; }
};

/// The ten classes in our registry, for as long as it lives.
class CClasses
{
public:
    CClasses() { Register(std::make_integer_sequence<int, g_nCLASSES>()); }
    CClasses(const CClasses&) = delete;
    CClasses& operator=(const CClasses&) = delete;

    const SEComGuid* operator[](int nClass) const { return &m_astClsids[nClass]; }

private:
    template <int... NUMBERS>
    void Register(std::integer_sequence<int, NUMBERS...>)
    {
        (RegisterOne<NUMBERS>(), ...);
    }
    template <int NUMBER>
    void RegisterOne()
    {
        m_astClsids[NUMBER] = {static_cast<unsigned int>(std::strlen(g_apszNames[NUMBER])) + 1,
                               reinterpret_cast<const unsigned char*>(g_apszNames[NUMBER])};
        if (RegisterECom(&m_astClsids[NUMBER], CreateEComObject<CShape<NUMBER>>) < 0) std::abort();
    }

    SEComGuid m_astClsids[g_nCLASSES];
};

// Registered for as long as the framework is up, which ends before static objects do.
inline const CClasses& Classes()
{
    static const CClasses* const s_pClasses = new CClasses;
    return *s_pClasses;
}

inline void BM_CreateOurs(benchmark::State& rState)
{
    const CClasses& rClasses = Classes();
    int nClass = 0;
    for (auto _ : rState)
    {
        CEComPtr<IShape> pShape;
        if (pShape.CreateInstance(rClasses[nClass]) < 0 || pShape->GetNumber() != nClass) std::abort();
        benchmark::DoNotOptimize(pShape.Get());
        nClass = nClass == g_nCLASSES - 1 ? 0 : nClass + 1;
    }
}

class CPeer
{
public:
    virtual ~CPeer() = default;
    virtual int GetNumber() const = 0;
};

template <int NUMBER>
class CPeerShape : public CPeer
{
public:
    int GetNumber() const override { return NUMBER; }
};

/// The same classes, the same names, the same linear search and creation under the lock.
class CPeerRegistry
{
public:
    using PFNCreate = std::shared_ptr<CPeer> (*)();

    CPeerRegistry() { Register(std::make_integer_sequence<int, g_nCLASSES>()); }
    std::shared_ptr<CPeer> Create(const std::string& rName) const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        for (const auto& [name, pfnCreate] : m_classes)
        {
            if (name == rName) return pfnCreate();
        }
        return nullptr;
    }

private:
    template <int... NUMBERS>
    void Register(std::integer_sequence<int, NUMBERS...>)
    {
        (m_classes.emplace_back(g_apszNames[NUMBERS], CreateOne<NUMBERS>), ...);
    }
    template <int NUMBER>
    static std::shared_ptr<CPeer> CreateOne()
    {
        return std::make_shared<CPeerShape<NUMBER>>();
    }

    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, PFNCreate>> m_classes;
};

inline void BM_CreatePeer(benchmark::State& rState)
{
    static const CPeerRegistry s_registry;
    const std::vector<std::string> names(g_apszNames, g_apszNames + g_nCLASSES);
    std::size_t uClass = 0;
    for (auto _ : rState)
    {
        const std::shared_ptr<CPeer> pShape = s_registry.Create(names[uClass]);
        benchmark::DoNotOptimize(pShape.get());
        if (pShape->GetNumber() != static_cast<int>(uClass)) std::abort();
        uClass = uClass == g_nCLASSES - 1 ? 0 : uClass + 1;
    }
}

inline void BM_CountOurs(benchmark::State& rState)
{
    const CClasses& rClasses = Classes();
    CEComPtr<IShape> pShape;
    if (pShape.CreateInstance(rClasses[0]) < 0) std::abort();
    for (auto _ : rState)
    {
        const CEComPtr<IShape> pCopy(pShape);
        benchmark::DoNotOptimize(pCopy.Get());
    }
}

inline void BM_CountPeer(benchmark::State& rState)
{
    const std::shared_ptr<CPeer> pShape = std::make_shared<CPeerShape<0>>();
    for (auto _ : rState)
    {
        const std::shared_ptr<CPeer> pCopy(pShape);
        benchmark::DoNotOptimize(pCopy.get());
    }
}

#endif
