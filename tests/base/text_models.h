/// The models of text and what their texts are made of: the fuzzer's seeds, changed seeds and random texts,
/// the same in every run.
#pragma once

#include <random>

#include "models/address_model.h"
#include "models/guid_model.h"
#include "models/multi_string_model.h"
#include "models/narrow_text_model.h"
#include "models/number_model.h"
#include "models/wide_text_model.h"
#include "support/system.h"

namespace kr::test {

inline void expect_model(void (*check)(std::span<const u8>), std::string_view input) {
    failed_line = 0;
    check({reinterpret_cast<const u8*>(input.data()), input.size()});
    ASSERT_EQ(failed_line, 0) << "line of the model, for: " << testing::PrintToString(std::string(input));
}

/// The seeds of a fuzz target, and `rounds` random texts of characters of `alphabet` and now and then
/// another, half of them seeds with such a character in one place.
inline void run_model(void (*check)(std::span<const u8>), const char* target, std::string_view alphabet,
                      int rounds) {
    std::vector<std::string> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(KR_FUZZ_CORPUS) + target)) {
        expect_model(check, seeds.emplace_back(read_native_file(entry.path())));
    }
    ASSERT_FALSE(seeds.empty()) << target;
    std::sort(seeds.begin(), seeds.end());
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same texts in every run
    const auto character = [&] {
        return random() % 16 != 0 ? alphabet[random() % alphabet.size()] : static_cast<char>(random());
    };
    for (int round = 0; round < rounds && failed_line == 0; ++round) {
        std::string text = seeds[random() % seeds.size()];
        if (round % 2 == 0) {
            text.resize(random() % (round % 16 == 0 ? 150 : 40));
            std::generate(text.begin(), text.end(), character);
        } else if (const size_t place = random() % (text.size() + 1); random() % 2 == 0) {
            text.replace(place, 1, 1, character());
        } else {
            text.insert(place, 1, character());
        }
        expect_model(check, text);
    }
}

constexpr struct {
    void (*check)(std::span<const u8>);
    const char* target;
    std::string_view alphabet;
} text_models[] = {
    {check_address, "address_fuzz", "0123456789012...."},
    {check_guid, "guid_fuzz", "0123456789abcdefABCDEF0123456789{-}"},
    {check_multi_string, "multi_string_fuzz", "abcdefgh;;\\\\\n"},
    {check_narrow_text, "narrow_text_fuzz", "abcxyz \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\x7F"},
    {check_number, "number_fuzz", "012345678901234567890123456789xX-+aF \t./:"},
    {check_wide_text, "wide_text_fuzz", "aabbccAABBxyz\x01 @[`{"},
};

} // namespace kr::test
