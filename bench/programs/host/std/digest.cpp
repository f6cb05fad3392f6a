// A plug-in with one class.
#include <openssl/evp.h>

#include <cstdio>
#include <stdexcept>

#include "bench/programs/host/std/plugin.h"

namespace
{
/// Makes a text the SHA-256 digest of itself.
class Digest : public Transform, public Author
{
public:
    void apply(std::string& text) override
    {
        unsigned char digest[32];
        if (EVP_Digest(text.data(), text.size(), digest, nullptr, EVP_sha256(), nullptr) != 1)
            throw std::runtime_error("SHA-256");
        text.clear();
        for (const unsigned char byte : digest)
        {
            char hex[3];
            std::snprintf(hex, sizeof(hex), "%02x", byte);
            text += hex;
        }
    }
    std::string author() const override { return "Grace"; }
};
}  // namespace

bool pluginRegister(Classes& classes)
{
    return classes.emplace("digest", [] { return std::make_unique<Digest>(); }).second;
}

void pluginUnregister(Classes& classes)
{
    classes.erase("digest");
}
