#ifndef EXAMPLES_HOST_PLUGIN_H
#define EXAMPLES_HOST_PLUGIN_H
#include "framework/framework.h"

/// What plug-ins do: they change a text.
class ITransform : public IEComUnknown
{
    QV_ECOM_INTERFACE(ITransform, IEComUnknown)
    virtual QvResult Apply(CString& rstrText) = 0;
};

/// What some of them tell as well.
class IAuthor : public IEComUnknown
{
    QV_ECOM_INTERFACE(IAuthor, IEComUnknown)
    virtual const char* GetAuthor() const = 0;
};

/// What a plug-in exports. It registers its classes, whose identifiers are the names that users know them by, when it
/// is loaded, and forgets them before it is unloaded. Results as of RegisterECom(): after a failure none is registered.
extern "C" __attribute__((visibility("default"))) QvResult PluginRegister();
extern "C" __attribute__((visibility("default"))) void PluginUnregister();

#endif
