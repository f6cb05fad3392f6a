#include <cstdio>

#include "inventory.h"

int main()
{
    const CFrameworkScope framework;
    if (QvFailed(framework.GetResult())) return 1;
    CInventory inventory;
    CString strDigest;
    if (QvFailed(inventory.Add("ab")) || QvFailed(inventory.Add("c"))) return 1;
    if (QvFailed(inventory.GetDigest(&strDigest))) return 1;
    char szVersion[16];
    QvGetFrameworkVersion().GetStr(szVersion, sizeof(szVersion));
    std::printf("%s %u %s\n", szVersion, inventory.Count(), strDigest.CStr());
}
