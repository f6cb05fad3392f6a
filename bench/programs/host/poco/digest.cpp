// A plug-in with one class.
#include <Poco/ClassLibrary.h>
#include <Poco/SHA2Engine.h>

#include "bench/programs/host/poco/plugin.h"

/// Makes a text the SHA-256 digest of itself.
class digest : public Transform, public Author
{
public:
    void apply(std::string& text) override
    {
        Poco::SHA2Engine engine(Poco::SHA2Engine::SHA_256);
        engine.update(text);
        text = Poco::DigestEngine::digestToHex(engine.digest());
    }
    std::string author() const override { return "Grace"; }
};

POCO_BEGIN_MANIFEST(Transform)
POCO_EXPORT_CLASS(digest)
POCO_END_MANIFEST
