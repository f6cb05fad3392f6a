// All modules through the one header, along the road that a message takes.
#include "framework/framework.h"

#include <cstring>

#include "tests/clients/client.h"

void FrameworkClient()
{
    CString strMessage;
    CHECK(strMessage.Format(0, "%s %u", "message", 7u) == QV_RES_OK);

    CMarshaler marshaler;
    marshaler << strMessage;
    CString strReceived;
    marshaler >> strReceived;
    CHECK(strReceived == strMessage && strReceived.GetSize() == 9);

    const CBlob blob(reinterpret_cast<const unsigned char*>(strReceived.CStr()), strReceived.GetSize(), 0, nullptr);
    unsigned char auKey[20];
    CHECK(CSecurePrng::Generate(sizeof auKey, auKey) == QV_RES_OK);
    CSha1Mac mac;
    CBlob digest(nullptr);
    CHECK(mac.Begin(auKey, sizeof auKey) == QV_RES_OK && mac.Update(&blob) == QV_RES_OK &&
          mac.End(&digest) == QV_RES_OK);
    CHECK(digest.GetSize() == 20);

    const int nIgnored = 1;
    CHECK(&QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nIgnored) == &nIgnored);
    CHECK(QV_ALIGNUP_VAL(5u, 4) == 8);
    CHECK(g_szEMPTY_STRING[0] == '\0' && std::strcmp(g_szNULL, "NULL") == 0);
}
