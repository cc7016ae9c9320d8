/// Runs the models of text on the fuzzer's seeds, on changed seeds and on random texts: the same in
/// every run.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "models/input.h"
#include "support/suite.h"

namespace kr::test {

inline void expect_model(void (*check)(std::span<const u8>), std::string_view input) {
    failed_line = 0;
    check({reinterpret_cast<const u8*>(input.data()), input.size()});
    ASSERT_EQ(failed_line, 0) << "line of the model, for: " << testing::PrintToString(std::string(input));
}

/// The seeds of a fuzz target.
inline std::vector<std::string> seeds_of(const char* target) {
    std::vector<std::string> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(KR_FUZZ_CORPUS) + target)) {
        std::ifstream file(entry.path(), std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    EXPECT_FALSE(seeds.empty()) << target;
    std::sort(seeds.begin(), seeds.end());
    return seeds;
}

/// `rounds` random texts of characters of `alphabet` and now and then another, half of them seeds
/// with such a character in one place.
inline void run_model(void (*check)(std::span<const u8>), const char* target, std::string_view alphabet,
                      int rounds) {
    const std::vector<std::string> seeds = seeds_of(target);
    for (const std::string& seed : seeds) { expect_model(check, seed); }
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

/// Every model with what its texts are made of.
struct text_model {
    void (*check)(std::span<const u8>);
    const char* target;
    std::string_view alphabet;
};

} // namespace kr::test
