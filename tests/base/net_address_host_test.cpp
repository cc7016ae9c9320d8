/// Names of hosts, from the table of the stand-in's world.
#include "base/convert/net_address.h"
#include "support/guarded_buffer.h"
#include "support/host/world.h"

namespace {

using namespace kr::test;

/// That a name does not resolve every system can say.
TEST(HostNames, AreHeldToTheirRoomAndSilentWhereThereIsNone) {
    const fresh_world world;
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    const std::string longest(255, 'n');
    kr::host::add_host_name(longest, {0x01020304});
    kr::host::add_host_name(longest + 'n', {2});
    guarded_buffer<char> name(KR_STRING_HOST_CHARS);
    {
        captured_log log;
        const armed_fault no_name({.call = "gethostbyaddr", .error = 11001});
        EXPECT_EQ(kr_string_ipv4_to_hoststr(0x01020304, name.data()), 0x8200001B);
        EXPECT_THAT(log.take(), IsEmpty());
    }
    EXPECT_EQ(kr_string_ipv4_to_hoststr(2, name.data()), too_small);
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x01020304, name.data()), 0x0200001B);
    EXPECT_EQ(name.data(), longest);
    WSACleanup();
}

} // namespace
