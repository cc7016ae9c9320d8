/// The signed driver as the build made it, from its bytes.
#include <algorithm>

#include <gmock/gmock.h>

#include "support/pe_image.h"

namespace {

// A driver that the system could refuse for another reason than its signature makes the verdict
// worthless.
TEST(DriverImage, IsAKernelDriverThatNeedsDbgPrintOnly) {
    const pe_image driver(pe_image::read_file(KR_TEST_DRIVER_IMAGE));
    EXPECT_EQ(driver.magic(), 0x20B) << "PE32+";
    EXPECT_EQ(driver.machine(), 0x8664) << "x86-64";
    EXPECT_EQ(driver.subsystem(), 1) << "native";
    EXPECT_EQ(driver.dll_characteristics(), 0x0160) << "high entropy, dynamic base, NX compatible, no other";
    EXPECT_THAT(driver.imports(), testing::ElementsAre("ntoskrnl.exe!DbgPrint"));
    EXPECT_EQ(driver.checksum(), driver.computed_checksum());
}

TEST(DriverImage, CarriesOneSignatureEntryAtItsEnd) {
    const pe_image driver(pe_image::read_file(KR_TEST_DRIVER_IMAGE));
    const std::vector<u8>& bytes = driver.bytes();
    const pe_image::range entries = driver.directory(4);
    ASSERT_NE(entries.start, 0U) << "no security directory";
    EXPECT_EQ(entries.start + std::size_t{entries.size_bytes}, bytes.size());
    EXPECT_EQ((driver.u32_at(entries.start) + 7) & ~u32{7}, entries.size_bytes)
        << "one entry fills the directory";
    EXPECT_EQ(driver.u16_at(entries.start + 4), 0x0200) << "revision 2.0";
    EXPECT_EQ(driver.u16_at(entries.start + 6), 2) << "PKCS#7 signed data";
    // 1.3.6.1.4.1.311.2.4.1 as it is encoded: the attribute that holds a nested signature.
    constexpr u8 nested[] = {0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x82, 0x37, 0x02, 0x04, 0x01};
    const auto found =
        std::search(bytes.begin() + entries.start, bytes.end(), std::begin(nested), std::end(nested));
    EXPECT_TRUE(found != bytes.end() || !KR_TEST_DRIVER_THROWAWAY) << "the second signature is missing";
}

} // namespace
