#include <cstdio>

#include "inventory.h"

int main()
{
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    CInventory inventory;
    inventory.Add("ab");
    inventory.Add("c");
    char szVersion[16];
    QvGetFrameworkVersion().GetStr(szVersion, sizeof(szVersion));
    std::printf("%s %u %s\n", szVersion, inventory.Count(), inventory.Digest().CStr());
}
