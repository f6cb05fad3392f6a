#include <cstdio>

#include "framework/framework.h"

int main()
{
    const CFrameworkScope framework;  // Initialize() here, Finalize() at the closing brace
    if (framework.GetResult() < 0) return 1;
    CString strLine;
    if (strLine.Format(0, "Hello, %s number %d", "world", 1) < 0) return 1;
    CMarshaler marshaler;
    marshaler << strLine;  // two bytes of length, then the characters
    CBlob blobKey, blobMessage, blobCode;
    if (blobKey.Append("our secret") < 0 || !marshaler.ExtractAll(blobMessage)) return 1;
    CSha1Mac mac;
    if (mac.Begin(&blobKey) < 0 || mac.Update(&blobMessage) < 0 || mac.End(&blobCode) < 0) return 1;
    for (const unsigned char uByte : blobCode) std::printf("%02x", uByte);
    std::puts("");
}
