// A plug-in with two classes.
#include <cctype>

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
        for (unsigned int u = 0; u < rstrText.GetSize(); ++u)
            rstrText.SetAt(u, static_cast<char>(std::toupper(static_cast<unsigned char>(rstrText[u]))));
        return QV_RES_OK;
    }
    const char* GetAuthor() const override { return "Ada"; }
};

class CTwice : public CEComComponent<ITransform>
{
public:
    using CEComComponent::CEComComponent;
    QvResult Apply(CString& rstrText) override
    {
        return rstrText.Insert(rstrText.GetSize(), 1, rstrText, 0, rstrText.GetSize());
    }
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
