#include <cstdio>

#include "framework/framework.h"

QvResult Run()
{
    CString strLine;
    QV_RETURN_IF_FAILED(strLine.Format(0, "Hello, %s number %d", "world", 1));
    CMarshaler marshaler;
    marshaler << strLine;  // two bytes of length, then the characters
    CBlob blobKey, blobMessage, blobCode;
    if (!marshaler.ExtractAll(blobMessage)) return QV_RES_OUT_OF_MEMORY;
    QV_RETURN_IF_FAILED(blobKey.Append("our secret"));
    CSha1Mac mac;
    QV_RETURN_IF_FAILED(mac.Begin(&blobKey));
    QV_RETURN_IF_FAILED(mac.Update(&blobMessage));
    QV_RETURN_IF_FAILED(mac.End(&blobCode));
    for (const unsigned char uByte : blobCode) std::printf("%02x", uByte);
    std::puts("");
    return QV_RES_OK;
}

int main()
{
    const CFrameworkScope framework;  // Initialize() here, Finalize() at the closing brace
    const QvResult res = QvSucceeded(framework.GetResult()) ? Run() : framework.GetResult();
    if (QvFailed(res)) std::fprintf(stderr, "hello: %s\n", QvResultName(res));
    return QvFailed(res) ? 1 : 0;
}
