#ifndef BENCH_PROGRAMS_HOST_STD_PLUGIN_H
#define BENCH_PROGRAMS_HOST_STD_PLUGIN_H
#include <functional>
#include <map>
#include <memory>
#include <string>

/// What plug-ins do: they change a text.
class Transform
{
public:
    virtual ~Transform() = default;
    virtual void apply(std::string& text) = 0;
};

/// What some of them tell as well.
class Author
{
public:
    virtual ~Author() = default;
    virtual std::string author() const = 0;
};

/// Makes objects of classes by the names that users know them by.
using Classes = std::map<std::string, std::function<std::unique_ptr<Transform>()>>;

/// What a plug-in exports: it adds its classes when it is loaded, and takes them out before it is unloaded. False where
/// a class of that name is there already.
extern "C" __attribute__((visibility("default"))) bool pluginRegister(Classes& classes);
extern "C" __attribute__((visibility("default"))) void pluginUnregister(Classes& classes);

#endif
