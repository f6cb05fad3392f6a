#ifndef INVENTORY_H
#define INVENTORY_H
#include <framework/framework.h>

/// What is in stock, in two sources of a program so that both include every header.
class CInventory
{
public:
    void Add(const CString& rItem);
    unsigned int Count() const;
    /// In hexadecimal digits.
    CString Digest() const;

private:
    CList<CString> m_lstItems;
};

#endif
