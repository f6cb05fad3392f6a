// A plug-in with two classes.
#include <algorithm>
#include <cctype>

#include "bench/programs/host/std/plugin.h"

namespace
{
class Shout : public Transform, public Author
{
public:
    void apply(std::string& text) override
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char uc) { return static_cast<char>(std::toupper(uc)); });
    }
    std::string author() const override { return "Ada"; }
};

class Twice : public Transform
{
public:
    void apply(std::string& text) override { text += text; }
};
}  // namespace

bool pluginRegister(Classes& classes)
{
    if (!classes.emplace("shout", [] { return std::make_unique<Shout>(); }).second) return false;
    if (classes.emplace("twice", [] { return std::make_unique<Twice>(); }).second) return true;
    classes.erase("shout");
    return false;
}

void pluginUnregister(Classes& classes)
{
    classes.erase("shout");
    classes.erase("twice");
}
