/// Name resolution with Winsock's interface: start-up count, per-thread answers.
#include "platform/host/net.h"

#include "platform/host/intercept.h"
#include "platform/host/resolver.h"

#include <cstring>

namespace {

using namespace kr::host;
using namespace kr::host::detail;

std::atomic<int> starts{0};

/// The calling thread's last answer and the pointers into it.
struct answer {
    resolved_host host;
    std::vector<char*> addresses;
    char* no_aliases[1] = {nullptr};
    hostent entry{};
};

hostent* give(resolved_host host) {
    if (host.error != 0) {
        return fail(host.error, nullptr);
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
    return fail(WSANOTINITIALISED, false);
}

} // namespace

int WSAStartup(WORD version, WSADATA* data) {
    if (const LONG error = injected_status(__func__)) {
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
        return fail(WSAEFAULT, nullptr);
    }
    if (injected_failure(__func__, [&] { return std::string(name); }) || !started()) {
        return nullptr;
    }
    return give(resolve_name(name));
}

hostent* gethostbyaddr(const char* address, int length, int type) {
    if (injected_failure(__func__) || !started()) {
        return nullptr;
    }
    if (type != AF_INET) {
        return fail(WSAEAFNOSUPPORT, nullptr);
    }
    if (address == nullptr || length != static_cast<int>(sizeof(u32))) {
        return fail(WSAEFAULT, nullptr);
    }
    u32 number = 0;
    std::memcpy(&number, address, sizeof number);
    return give(resolve_address(number));
}
