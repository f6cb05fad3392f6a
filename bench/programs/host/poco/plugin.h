#ifndef BENCH_PROGRAMS_HOST_POCO_PLUGIN_H
#define BENCH_PROGRAMS_HOST_POCO_PLUGIN_H
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

#endif
