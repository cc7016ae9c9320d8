/// Name resolution with Winsock's interface: start-up count, a table of names, answers per thread.
#include "platform/host/net.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

std::atomic<int> starts{0};

struct known_host {
    std::string name;
    /// In network order, as the answers have them.
    std::vector<u32> addresses;
};

struct host_table {
    std::mutex lock;
    std::vector<known_host> hosts{{"localhost", {htonl(INADDR_LOOPBACK)}}};
};

/// Fails with 10093 outside start-up and clean-up.
bool started() {
    return starts.load() > 0 || fail(WSANOTINITIALISED, false);
}

/// Puts the first host that `matches` into the calling thread's buffer.
template <typename Predicate>
hostent* answer(Predicate matches) {
    struct buffer {
        known_host host;
        std::vector<char*> addresses;
        char* no_aliases[1] = {nullptr};
        hostent entry{};
    };
    thread_local buffer last;
    auto& table = immortal<host_table>();
    const std::lock_guard hold(table.lock);
    const auto found = std::ranges::find_if(table.hosts, matches);
    if (found == table.hosts.end()) {
        return fail(WSAHOST_NOT_FOUND, nullptr);
    }
    last.host = *found;
    last.addresses.clear();
    for (u32& address : last.host.addresses) {
        last.addresses.push_back(reinterpret_cast<char*>(&address));
    }
    last.addresses.push_back(nullptr);
    last.entry = {last.host.name.data(), last.no_aliases, AF_INET, sizeof(u32),
                  last.addresses.data()};
    return &last.entry;
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
    if (injected_failure(__func__) || !started()) {
        return -1;
    }
    --starts;
    return 0;
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

hostent* gethostbyname(const char* name) {
    if (injected_failure(__func__, [&] { return std::string(name == nullptr ? "" : name); }) ||
        !started()) {
        return nullptr;
    }
    if (name == nullptr) {
        return fail(WSAEFAULT, nullptr);
    }
    return answer([&](const known_host& host) { return strcasecmp(host.name.c_str(), name) == 0; });
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
    u32 wanted = 0;
    std::memcpy(&wanted, address, sizeof wanted);
    return answer([&](const known_host& host) {
        return std::ranges::find(host.addresses, wanted) != host.addresses.end();
    });
}

namespace kr::host {

void add_host_name(std::string_view name, const std::vector<u32>& addresses) {
    known_host host{std::string(name), addresses};
    std::ranges::transform(addresses, host.addresses.begin(), htonl);
    auto& table = immortal<host_table>();
    const std::lock_guard hold(table.lock);
    table.hosts.push_back(std::move(host));
}

void reset_host_names() {
    auto& table = immortal<host_table>();
    const std::lock_guard hold(table.lock);
    table.hosts = host_table().hosts;
}

} // namespace kr::host
