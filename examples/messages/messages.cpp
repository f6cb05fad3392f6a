// Messages that prove who sent them, and a server that no peer can harm: messages [COUNT]
// They do not prove that they are new: where that matters, let the receiver look at their numbers.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <future>

#include "framework/framework.h"

constexpr unsigned int g_uMAX_BODY = 65536, g_uMAC_SIZE = 20;

struct SMessage
{
    unsigned int uId = 0;
    CString strText;
    CBlob blob;

    friend CMarshaler& operator<<(CMarshaler& rOut, const SMessage& r) { return rOut << r.uId << r.strText << r.blob; }
    friend CMarshalReader& operator>>(CMarshalReader& rIn, SMessage& r) { return rIn >> r.uId >> r.strText >> r.blob; }
};

QvResult MakeMac(const CBlob& rKey, const unsigned char* puBody, unsigned int uSize, unsigned char* puMac)
{
    CSha1Mac mac;
    QV_RETURN_IF_FAILED(mac.Begin(&rKey));
    if (uSize != 0) QV_RETURN_IF_FAILED(mac.Update(puBody, uSize));  // a blob without bytes has no address for them
    return mac.End(puMac);
}

/// Puts a message behind others: the size of its body, the body, and the code that only those make who know the key.
template <typename... Types>
QvResult Pack(CMarshaler& rOut, const CBlob& rKey, const Types&... values)
{
    CMarshaler body;
    CBlob blobBody;
    unsigned char auMac[g_uMAC_SIZE];
    ((body << values), ...);
    if (!body.ExtractAll(blobBody)) return QV_RES_OUT_OF_MEMORY;
    QV_RETURN_IF_FAILED(MakeMac(rKey, blobBody.begin(), blobBody.GetSize(), auMac));
    (rOut << blobBody).Insert(auMac, g_uMAC_SIZE);
    return QV_RES_OK;
}

/// Null when a message has come, else what has come instead. Whatever a peer announces, it takes no more memory.
const char* Receive(int nSocket, const CBlob& rKey, SMessage& rMessage)
{
    unsigned char auBody[g_uMAX_BODY + g_uMAC_SIZE], auMac[g_uMAC_SIZE];
    unsigned int uSize = 0;
    const ssize_t nRead = recv(nSocket, &uSize, sizeof(uSize), MSG_WAITALL);
    if (nRead != sizeof(uSize)) return nRead == 0 ? "the end" : "a cut size";
    if (uSize > g_uMAX_BODY) return "a size above all bounds";
    if (recv(nSocket, auBody, uSize + g_uMAC_SIZE, MSG_WAITALL) != uSize + ssize_t{g_uMAC_SIZE}) return "a cut message";
    if (QvFailed(MakeMac(rKey, auBody, uSize, auMac))) return "a failure of our own";
    if (!QvIsEqualConstantTime(auMac, auBody + uSize, g_uMAC_SIZE)) return "a forged message";
    CMarshalReader reader(auBody, uSize, g_uMAX_BODY);
    return (reader >> rMessage).HasReadAll() ? nullptr : "a malformed message";
}

/// What a peer does. How much of it the server takes is not its concern.
void SendAndClose(int nSocket, const CBlob& rBytes)
{
    send(nSocket, rBytes.begin(), rBytes.GetSize(), MSG_NOSIGNAL);
    close(nSocket);
}

/// Serves a peer until something comes that is no message.
QvResult Serve(const CString& rName, const CBlob& rKey, CMarshaler& rSent)
{
    CBlob blobSent;
    SMessage message;
    unsigned int uCount = 0;
    const char* pszInstead = nullptr;
    int anSockets[2];
    if (!rSent.ExtractAll(blobSent)) return QV_RES_OUT_OF_MEMORY;
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, anSockets) != 0) return QV_RES_FAIL;
    const auto peer = std::async(std::launch::async, [&] { SendAndClose(anSockets[1], blobSent); });
    while ((pszInstead = Receive(anSockets[0], rKey, message)) == nullptr) ++uCount;
    std::printf("%s: %u messages, then %s\n", rName.CStr(), uCount, pszInstead);
    close(anSockets[0]);
    return QV_RES_OK;
}

QvResult Run(unsigned int uCount)
{
    CMap<CString, CMarshaler> peers;  // and what each of them sends
    CBlob blobKey, blobWrongKey;
    for (CBlob* const pblob : {&blobKey, &blobWrongKey}) QV_RETURN_IF_FAILED(CSecurePrng::Generate(32, pblob));
    for (unsigned int u = 0; u < uCount; ++u)
        QV_RETURN_IF_FAILED(Pack(peers["honest"], blobKey, SMessage{u, "good morning", CBlob::Of({1, 2, 3})}));
    QV_RETURN_IF_FAILED(Pack(peers["forging"], blobWrongKey, SMessage{0, "good morning", CBlob()}));
    QV_RETURN_IF_FAILED(Pack(peers["lying"], blobKey, 7u, static_cast<unsigned short>(60000), 'x'));
    QV_RETURN_IF_FAILED(Pack(peers["silent"], blobKey));
    peers["cut"] << 100u << 'x';
    peers["greedy"] << 0xFFFFFFF0;
    for (auto& [name, sent] : peers) QV_RETURN_IF_FAILED(Serve(name, blobKey, sent));
    return QV_RES_OK;
}

int main(int argc, char** argv)
{
    unsigned int uCount = 3;
    if (argc > 1 && QvFailed(CString::ParseNumber(argv[1], &uCount))) return 2;
    const CFrameworkScope framework;
    const QvResult res = QvSucceeded(framework.GetResult()) ? Run(uCount) : framework.GetResult();
    if (QvFailed(res)) std::fprintf(stderr, "messages: %s\n", QvResultName(res));
    return QvFailed(res) ? 1 : 0;
}
