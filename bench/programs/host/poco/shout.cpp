// A plug-in with two classes.
#include <Poco/ClassLibrary.h>
#include <Poco/String.h>

#include "bench/programs/host/poco/plugin.h"

class shout : public Transform, public Author
{
public:
    void apply(std::string& text) override { Poco::toUpperInPlace(text); }
    std::string author() const override { return "Ada"; }
};

class twice : public Transform
{
public:
    void apply(std::string& text) override { text += text; }
};

POCO_BEGIN_MANIFEST(Transform)
POCO_EXPORT_CLASS(shout)
POCO_EXPORT_CLASS(twice)
POCO_END_MANIFEST
