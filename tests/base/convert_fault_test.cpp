/// Conversions at the edge of readable memory, and a resolver that fails.
#include "base/convert/digit_scan.h"
#include "base/convert/net_address.h"
#include "base/text/widen.h"
#include "platform/host/fault.h"
#include "support/captured_log.h"
#include "support/guard_page.h"

namespace {

using namespace kr::test;
namespace plain = kr::detail::plain;

#if KR_VECTORS
namespace vectors = kr::detail::vectors;

TEST(VectorCopies, NeverTouchAPageThatTheTextDoesNotReach) {
    const guarded_page page;
    for (size_t length = 0; length < 70; ++length) {
        SCOPED_TRACE(length);
        const std::string narrow(length, '7');
        const wide broad(length, kr_char{'7'});
        kr_char widened[80];
        vectors::widen_text(page.put_last(narrow.c_str(), length + 1), widened);
        EXPECT_EQ(widened, broad);
        EXPECT_EQ(vectors::scan_digits(page.put_last(narrow.c_str(), length + 1)).count,
                  plain::scan_digits(narrow.c_str()).count);
        const kr_char* const last = page.put_last(broad.c_str(), length + 1);
        EXPECT_EQ(vectors::scan_digits(last).count, plain::scan_digits(broad.c_str()).count);
        char narrowed[80];
        EXPECT_EQ(vectors::narrow_ascii(last, narrowed, sizeof narrowed), length);
        // No terminator at all: the room is the limit.
        EXPECT_EQ(vectors::narrow_ascii(page.put_last(broad.data(), length), narrowed, length), length);
    }
}
#endif

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

} // namespace
