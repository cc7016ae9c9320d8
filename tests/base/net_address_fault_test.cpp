/// A resolver that fails, or gives more than its contract.
#include "base/convert/net_address.h"

#include "platform/platform.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"
#include "support/host/world.h"

namespace {

using namespace kr::test;

TEST(HostNames, ThatDoNotResolveAreFailuresWithTheSystemsNumber) {
    captured_log log;
    const kr::host::armed_fault by_name({.call = "gethostbyname", .error = 11001});
    const kr::host::armed_fault by_address({.call = "gethostbyaddr", .error = 11001});
    u32 ip = 77;
    EXPECT_EQ(kr_string_hoststr_to_ipv4("nowhere", &ip), 0x8200001B);
    EXPECT_EQ(ip, 77u);
    EXPECT_THAT(log.take(), ElementsAre("E 01 kr_string_hoststr_to_ipv4: Cannot resolve \"nowhere\". "
                                        "h_errno contains 11001"));
    char name[] = "kept";
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x7F000001, name), 0x8200001B);
    EXPECT_STREQ(name, "kept");
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(HostNames, AreHeldToTheirRoom) {
    const fresh_world world;
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    const std::string longest(255, 'n');
    kr::host::add_host_name(longest, {1});
    kr::host::add_host_name(longest + 'n', {2});
    guarded_buffer<char> name(KR_STRING_HOST_CHARS);
    EXPECT_EQ(kr_string_ipv4_to_hoststr(2, name.data()), too_small);
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(kr_string_ipv4_to_hoststr(1, name.data()), 0x0200001B);
    EXPECT_EQ(name.data(), longest);
    WSACleanup();
}

} // namespace
