/// Address texts and names that every system can resolve.
#include "base/convert/net_address.h"

#include "platform/platform.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

TEST(AddressText, FillsItsRoomAtMost) {
    guarded_buffer<char> mac_text(KR_STRING_MAC_CHARS);
    constexpr u8 mac[] = {0x00, 0x1B, 0xFE, 0x09, 0xA0, 0xFF};
    EXPECT_EQ(kr_string_from_mac(mac, mac_text.data()), 17);
    EXPECT_STREQ(mac_text.data(), "00:1B:FE:09:A0:FF");
}

TEST(HostText, TellsNamesAndNumbersApart) {
    captured_log log;
    u32 ip = 77;
    EXPECT_EQ(kr_string_hoststr_to_ipv4("localhost", &ip), 0x8200001B) << "before the system's start";
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1x", &ip), 0x8200001C);
    EXPECT_EQ(ip, 77u);
    const std::string failed = "E 01 kr_string_hoststr_to_ipv4: ";
    EXPECT_THAT(log.take(),
                ElementsAre(failed + "Cannot resolve \"localhost\". h_errno contains 10093",
                            failed + "\"10.0.0.1x\" cannot be interpreted as IP address in a.b.c.d "
                                     "form. Result is 0x82000000 (error \"Generic\" from "
                                     "\"Unknown source\")"));
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1", &ip), 0x0200001C);
    EXPECT_EQ(ip, 0x0A000001u);
    EXPECT_EQ(kr_string_hoststr_to_ipv4("localhost", &ip), 0x0200001B);
    EXPECT_EQ(ip, 0x7F000001u);
    char name[KR_STRING_HOST_CHARS] = {};
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x7F000001, name), 0x0200001B);
    EXPECT_NE(std::strlen(name), 0u);
    EXPECT_THAT(log.take(), IsEmpty());
    WSACleanup();
}

} // namespace
