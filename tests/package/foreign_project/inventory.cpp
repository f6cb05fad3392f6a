#include "inventory.h"

QvResult CInventory::Add(const CString& rItem)
{
    return m_lstItems.Append(rItem);
}

unsigned int CInventory::Count() const
{
    return m_lstItems.GetSize();
}

QvResult CInventory::GetDigest(CString* pstrDigest) const
{
    CSha256 sha256;
    QV_RETURN_IF_FAILED(sha256.Begin());
    for (const CString& rItem : m_lstItems)
    {
        QV_RETURN_IF_FAILED(sha256.Update(reinterpret_cast<const unsigned char*>(rItem.CStr()), rItem.GetSize()));
    }
    CBlob blobDigest;
    QV_RETURN_IF_FAILED(sha256.End(&blobDigest));
    return blobDigest.ToHex(pstrDigest);
}
