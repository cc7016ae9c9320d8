/// Address texts and names that every system can resolve.
#include "base/convert/net_address.h"

#include "platform/platform.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

TEST(Ipv4Text, IsReadStrictly) {
    const std::pair<const char*, u32> good[] = {
        {"10.0.0.1", 0x0A000001}, {"255.255.255.255", 0xFFFFFFFF}, {"010.001.000.009", 0x0A010009}};
    u32 ip = 77;
    for (const auto& [text, expected] : good) {
        EXPECT_EQ(kr_string_to_ipv4(text, &ip), ok);
        EXPECT_EQ(ip, expected) << text;
    }
    ip = 77;
    for (const char* bad : {"1.2.3", "1.2.3.4.5", "1..2.3", "1.2.3.256", "1.2.3.4 ", "1.2.3.0004"}) {
        EXPECT_EQ(kr_string_to_ipv4(bad, &ip), generic) << bad;
        EXPECT_EQ(ip, 77u);
    }
}

TEST(NetAddress, RefusesNullArguments) {
    u32 ip = 77;
    for (const auto read : {kr_string_to_ipv4, kr_string_hoststr_to_ipv4}) {
        EXPECT_EQ(read(nullptr, &ip), invalid);
        EXPECT_EQ(read("1.2.3.4", nullptr), invalid);
    }
    EXPECT_EQ(ip, 77u);
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x7F000001, nullptr), invalid);
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
