#include "examples/plugins/filters.h"

#include <algorithm>
#include <cctype>

namespace
{
QV_ECOM_GUID(CLSID_Lower, "filter.lower");
QV_ECOM_GUID(CLSID_CountedLower, "filter.lower.counted");
QV_ECOM_GUID(CLSID_Reverse, "filter.reverse");
QV_ECOM_GUID(CLSID_CountedReverse, "filter.reverse.counted");
QV_ECOM_GUID(CLSID_Trim, "filter.trim");
QV_ECOM_GUID(CLSID_CountedTrim, "filter.trim.counted");
QV_ECOM_GUID(CLSID_Upper, "filter.upper");
QV_ECOM_GUID(CLSID_CountedUpper, "filter.upper.counted");

// This is all that a component with two interfaces takes.
class CLower : public CEComComponent<ITextFilter, IDescription>
{
public:
    using CEComComponent::CEComComponent;
    void Apply(CString& rstrLine) override { rstrLine.ToLowerCase(); }
    const char* GetText() const override { return "small letters"; }
};

class CReverse : public CEComComponent<ITextFilter, IDescription>
{
public:
    using CEComComponent::CEComComponent;
    void Apply(CString& rstrLine) override
    {
        char* const pszLine = rstrLine.GetBuffer();
        if (pszLine != nullptr) std::reverse(pszLine, pszLine + rstrLine.GetSize());
    }
    const char* GetText() const override { return "back to front"; }
};

class CTrim : public CEComComponent<ITextFilter, IDescription>
{
public:
    using CEComComponent::CEComComponent;
    void Apply(CString& rstrLine) override
    {
        rstrLine.TrimLeftSide(' ');
        rstrLine.TrimRightSide(' ');
    }
    const char* GetText() const override { return "no blanks at either end"; }
};

class CUpper : public CEComComponent<ITextFilter, IDescription>
{
public:
    using CEComComponent::CEComComponent;
    void Apply(CString& rstrLine) override
    {
        for (unsigned int u = 0; u < rstrLine.GetSize(); ++u)
            rstrLine.SetAt(u, static_cast<char>(std::toupper(static_cast<unsigned char>(rstrLine.GetAt(u)))));
    }
    const char* GetText() const override { return "capital letters"; }
};

// A filter with another one as its inner object: it counts what it passes on, and offers the description of the inner
// filter as its own.
template <const SEComGuid& rstInnerClsid>
class CCounted : public CEComComponent<ITextFilter, ICounter>
{
public:
    using CEComComponent<ITextFilter, ICounter>::CEComComponent;

    QvResult InitializeInstance() override
    {
        QV_RETURN_IF_FAILED(m_pInner.CreateInstance(&rstInnerClsid, GetControllingUnknown()));
        CEComPtr<ITextFilter> pFilter;
        const QvResult resQuery = pFilter.QueryFrom(m_pInner.Get());
        // This reference counts for the whole object, which would keep itself alive: so it is released at once.
        m_pInnerFilter = pFilter.Get();
        return resQuery;
    }
    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        return QueryWithInner(m_pInner.Get(), pIid, ppInterface);
    }

    void Apply(CString& rstrLine) override
    {
        ++m_uLines;
        m_uCharacters += rstrLine.GetSize();
        m_pInnerFilter->Apply(rstrLine);
    }
    unsigned long GetLines() const override { return m_uLines; }
    unsigned long GetCharacters() const override { return m_uCharacters; }

private:
    CEComPtr<IEComUnknown> m_pInner;
    ITextFilter* m_pInnerFilter = nullptr;
    unsigned long m_uLines = 0;
    unsigned long m_uCharacters = 0;
};

struct SClass
{
    const SEComGuid* pClsid;
    PFNCreateEComInstance pfnCreate;
};

constexpr SClass g_astCLASSES[] = {
    {&CLSID_Lower, CreateEComObject<CLower>},     {&CLSID_CountedLower, CreateEComObject<CCounted<CLSID_Lower>>},
    {&CLSID_Reverse, CreateEComObject<CReverse>}, {&CLSID_CountedReverse, CreateEComObject<CCounted<CLSID_Reverse>>},
    {&CLSID_Trim, CreateEComObject<CTrim>},       {&CLSID_CountedTrim, CreateEComObject<CCounted<CLSID_Trim>>},
    {&CLSID_Upper, CreateEComObject<CUpper>},     {&CLSID_CountedUpper, CreateEComObject<CCounted<CLSID_Upper>>},
};
}  // namespace

const SFilter g_astFilters[] = {
    {"lower", &CLSID_Lower, &CLSID_CountedLower},
    {"reverse", &CLSID_Reverse, &CLSID_CountedReverse},
    {"trim", &CLSID_Trim, &CLSID_CountedTrim},
    {"upper", &CLSID_Upper, &CLSID_CountedUpper},
    {nullptr, nullptr, nullptr},
};

QvResult RegisterFilters()
{
    for (const SClass& rstClass : g_astCLASSES) QV_RETURN_IF_FAILED(RegisterECom(rstClass.pClsid, rstClass.pfnCreate));
    return QV_RES_OK;
}

void UnregisterFilters()
{
    for (const SClass& rstClass : g_astCLASSES) UnregisterECom(rstClass.pClsid);
}
