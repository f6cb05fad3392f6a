// Clients of the library: each calls all that one module offers, with exactly the arguments that are documented, as an
// application would that knows the documentation but not our headers. What a client needs to compile must not change: a
// wider or narrower type, a lost const, a member that moved behind protected, a call that became ambiguous, all these
// break programs although our own tests, which follow the headers, go on compiling.
//
// A client includes public headers and standard ones only, and reaches nothing by tricks. It is compiled as C++17 and
// as C++20. The checks are light, what the operations do is tested elsewhere.
#ifndef TESTS_CLIENTS_CLIENT_H
#define TESTS_CLIENTS_CLIENT_H

/// All clients: <Name>Client() in <name>_client.cpp, called while the framework is up.
// clang-format off
#define CLIENTS(Client)                                                                                      \
    Client(Framework)                                                                                        \
    Client(Result) Client(FrameworkInitializer) Client(Trace) Client(Singleton) Client(EventNotifier)        \
    Client(Fault) Client(StringFormat) Client(Version)                                                       \
    Client(Allocator) Client(Vector) Client(List) Client(AATree) Client(Map) Client(VectorList)              \
    Client(String) Client(Blob) Client(Marshaler) Client(Time) Client(TimeZone)                              \
    Client(Mutex) Client(Thread) Client(Timer) Client(Alive)                                                 \
    Client(ECom)                                                                                             \
    Client(Crypto) Client(Hash) Client(HMac) Client(Aes) Client(SecurePrng) Client(Base64) Client(Crc)       \
    Client(Standard)
// clang-format on

#define CLIENT_DECLARATION(Name) void Name##Client();
CLIENTS(CLIENT_DECLARATION)
#undef CLIENT_DECLARATION

/// Prints the condition that did not hold, and counts it.
void CheckFailed(const char* pszCondition, const char* pszFile, int nLine);

#define CHECK(...) ((__VA_ARGS__) ? static_cast<void>(0) : CheckFailed(#__VA_ARGS__, __FILE__, __LINE__))

/// Compiles only if the function, or the overload of that type, exists: Promised<int (CName::*)(char)
/// const>(&CName::F).
template <typename Type>
void Promised(Type)
{
}

#endif
