// examples/host with the standard library.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <vector>

#include "bench/programs/host/std/plugin.h"

/// A plug-in that is loaded and has registered its classes. Their objects must be gone before it is.
class Plugin
{
public:
    Plugin(const char* path, Classes& classes) : m_classes(classes), m_library(dlopen(path, RTLD_NOW | RTLD_LOCAL))
    {
        if (m_library == nullptr) throw std::runtime_error(std::string("plug-in: ") + dlerror());
        const auto doRegister = reinterpret_cast<decltype(&pluginRegister)>(dlsym(m_library, "pluginRegister"));
        m_unregister = reinterpret_cast<decltype(&pluginUnregister)>(dlsym(m_library, "pluginUnregister"));
        const char* wrong = nullptr;
        if (doRegister == nullptr || m_unregister == nullptr) wrong = ": no plug-in";
        else if (!doRegister(classes)) wrong = ": a class of that name is there already";
        if (wrong == nullptr) return;
        dlclose(m_library);
        throw std::runtime_error(path + std::string(wrong));
    }
    ~Plugin()
    {
        m_unregister(m_classes);
        dlclose(m_library);
    }
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

private:
    Classes& m_classes;
    void* m_library;
    void (*m_unregister)(Classes&) = nullptr;
};

/// Sends a text through an object of a class, and prints what it made of it.
void transform(const Classes& classes, std::string& text, const char* name)
{
    const auto it = classes.find(name);
    if (it == classes.end()) throw std::runtime_error(std::string(name) + ": no such class");
    const std::unique_ptr<Transform> object = it->second();
    object->apply(text);
    const Author* const author = dynamic_cast<const Author*>(object.get());
    std::printf("%s, by %s: %s\n", name, author != nullptr ? author->author().c_str() : "nobody", text.c_str());
}

void run(int argc, char** argv)
{
    char** const end = argv + argc;
    char** const dashes = std::find_if(argv, end, [](const char* text) { return std::strcmp(text, "--") == 0; });
    if (end - dashes < 2 || dashes == argv) throw std::invalid_argument("usage: host TEXT CLASS... -- PLUGIN...");
    Classes classes;
    std::vector<std::unique_ptr<Plugin>> plugins;
    for (char** path = dashes + 1; path != end; ++path) plugins.push_back(std::make_unique<Plugin>(*path, classes));
    std::string text = argv[0];
    for (char** name = argv + 1; name != dashes; ++name) transform(classes, text, *name);
}

int main(int argc, char** argv)
{
    try
    {
        run(argc - 1, argv + 1);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "host: %s\n", error.what());
        return 1;
    }
    return 0;
}
