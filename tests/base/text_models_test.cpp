/// Texts, numbers, GUIDs and addresses against their models.
#include "text_models.h"

namespace {

using namespace kr::test;

TEST(TextModels, Agree) {
    for (const auto& [check, target, alphabet] : text_models) { run_model(check, target, alphabet, 4000); }
    // Where the number of digits changes, and the limits of each width.
    for (const u64 power : kr::detail::powers_of_ten) {
        for (const u64 value : {power - 1, power, 0 - power}) {
            expect_model(check_number, {reinterpret_cast<const char*>(&value), sizeof value});
            expect_model(check_number, std::to_string(value));
            expect_model(check_number, std::to_string(static_cast<i64>(value)));
        }
    }
    for (const i64 limit :
         {i64{UINT16_MAX}, i64{INT32_MAX}, i64{INT32_MIN}, i64{UINT32_MAX}, -i64{UINT32_MAX}}) {
        for (const i64 value : {limit - 1, limit, limit + 1}) {
            expect_model(check_number, std::to_string(value));
        }
    }
}

} // namespace
