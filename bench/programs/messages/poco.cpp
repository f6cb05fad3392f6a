// examples/messages with POCO.
#include <Poco/BinaryReader.h>
#include <Poco/BinaryWriter.h>
#include <Poco/HMACEngine.h>
#include <Poco/MemoryStream.h>
#include <Poco/Net/NetException.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Net/StreamSocketImpl.h>
#include <Poco/NumberParser.h>
#include <Poco/RandomStream.h>
#include <Poco/SHA1Engine.h>
#include <Poco/Thread.h>
#include <sys/socket.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

constexpr Poco::UInt32 maxBody = 65536, macSize = 20;

struct Message
{
    Poco::UInt32 id = 0;
    std::string text;
    std::string data;
};

/// A socket that is open already.
class OpenSocket : public Poco::Net::StreamSocket
{
public:
    explicit OpenSocket(int socket) : StreamSocket(new Poco::Net::StreamSocketImpl(socket)) {}
};

// The writer's own form of a string has a size of 7 bits a byte, and its reader believes every size.
std::string bodyOf(const Message& message)
{
    if (message.text.size() > 0xFFFF || message.data.size() > maxBody)
        throw Poco::RangeException("a message is too long");
    std::ostringstream body;
    Poco::BinaryWriter writer(body);
    writer << message.id << static_cast<Poco::UInt16>(message.text.size());
    writer.writeRaw(message.text);
    writer << static_cast<Poco::UInt32>(message.data.size());
    writer.writeRaw(message.data);
    return body.str();
}

template <typename Size>
std::string readText(Poco::BinaryReader& reader, std::istream& in, std::size_t most)
{
    Size size = 0;
    std::string text;
    reader >> size;
    if (in.good() && size <= most) reader.readRaw(size, text);
    if (text.size() != size) in.setstate(std::ios::failbit);
    return text;
}

Poco::DigestEngine::Digest macOf(const std::string& key, const char* body, std::size_t size)
{
    Poco::HMACEngine<Poco::SHA1Engine> mac(key);
    mac.update(body, size);
    return mac.digest();
}

/// Puts a message behind others: the size of its body, the body, and the code that only those make who know the key.
void pack(std::ostream& out, const std::string& key, const std::string& body)
{
    const Poco::DigestEngine::Digest mac = macOf(key, body.data(), body.size());
    Poco::BinaryWriter writer(out);
    writer << static_cast<Poco::UInt32>(body.size());
    writer.writeRaw(body);
    writer.writeRaw(reinterpret_cast<const char*>(mac.data()), static_cast<std::streamsize>(mac.size()));
}

/// Null when a message has come, else what has come instead.
const char* receive(Poco::Net::StreamSocket& socket, const std::string& key, Message& message)
{
    char body[maxBody + macSize];
    Poco::UInt32 size = 0;
    const int read = socket.receiveBytes(&size, sizeof(size), MSG_WAITALL);
    if (read != sizeof(size)) return read == 0 ? "the end" : "a cut size";
    if (size > maxBody) return "a size above all bounds";
    const int length = static_cast<int>(size + macSize);
    if (socket.receiveBytes(body, length, MSG_WAITALL) != length) return "a cut message";
    const Poco::DigestEngine::Digest sentMac(body + size, body + length);
    if (!Poco::DigestEngine::constantTimeEquals(macOf(key, body, size), sentMac)) return "a forged message";
    Poco::MemoryInputStream in(body, size);
    Poco::BinaryReader reader(in);
    reader >> message.id;
    message.text = readText<Poco::UInt16>(reader, in, size);
    message.data = readText<Poco::UInt32>(reader, in, size);
    return in.good() && in.peek() == EOF ? nullptr : "a malformed message";
}

/// Serves a peer until something comes that is no message.
void serve(const std::string& name, const std::string& key, const std::string& sent)
{
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) != 0) throw Poco::SystemException("socketpair");
    OpenSocket server(sockets[0]), client(sockets[1]);
    Poco::Thread peer;
    peer.startFunc(
        [&]
        {
            try
            {
                client.sendBytes(sent.data(), static_cast<int>(sent.size()), MSG_NOSIGNAL);
            }
            catch (const Poco::Exception&)
            {
                // How much of it the server takes is not the peer's concern.
            }
            client.close();
        });
    Message message;
    unsigned int count = 0;
    const char* instead = nullptr;
    while ((instead = receive(server, key, message)) == nullptr) ++count;
    std::printf("%s: %u messages, then %s\n", name.c_str(), count, instead);
    server.close();
    peer.join();
}

void run(unsigned int count)
{
    std::map<std::string, std::ostringstream> peers;  // and what each of them sends
    std::string key(32, '\0'), wrongKey(32, '\0');
    Poco::RandomInputStream random;
    for (std::string* const bytes : {&key, &wrongKey}) random.read(bytes->data(), 32);
    for (unsigned int u = 0; u < count; ++u) pack(peers["honest"], key, bodyOf({u, "good morning", "\1\2\3"}));
    pack(peers["forging"], wrongKey, bodyOf({0, "good morning", ""}));
    std::ostringstream lie;
    Poco::BinaryWriter(lie) << 7u << Poco::UInt16{60000} << 'x';
    pack(peers["lying"], key, lie.str());
    pack(peers["silent"], key, "");
    Poco::BinaryWriter(peers["cut"]) << 100u << 'x';
    Poco::BinaryWriter(peers["greedy"]) << 0xFFFFFFF0;
    for (const auto& [name, sent] : peers) serve(name, key, sent.str());
}

int main(int argc, char** argv)
{
    try
    {
        unsigned int count = 3;
        if (argc > 1 && !Poco::NumberParser::tryParseUnsigned(argv[1], count)) return 2;
        run(count);
    }
    catch (const Poco::Exception& error)
    {
        std::fprintf(stderr, "messages: %s\n", error.displayText().c_str());
        return 1;
    }
    return 0;
}
