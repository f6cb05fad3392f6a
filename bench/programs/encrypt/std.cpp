// examples/encrypt with the standard library and libcrypto.
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

constexpr char help[] = R"(encrypt key KEYFILE         makes a key
encrypt e KEYFILE < FILE    encrypts to standard output
encrypt d KEYFILE < FILE    decrypts to standard output; FILE is read twice, so it cannot be a pipe

An encrypted file is 16 random bytes, as many as the plain file has, and 20 of HMAC-SHA1 over all of these.
)";

constexpr std::size_t chunkSize = 65536;
constexpr std::size_t keySize = 32;  // of each of two: one encrypts, the other one proves
constexpr std::size_t ivSize = 16;
constexpr std::size_t macSize = 20;

using Bytes = std::vector<unsigned char>;
using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

void check(int result)
{
    if (result != 1) throw std::runtime_error("libcrypto");
}

void checkCall(bool succeeded, const char* what)
{
    if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

class Aes
{
public:
    Aes() : m_context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free) { check(m_context != nullptr); }
    // Both directions are the same in this mode.
    void begin(const Bytes& key, const Bytes& iv)
    {
        check(EVP_EncryptInit_ex(m_context.get(), EVP_aes_256_ctr(), nullptr, key.data(), iv.data()));
    }
    void update(const Bytes& in, Bytes& out)
    {
        int size = 0;
        out.resize(in.size());
        check(EVP_EncryptUpdate(m_context.get(), out.data(), &size, in.data(), static_cast<int>(in.size())));
    }

private:
    std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> m_context;
};

class Mac
{
public:
    explicit Mac(const Bytes& key) : m_context(HMAC_CTX_new(), HMAC_CTX_free)
    {
        check(m_context != nullptr);
        check(HMAC_Init_ex(m_context.get(), key.data() + keySize, static_cast<int>(keySize), EVP_sha1(), nullptr));
    }
    void update(const Bytes& bytes) { check(HMAC_Update(m_context.get(), bytes.data(), bytes.size())); }
    Bytes end()
    {
        Bytes mac(macSize);
        check(HMAC_Final(m_context.get(), mac.data(), nullptr));
        return mac;
    }

private:
    std::unique_ptr<HMAC_CTX, void (*)(HMAC_CTX*)> m_context;
};

Bytes randomBytes(std::size_t size)
{
    Bytes bytes(size);
    check(RAND_bytes(bytes.data(), static_cast<int>(size)));
    return bytes;
}

void write(const Bytes& bytes)
{
    checkCall(std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size(), "standard output");
}

/// Reads standard input, size bytes of it or to its end, and calls use(chunk) for one chunk after the other.
template <typename Use>
void forEachChunk(std::size_t size, const Use& use)
{
    Bytes chunk;
    while (size != 0)
    {
        chunk.resize(std::min(size, chunkSize));
        chunk.resize(std::fread(chunk.data(), 1, chunk.size(), stdin));
        checkCall(std::ferror(stdin) == 0, "standard input");
        if (chunk.empty()) return;
        use(chunk);
        size -= chunk.size();
    }
}

/// Both keys in base64.
void makeKey(const char* path)
{
    const Bytes key = randomBytes(2 * keySize);
    unsigned char text[128];
    EVP_EncodeBlock(text, key.data(), static_cast<int>(key.size()));
    umask(S_IRWXG | S_IRWXO);
    FilePtr file(std::fopen(path, "wx"), std::fclose);
    checkCall(file != nullptr, path);
    const bool written = std::fprintf(file.get(), "%s\n", text) > 0;
    checkCall(std::fclose(file.release()) == 0 && written, path);
}

Bytes readKey(const char* path)
{
    const FilePtr file(std::fopen(path, "r"), std::fclose);
    checkCall(file != nullptr, path);
    char line[128] = "";
    checkCall(std::fgets(line, sizeof(line), file.get()) != nullptr || std::ferror(file.get()) == 0, path);
    const std::size_t length = std::strcspn(line, "\n");
    Bytes key(sizeof(line));
    const int decoded = EVP_DecodeBlock(key.data(), reinterpret_cast<unsigned char*>(line), static_cast<int>(length));
    // It counts the padding as bytes.
    if (decoded != 66 || std::string_view(line, length).substr(86) != "==")
        throw std::runtime_error("this is no key file");
    key.resize(2 * keySize);
    return key;
}

void encrypt(const Bytes& key)
{
    Aes aes;
    Mac mac(key);
    Bytes out = randomBytes(ivSize);
    aes.begin(key, out);
    mac.update(out);
    write(out);
    forEachChunk(~std::size_t{0},
                 [&](const Bytes& in)
                 {
                     aes.update(in, out);
                     mac.update(out);
                     write(out);
                 });
    write(mac.end());
}

/// Reads all of standard input, and goes back to its beginning. Gives the number of bytes in front of the code.
std::size_t verify(const Bytes& key)
{
    checkCall(std::fseek(stdin, 0, SEEK_END) == 0, "standard input");
    const long size = std::ftell(stdin) - static_cast<long>(macSize);
    if (size < static_cast<long>(ivSize)) throw std::runtime_error("this is no encrypted file");
    std::rewind(stdin);
    Mac mac(key);
    forEachChunk(static_cast<std::size_t>(size), [&](const Bytes& in) { mac.update(in); });
    unsigned char sentMac[macSize] = {};
    checkCall(std::fread(sentMac, 1, macSize, stdin) == macSize, "standard input");
    if (CRYPTO_memcmp(sentMac, mac.end().data(), macSize) != 0)
        throw std::runtime_error("the file was changed, or encrypted with another key");
    std::rewind(stdin);
    return static_cast<std::size_t>(size);
}

void decrypt(const Bytes& key)
{
    const std::size_t size = verify(key);
    Aes aes;
    Bytes out;
    forEachChunk(ivSize, [&](const Bytes& iv) { aes.begin(key, iv); });
    forEachChunk(size - ivSize,
                 [&](const Bytes& in)
                 {
                     aes.update(in, out);
                     write(out);
                 });
}

/// False when there is no such action.
bool run(std::string_view action, const char* keyFile)
{
    if (action == "key")
    {
        makeKey(keyFile);
        return true;
    }
    if (action != "e" && action != "d") return false;
    const Bytes key = readKey(keyFile);
    if (action == "e") encrypt(key);
    else decrypt(key);
    checkCall(std::fflush(stdout) == 0, "standard output");
    return true;
}

int main(int argc, char** argv)
{
    try
    {
        if (argc == 3 && run(argv[1], argv[2])) return 0;
        std::fputs(help, stderr);
        return 2;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "encrypt: %s\n", error.what());
        return 1;
    }
}
