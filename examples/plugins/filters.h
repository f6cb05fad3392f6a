#ifndef EXAMPLES_PLUGINS_FILTERS_H
#define EXAMPLES_PLUGINS_FILTERS_H
#include "framework/framework.h"

/// Changes lines of text.
class ITextFilter : public IEComUnknown
{
    QV_ECOM_INTERFACE(ITextFilter, IEComUnknown)
    virtual void Apply(CString& rstrLine) = 0;
};

/// Says what a component does.
class IDescription : public IEComUnknown
{
    QV_ECOM_INTERFACE(IDescription, IEComUnknown)
    virtual const char* GetText() const = 0;
};

/// Counts what went through.
class ICounter : public IEComUnknown
{
    QV_ECOM_INTERFACE(ICounter, IEComUnknown)
    virtual unsigned long GetLines() const = 0;
    virtual unsigned long GetCharacters() const = 0;
};

/// A filter comes as two classes: plain, which has ITextFilter and IDescription, and counted, which has ICounter, too.
struct SFilter
{
    const char* pszName;
    const SEComGuid* pClsid;
    const SEComGuid* pCountedClsid;
};

/// All filters; the last one has no name.
extern const SFilter g_astFilters[];

/// Makes the classes known to the framework, or forgets them.
QvResult RegisterFilters();
void UnregisterFilters();

#endif
