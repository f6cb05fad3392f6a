#include <cstdio>

#include "framework/framework.h"

int main()
{
    const CFrameworkScope framework;  // Initialize() here, Finalize() at the closing brace
    if (framework.GetResult() < 0) return 1;
    CString strText, strCopy;
    if (strText.Format(0, "Hello, %s number %d", "world", 1) < 0) return 1;
    CMarshaler marshaler;
    marshaler << strText >> strCopy;
    CBlob blobText(reinterpret_cast<const unsigned char*>(strCopy.CStr()), strCopy.GetSize()), blobDigest;
    if (CSha256 sha256; sha256.Begin() < 0 || sha256.Update(&blobText) < 0 || sha256.End(&blobDigest) < 0) return 1;
    for (const unsigned char uByte : blobDigest) std::printf("%02x", uByte);
    std::puts("");
}
