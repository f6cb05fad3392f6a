// A plug-in with two classes.
#include "examples/host/plugin.h"

namespace
{
QV_ECOM_GUID(CLSID_Shout, "shout");
QV_ECOM_GUID(CLSID_Twice, "twice");

class CShout : public CEComComponent<ITransform, IAuthor>
{
public:
    using CEComComponent::CEComComponent;
    QvResult Apply(CString& rstrText) override
    {
        rstrText.ToUpperCase();
        return QV_RES_OK;
    }
    const char* GetAuthor() const override { return "Ada"; }
};

class CTwice : public CEComComponent<ITransform>
{
public:
    using CEComComponent::CEComComponent;
    QvResult Apply(CString& rstrText) override { return rstrText.Append(rstrText); }
};
}  // namespace

QvResult PluginRegister()
{
    QV_RETURN_IF_FAILED(RegisterECom(&CLSID_Shout, CreateEComObject<CShout>));
    const QvResult res = RegisterECom(&CLSID_Twice, CreateEComObject<CTwice>);
    if (QvFailed(res)) UnregisterECom(&CLSID_Shout);
    return res;
}

void PluginUnregister()
{
    UnregisterECom(&CLSID_Shout);
    UnregisterECom(&CLSID_Twice);
}
