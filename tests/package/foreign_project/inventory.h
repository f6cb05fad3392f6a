#ifndef INVENTORY_H
#define INVENTORY_H
#include <framework/framework.h>

/// What is in stock, in two sources of a program so that both include every header.
class CInventory
{
public:
    QvResult Add(const CString& rItem);
    unsigned int Count() const;
    /// In hexadecimal digits.
    QvResult GetDigest(CString* pstrDigest) const;

private:
    CList<CString> m_lstItems;
};

#endif
