// examples/host with POCO. Classes are known by their names in the sources; a class that two plug-ins have is taken
// from the first.
#include <Poco/ClassLoader.h>
#include <Poco/Exception.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "bench/programs/host/poco/plugin.h"

/// Sends a text through an object of a class, and prints what it made of it.
void transform(const Poco::ClassLoader<Transform>& loader, std::string& text, const char* name)
{
    const std::unique_ptr<Transform> object(loader.create(name));
    object->apply(text);
    const Author* const author = dynamic_cast<const Author*>(object.get());
    std::printf("%s, by %s: %s\n", name, author != nullptr ? author->author().c_str() : "nobody", text.c_str());
}

void run(int argc, char** argv)
{
    char** const end = argv + argc;
    char** const dashes = std::find_if(argv, end, [](const char* text) { return std::strcmp(text, "--") == 0; });
    if (end - dashes < 2 || dashes == argv)
        throw Poco::InvalidArgumentException("usage: host TEXT CLASS... -- PLUGIN...");
    Poco::ClassLoader<Transform> loader;
    for (char** path = dashes + 1; path != end; ++path) loader.loadLibrary(*path);
    std::string text = argv[0];
    for (char** name = argv + 1; name != dashes; ++name) transform(loader, text, *name);
    for (char** path = dashes + 1; path != end; ++path) loader.unloadLibrary(*path);
}

int main(int argc, char** argv)
{
    try
    {
        run(argc - 1, argv + 1);
    }
    catch (const Poco::Exception& error)
    {
        std::fprintf(stderr, "host: %s\n", error.displayText().c_str());
        return 1;
    }
    return 0;
}
