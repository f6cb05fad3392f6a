// examples/messages with the standard library and libcrypto.
#include <openssl/crypto.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

constexpr std::uint32_t maxBody = 65536, macSize = 20;

using Bytes = std::vector<unsigned char>;

template <typename Number>
void putNumber(Bytes& out, Number number)
{
    unsigned char raw[sizeof(number)];
    std::memcpy(raw, &number, sizeof(number));
    out.insert(out.end(), raw, raw + sizeof(number));
}

/// Takes values from bytes that anyone may have sent.
class Reader
{
public:
    Reader(const unsigned char* bytes, std::size_t size) : m_at(bytes), m_end(bytes + size) {}

    template <typename Number>
    Number number()
    {
        Number value = 0;
        if (const unsigned char* const raw = take(sizeof(value))) std::memcpy(&value, raw, sizeof(value));
        return value;
    }
    template <typename Container, typename Size>
    Container container()
    {
        const Size size = number<Size>();
        const unsigned char* const raw = take(size);
        return raw != nullptr ? Container(raw, raw + size) : Container();
    }
    bool hasReadAll() const { return !m_failed && m_at == m_end; }

private:
    const unsigned char* take(std::size_t size)
    {
        m_failed = m_failed || size > static_cast<std::size_t>(m_end - m_at);
        if (m_failed) return nullptr;
        m_at += size;
        return m_at - size;
    }

    const unsigned char* m_at;
    const unsigned char* m_end;
    bool m_failed = false;
};

struct Message
{
    std::uint32_t id = 0;
    std::string text;
    Bytes data;
};

Bytes bodyOf(const Message& message)
{
    if (message.text.size() > 0xFFFF || message.data.size() > maxBody) throw std::length_error("a message is too long");
    Bytes body;
    putNumber(body, message.id);
    putNumber(body, static_cast<std::uint16_t>(message.text.size()));
    body.insert(body.end(), message.text.begin(), message.text.end());
    putNumber(body, static_cast<std::uint32_t>(message.data.size()));
    body.insert(body.end(), message.data.begin(), message.data.end());
    return body;
}

void makeMac(const Bytes& key, const unsigned char* body, std::size_t size, unsigned char* mac)
{
    if (HMAC(EVP_sha1(), key.data(), static_cast<int>(key.size()), body, size, mac, nullptr) == nullptr)
        throw std::runtime_error("HMAC");
}

/// Puts a message behind others: the size of its body, the body, and the code that only those make who know the key.
void pack(Bytes& out, const Bytes& key, const Bytes& body)
{
    unsigned char mac[macSize];
    makeMac(key, body.data(), body.size(), mac);
    putNumber(out, static_cast<std::uint32_t>(body.size()));
    out.insert(out.end(), body.begin(), body.end());
    out.insert(out.end(), mac, mac + macSize);
}

/// Null when a message has come, else what has come instead.
const char* receive(int socket, const Bytes& key, Message& message)
{
    unsigned char body[maxBody + macSize], mac[macSize];
    std::uint32_t size = 0;
    const ssize_t read = recv(socket, &size, sizeof(size), MSG_WAITALL);
    if (read != sizeof(size)) return read == 0 ? "the end" : "a cut size";
    if (size > maxBody) return "a size above all bounds";
    if (recv(socket, body, size + macSize, MSG_WAITALL) != size + ssize_t{macSize}) return "a cut message";
    makeMac(key, body, size, mac);
    if (CRYPTO_memcmp(mac, body + size, macSize) != 0) return "a forged message";
    Reader reader(body, size);
    message.id = reader.number<std::uint32_t>();
    message.text = reader.container<std::string, std::uint16_t>();
    message.data = reader.container<Bytes, std::uint32_t>();
    return reader.hasReadAll() ? nullptr : "a malformed message";
}

/// What a peer does. How much of it the server takes is not its concern.
void sendAndClose(int socket, const Bytes& bytes)
{
    send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    close(socket);
}

/// Serves a peer until something comes that is no message.
void serve(const std::string& name, const Bytes& key, const Bytes& sent)
{
    Message message;
    unsigned int count = 0;
    const char* instead = nullptr;
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) != 0) throw std::runtime_error("socketpair");
    const auto peer = std::async(std::launch::async, sendAndClose, sockets[1], std::cref(sent));
    while ((instead = receive(sockets[0], key, message)) == nullptr) ++count;
    std::printf("%s: %u messages, then %s\n", name.c_str(), count, instead);
    close(sockets[0]);
}

void run(unsigned int count)
{
    std::map<std::string, Bytes> peers;  // and what each of them sends
    Bytes key(32), wrongKey(32);
    for (Bytes* const bytes : {&key, &wrongKey})
        if (RAND_bytes(bytes->data(), 32) != 1) throw std::runtime_error("RAND_bytes");
    for (unsigned int u = 0; u < count; ++u) pack(peers["honest"], key, bodyOf({u, "good morning", {1, 2, 3}}));
    pack(peers["forging"], wrongKey, bodyOf({0, "good morning", {}}));
    Bytes lie;
    putNumber(lie, 7u);
    putNumber(lie, std::uint16_t{60000});
    lie.push_back('x');
    pack(peers["lying"], key, lie);
    pack(peers["silent"], key, {});
    putNumber(peers["cut"], 100u);
    peers["cut"].push_back('x');
    putNumber(peers["greedy"], 0xFFFFFFF0);
    for (const auto& [name, sent] : peers) serve(name, key, sent);
}

int main(int argc, char** argv)
{
    unsigned int count = 3;
    if (argc > 1)
    {
        const char* const end = argv[1] + std::strlen(argv[1]);
        const auto parsed = std::from_chars(argv[1], end, count);
        if (parsed.ec != std::errc() || parsed.ptr != end) return 2;
    }
    try
    {
        run(count);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "messages: %s\n", error.what());
        return 1;
    }
    return 0;
}
