// Preloaded into a program: writes the names that it looks up into the file named by ZORBEL_TEST_LOOKUPS, a
// line each, and finds nothing but addresses, so that the program reaches this computer alone.

#include <cstdio>
#include <cstdlib>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>

extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found) {
    in6_addr address;
    if (name == nullptr || inet_pton(AF_INET, name, &address) == 1 ||
        inet_pton(AF_INET6, name, &address) == 1) {
        using Lookup = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
        return reinterpret_cast<Lookup>(dlsym(RTLD_NEXT, "getaddrinfo"))(name, service, hints, found);
    }
    const char* path = std::getenv("ZORBEL_TEST_LOOKUPS");
    if (std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr) {
        std::fprintf(file, "%s\n", name);
        std::fclose(file);
    }
    return EAI_NONAME;
}
