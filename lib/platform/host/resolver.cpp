/// Name resolution with the C library.
#include "platform/host/resolver.h"

#include <arpa/inet.h>
#include <cstring>
#include <netdb.h>
#include <sys/socket.h>

namespace kr::host::detail {

namespace {

int winsock_error(int status) {
    switch (status) {
    case EAI_AGAIN:
        return 11002;
    case EAI_FAIL:
        return 11003;
    default:
        return 11001;
    }
}

} // namespace

resolved_host resolve_name(const char* name) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    resolved_host host;
    if (const int status = getaddrinfo(name, nullptr, &hints, &list); status != 0) {
        host.error = winsock_error(status);
        return host;
    }
    host.name = name;
    for (const addrinfo* at = list; at != nullptr; at = at->ai_next) {
        sockaddr_in address{};
        std::memcpy(&address, at->ai_addr, sizeof address);
        host.addresses.push_back(address.sin_addr.s_addr);
    }
    freeaddrinfo(list);
    return host;
}

resolved_host resolve_address(u32 address) {
    sockaddr_in query{};
    query.sin_family = AF_INET;
    query.sin_addr.s_addr = address;
    char name[NI_MAXHOST];
    resolved_host host;
    const int status = getnameinfo(reinterpret_cast<const sockaddr*>(&query), sizeof query, name,
                                   sizeof name, nullptr, 0, NI_NAMEREQD);
    if (status != 0) {
        host.error = winsock_error(status);
        return host;
    }
    host.name = name;
    host.addresses.push_back(address);
    return host;
}

} // namespace kr::host::detail
