// Encrypts files with AES-256 in counter mode, and decrypts those that nobody has changed since.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "framework/framework.h"
#include "framework/interop/standard.h"

constexpr char g_szHELP[] = R"(encrypt key KEYFILE         makes a key
encrypt e KEYFILE < FILE    encrypts to standard output
encrypt d KEYFILE < FILE    decrypts to standard output; FILE is read twice, so it cannot be a pipe

An encrypted file is 16 random bytes, as many as the plain file has, and 20 of HMAC-SHA1 over all of these.
)";

constexpr unsigned int g_uCHUNK_SIZE = 65536;
constexpr unsigned int g_uKEY_SIZE = 32;  // of each of two: one encrypts, the other one proves
constexpr unsigned int g_uIV_SIZE = 16;
constexpr unsigned int g_uMAC_SIZE = 20;

using CFilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

void Check(QvResult res)
{
    if (QvFailed(res)) throw std::system_error(QvErrorCodeOf(res));
}

void CheckCall(bool bSucceeded, const char* pszWhat)
{
    if (!bSucceeded) throw std::system_error(errno, std::generic_category(), pszWhat);
}

void Write(const CBlob& rBytes)
{
    const size_t uSize = rBytes.GetSize();
    CheckCall(std::fwrite(rBytes.begin(), 1, uSize, stdout) == uSize, "standard output");
}

/// Reads standard input, uSize bytes of it or to its end, and calls use(chunk) for one chunk after the other.
template <typename Use>
void ForEachChunk(unsigned long uSize, const Use& rUse)
{
    CBlob blobChunk;
    Check(blobChunk.ReserveCapacity(g_uCHUNK_SIZE));
    while (uSize != 0)
    {
        const size_t uRead = std::fread(blobChunk.begin(), 1, std::min<unsigned long>(uSize, g_uCHUNK_SIZE), stdin);
        CheckCall(std::ferror(stdin) == 0, "standard input");
        if (uRead == 0) return;
        Check(blobChunk.Resize(static_cast<unsigned int>(uRead)));
        rUse(blobChunk);
        uSize -= uRead;
    }
}

/// Both keys in base64.
void MakeKey(const char* pszPath)
{
    CBlob blobKey;
    CString strKey;
    Check(CSecurePrng::Generate(2 * g_uKEY_SIZE, &blobKey));
    Check(CBase64::ToText(blobKey, &strKey));
    umask(S_IRWXG | S_IRWXO);
    CFilePtr pFile(std::fopen(pszPath, "wx"), std::fclose);
    CheckCall(pFile != nullptr, pszPath);
    const bool bWritten = std::fprintf(pFile.get(), "%s\n", strKey.CStr()) > 0;
    CheckCall(std::fclose(pFile.release()) == 0 && bWritten, pszPath);
}

void ReadKey(const char* pszPath, CBlob& rKey)
{
    const CFilePtr pFile(std::fopen(pszPath, "r"), std::fclose);
    CheckCall(pFile != nullptr, pszPath);
    char szLine[128] = "";
    CheckCall(std::fgets(szLine, sizeof(szLine), pFile.get()) != nullptr || std::ferror(pFile.get()) == 0, pszPath);
    CString strKey = szLine;
    strKey.Trim();
    const bool bRead = QvSucceeded(CBase64::FromText(strKey, &rKey)) && rKey.GetSize() == 2 * g_uKEY_SIZE;
    if (!bRead) throw std::runtime_error("this is no key file");
}

void BeginAes(CAes& rAes, CCipher::EAction eAction, const CBlob& rKey, const CBlob& rIv)
{
    Check(rAes.Begin(eAction, CCipher::eMODE_CTR, rKey.begin(), g_uKEY_SIZE, rIv.begin(), rIv.GetSize()));
}

void Encrypt(const CBlob& rKey)
{
    CAes aes;
    CSha1Mac mac;
    CBlob blobOut;
    const auto writeOut = [&]
    {
        Check(mac.Update(&blobOut));
        Write(blobOut);
    };
    Check(mac.Begin(rKey.begin() + g_uKEY_SIZE, g_uKEY_SIZE));
    Check(CSecurePrng::Generate(g_uIV_SIZE, &blobOut));
    BeginAes(aes, CCipher::eACTION_ENCRYPT, rKey, blobOut);
    writeOut();
    ForEachChunk(~0ul,
                 [&](const CBlob& rIn)
                 {
                     Check(aes.Update(&rIn, &blobOut, false));
                     writeOut();
                 });
    Check(aes.End(&blobOut, false));
    writeOut();
    Check(mac.End(&blobOut));
    Write(blobOut);
}

/// Compares the code that follows in standard input with that of what was read.
void CheckCode(CSha1Mac& rMac, const char* pszElse)
{
    CBlob blobMac;
    Check(rMac.End(&blobMac));
    unsigned char auMac[g_uMAC_SIZE] = {};
    CheckCall(std::fread(auMac, 1, g_uMAC_SIZE, stdin) == g_uMAC_SIZE, "standard input");
    if (!QvIsEqualConstantTime(auMac, blobMac.begin(), g_uMAC_SIZE)) throw std::runtime_error(pszElse);
}

/// Reads all of standard input, and goes back to its beginning. Gives the number of bytes in front of the code.
unsigned long Verify(const CBlob& rKey)
{
    CheckCall(std::fseek(stdin, 0, SEEK_END) == 0, "standard input");
    const long nSize = std::ftell(stdin) - long{g_uMAC_SIZE};
    if (nSize < long{g_uIV_SIZE}) throw std::runtime_error("this is no encrypted file");
    std::rewind(stdin);
    CSha1Mac mac;
    Check(mac.Begin(rKey.begin() + g_uKEY_SIZE, g_uKEY_SIZE));
    ForEachChunk(static_cast<unsigned long>(nSize), [&](const CBlob& rIn) { Check(mac.Update(&rIn)); });
    CheckCode(mac, "the file was changed, or encrypted with another key");
    std::rewind(stdin);
    return static_cast<unsigned long>(nSize);
}

void Decrypt(const CBlob& rKey)
{
    const unsigned long uSize = Verify(rKey);
    CAes aes;
    CSha1Mac mac;  // once more, since somebody may change the file between the two times that it is read
    CBlob blobOut;
    Check(mac.Begin(rKey.begin() + g_uKEY_SIZE, g_uKEY_SIZE));
    ForEachChunk(g_uIV_SIZE,
                 [&](const CBlob& rIv)
                 {
                     Check(mac.Update(&rIv));
                     BeginAes(aes, CCipher::eACTION_DECRYPT, rKey, rIv);
                 });
    ForEachChunk(uSize - g_uIV_SIZE,
                 [&](const CBlob& rIn)
                 {
                     Check(mac.Update(&rIn));
                     Check(aes.Update(&rIn, &blobOut, false));
                     Write(blobOut);
                 });
    Check(aes.End(&blobOut, false));
    Write(blobOut);
    CheckCode(mac, "the file changed while it was read: what was written is worthless");
}

/// False when there is no such action.
bool Run(std::string_view action, const char* pszKeyFile)
{
    const CFrameworkScope framework;
    Check(framework.GetResult());
    if (action == "key")
    {
        MakeKey(pszKeyFile);
        return true;
    }
    if (action != "e" && action != "d") return false;
    CBlob blobKey;
    ReadKey(pszKeyFile, blobKey);
    if (action == "e") Encrypt(blobKey);
    else Decrypt(blobKey);
    CheckCall(std::fflush(stdout) == 0, "standard output");
    return true;
}

int main(int argc, char** argv)
{
    try
    {
        if (argc == 3 && Run(argv[1], argv[2])) return 0;
        std::fputs(g_szHELP, stderr);
        return 2;
    }
    catch (const std::exception& rError)
    {
        std::fprintf(stderr, "encrypt: %s\n", rError.what());
        return 1;
    }
}
