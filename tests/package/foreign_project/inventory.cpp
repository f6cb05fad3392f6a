#include "inventory.h"

void CInventory::Add(const CString& rItem)
{
    m_lstItems.Append(rItem);
}

unsigned int CInventory::Count() const
{
    return m_lstItems.GetSize();
}

CString CInventory::Digest() const
{
    CSha256 sha256;
    sha256.Begin();
    for (const CString& rItem : m_lstItems)
    {
        sha256.Update(reinterpret_cast<const unsigned char*>(rItem.CStr()), rItem.GetSize());
    }
    unsigned char auDigest[32];
    sha256.End(auDigest);
    CString strDigest;
    for (const unsigned char uByte : auDigest) strDigest.Format(strDigest.GetSize(), "%02x", uByte);
    return strDigest;
}
