/// Name resolution with Winsock's interface: start-up count, per-thread answers.
#include "platform/host/net.h"

#include "platform/host/intercept.h"
#include "platform/host/resolver.h"

#include <cstring>

namespace {

using namespace kr::host;

std::atomic<int> starts{0};

/// The calling thread's last answer and the pointers into it.
struct answer {
    detail::resolved_host host;
    std::vector<char*> addresses;
    char* no_aliases[1] = {nullptr};
    hostent entry{};
};

hostent* give(detail::resolved_host host) {
    if (host.error != 0) {
        SetLastError(static_cast<DWORD>(host.error));
        return nullptr;
    }
    thread_local answer last;
    last.host = std::move(host);
    last.addresses.clear();
    for (u32& address : last.host.addresses) {
        last.addresses.push_back(reinterpret_cast<char*>(&address));
    }
    last.addresses.push_back(nullptr);
    last.entry = {last.host.name.data(), last.no_aliases, AF_INET, sizeof(u32),
                  last.addresses.data()};
    return &last.entry;
}

bool started() {
    if (starts.load() > 0) {
        return true;
    }
    SetLastError(WSANOTINITIALISED);
    return false;
}

} // namespace

int WSAStartup(WORD version, WSADATA* data) {
    if (const LONG error = detail::injected_status("WSAStartup", [] { return std::string(); })) {
        return error;
    }
    if (data == nullptr) {
        return WSAEFAULT;
    }
    *data = {version, MAKEWORD(2, 2)};
    ++starts;
    return 0;
}

int WSACleanup() {
    if (!started()) {
        return -1;
    }
    --starts;
    return 0;
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

hostent* gethostbyname(const char* name) {
    if (name == nullptr) {
        SetLastError(WSAEFAULT);
        return nullptr;
    }
    if (detail::injected_failure("gethostbyname", [&] { return std::string(name); }) ||
        !started()) {
        return nullptr;
    }
    return give(detail::resolve_name(name));
}

hostent* gethostbyaddr(const char* address, int length, int type) {
    if (detail::injected_failure("gethostbyaddr") || !started()) {
        return nullptr;
    }
    if (type != AF_INET) {
        SetLastError(WSAEAFNOSUPPORT);
        return nullptr;
    }
    if (address == nullptr || length != static_cast<int>(sizeof(u32))) {
        SetLastError(WSAEFAULT);
        return nullptr;
    }
    u32 number = 0;
    std::memcpy(&number, address, sizeof number);
    return give(detail::resolve_address(number));
}
