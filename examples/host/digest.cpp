// A plug-in with one class.
#include "examples/host/plugin.h"

namespace
{
QV_ECOM_GUID(CLSID_Digest, "digest");

/// Makes a text the SHA-256 digest of itself.
class CDigest : public CEComComponent<ITransform, IAuthor>
{
public:
    using CEComComponent::CEComComponent;
    QvResult Apply(CString& rstrText) override
    {
        CBlob blobDigest;
        CSha256 sha256;
        QV_RETURN_IF_FAILED(sha256.Begin());
        QV_RETURN_IF_FAILED(sha256.Update(reinterpret_cast<const unsigned char*>(rstrText.CStr()), rstrText.GetSize()));
        QV_RETURN_IF_FAILED(sha256.End(&blobDigest));
        return blobDigest.ToHex(&rstrText);
    }
    const char* GetAuthor() const override { return "Grace"; }
};
}  // namespace

QvResult PluginRegister()
{
    return RegisterECom(&CLSID_Digest, CreateEComObject<CDigest>);
}

void PluginUnregister()
{
    UnregisterECom(&CLSID_Digest);
}
