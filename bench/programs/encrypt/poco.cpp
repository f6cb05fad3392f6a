// examples/encrypt with POCO.
#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Crypto/Cipher.h>
#include <Poco/Crypto/CipherFactory.h>
#include <Poco/Crypto/CipherKey.h>
#include <Poco/Crypto/CryptoTransform.h>
#include <Poco/Exception.h>
#include <Poco/HMACEngine.h>
#include <Poco/RandomStream.h>
#include <Poco/SHA1Engine.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <istream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
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
using Mac = Poco::HMACEngine<Poco::SHA1Engine>;
using TransformPtr = Poco::Crypto::CryptoTransform::Ptr;

void checkCall(bool succeeded, const char* what)
{
    if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
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

Bytes randomBytes(std::size_t size)
{
    Bytes bytes(size);
    Poco::RandomInputStream random;
    random.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    return bytes;
}

/// Both keys in base64.
void makeKey(const char* path)
{
    const Bytes key = randomBytes(2 * keySize);
    std::ostringstream text;
    Poco::Base64Encoder encoder(text);
    encoder.rdbuf()->setLineLength(0);
    encoder.write(reinterpret_cast<const char*>(key.data()), static_cast<std::streamsize>(key.size()));
    encoder.close();
    umask(S_IRWXG | S_IRWXO);
    FilePtr file(std::fopen(path, "wx"), std::fclose);
    checkCall(file != nullptr, path);
    const bool written = std::fprintf(file.get(), "%s\n", text.str().c_str()) > 0;
    checkCall(std::fclose(file.release()) == 0 && written, path);
}

Bytes readKey(const char* path)
{
    const FilePtr file(std::fopen(path, "r"), std::fclose);
    checkCall(file != nullptr, path);
    char line[128] = "";
    checkCall(std::fgets(line, sizeof(line), file.get()) != nullptr || std::ferror(file.get()) == 0, path);
    std::istringstream text(line);
    Poco::Base64Decoder decoder(text);
    const Bytes key{std::istreambuf_iterator<char>(decoder), std::istreambuf_iterator<char>()};
    if (key.size() != 2 * keySize) throw std::runtime_error("this is no key file");
    return key;
}

// Both directions are the same in this mode.
TransformPtr beginAes(const Bytes& key, const Bytes& iv)
{
    const Poco::Crypto::CipherKey cipherKey("aes-256-ctr", Bytes(key.begin(), key.begin() + keySize), iv);
    return Poco::Crypto::CipherFactory::defaultFactory().createCipher(cipherKey)->createEncryptor();
}

void updateAes(Poco::Crypto::CryptoTransform& aes, const Bytes& in, Bytes& out)
{
    out.resize(in.size() + aes.blockSize());
    const auto written = aes.transform(in.data(), static_cast<std::streamsize>(in.size()), out.data(),
                                       static_cast<std::streamsize>(out.size()));
    out.resize(static_cast<std::size_t>(written));
}

void encrypt(const Bytes& key)
{
    Mac mac(reinterpret_cast<const char*>(key.data()) + keySize, keySize);
    Bytes out = randomBytes(ivSize);
    TransformPtr aes = beginAes(key, out);
    mac.update(out.data(), out.size());
    write(out);
    forEachChunk(~std::size_t{0},
                 [&](const Bytes& in)
                 {
                     updateAes(*aes, in, out);
                     mac.update(out.data(), out.size());
                     write(out);
                 });
    write(mac.digest());
}

/// Reads all of standard input, and goes back to its beginning. Gives the number of bytes in front of the code.
std::size_t verify(const Bytes& key)
{
    checkCall(std::fseek(stdin, 0, SEEK_END) == 0, "standard input");
    const long size = std::ftell(stdin) - static_cast<long>(macSize);
    if (size < static_cast<long>(ivSize)) throw std::runtime_error("this is no encrypted file");
    std::rewind(stdin);
    Mac mac(reinterpret_cast<const char*>(key.data()) + keySize, keySize);
    forEachChunk(static_cast<std::size_t>(size), [&](const Bytes& in) { mac.update(in.data(), in.size()); });
    Bytes sentMac(macSize);
    checkCall(std::fread(sentMac.data(), 1, macSize, stdin) == macSize, "standard input");
    if (!Poco::DigestEngine::constantTimeEquals(sentMac, mac.digest()))
        throw std::runtime_error("the file was changed, or encrypted with another key");
    std::rewind(stdin);
    return static_cast<std::size_t>(size);
}

void decrypt(const Bytes& key)
{
    const std::size_t size = verify(key);
    TransformPtr aes;
    Bytes out;
    forEachChunk(ivSize, [&](const Bytes& iv) { aes = beginAes(key, iv); });
    forEachChunk(size - ivSize,
                 [&](const Bytes& in)
                 {
                     updateAes(*aes, in, out);
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
    catch (const Poco::Exception& error)
    {
        std::fprintf(stderr, "encrypt: %s\n", error.displayText().c_str());
        return 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "encrypt: %s\n", error.what());
        return 1;
    }
}
