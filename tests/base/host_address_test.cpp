/// Address texts and names that every system can resolve.
#include "base/host_address.h"

#include <cstring>
#include <string>

#include <gmock/gmock.h>

#include "platform/platform.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using kr::test::guarded_buffer;
using testing::ElementsAre;

constexpr kr_result generic = 0x82000000;

TEST(Ipv4Text, IsReadStrictly) {
    struct row {
        int line;
        const char* text;
        kr_result result = generic;
        u32 ip = 77;
    };
    constexpr row rows[] = {
        {__LINE__, "10.0.0.1", KR_SUCCESS, 0x0A000001},
        {__LINE__, "255.255.255.255", KR_SUCCESS, 0xFFFFFFFF},
        {__LINE__, "010.001.000.009", KR_SUCCESS, 0x0A010009},
        {__LINE__, "1.2.3"},
        {__LINE__, "1.2.3.4.5"},
        {__LINE__, "1..2.3"},
        {__LINE__, "1.2.3.256"},
        {__LINE__, "1.2.3.4 "},
        {__LINE__, "1.2.3.0004"},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.line);
        u32 ip = 77;
        EXPECT_EQ(kr_string_to_ipv4(r.text, &ip), r.result);
        EXPECT_EQ(ip, r.ip);
    }
}

TEST(AddressText, FillsItsRoomAtMost) {
    guarded_buffer<char> longest(KR_STRING_IPV4_CHARS);
    EXPECT_EQ(kr_string_from_ipv4(0xFFFFFFFF, longest.data()), longest.data());
    EXPECT_STREQ(longest.data(), "255.255.255.255");
    EXPECT_STREQ(kr_string_from_ipv4(0x0A000201, longest.data()), "10.0.2.1");
    guarded_buffer<char> mac_text(KR_STRING_MAC_CHARS);
    constexpr u8 mac[] = {0x00, 0x1B, 0xFE, 0x09, 0xA0, 0xFF};
    EXPECT_EQ(kr_string_from_mac(mac, mac_text.data()), 17);
    EXPECT_STREQ(mac_text.data(), "00:1B:FE:09:A0:FF");
}

TEST(HostText, TellsNamesAndNumbersApart) {
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    kr::test::captured_log log;
    u32 ip = 77;
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1x", &ip), 0x8200001C);
    EXPECT_EQ(ip, 77u);
    EXPECT_THAT(
        log.take(),
        ElementsAre("E 01 kr_string_hoststr_to_ipv4: \"10.0.0.1x\" cannot be interpreted as "
                    "IP address in a.b.c.d form. Result is 0x82000000 (error \"Generic\" "
                    "from \"Unknown source\")"));
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1", &ip), 0x0200001C);
    EXPECT_EQ(ip, 0x0A000001u);
    EXPECT_EQ(kr_string_hoststr_to_ipv4("localhost", &ip), 0x0200001B);
    EXPECT_EQ(ip, 0x7F000001u);
    char name[256] = {};
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x7F000001, name), 0x0200001B);
    EXPECT_NE(std::strlen(name), 0u);
    EXPECT_THAT(log.take(), ElementsAre());
    WSACleanup();
}

} // namespace
