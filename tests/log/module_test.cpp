/// The module registry: order, dependencies, failed starts, limits.
#include "log/module.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::string> calls;
char failing = 0;

template <char Name>
kr_result start() {
    calls.push_back(std::string("+") + Name);
    return failing == Name ? kr_result_make_error(KR_ACCESS_DENIED) : KR_SUCCESS;
}

/// Fails, which nobody may mind.
template <char Name>
kr_result stop() {
    calls.push_back(std::string("-") + Name);
    return kr_result_make_error(KR_GENERIC);
}

template <char Name>
kr_module* module(const kr_module_descriptor* dependencies = nullptr) {
    static constexpr char name[] = {Name, 0};
    static kr_module descriptor;
    descriptor = {name, start<Name>, stop<Name>, dependencies};
    return &descriptor;
}

kr_module* a() {
    return module<'a'>();
}

kr_module* b() {
    static constexpr kr_module_descriptor needs[] = {a, nullptr};
    return module<'b'>(needs);
}

kr_module* c() {
    static constexpr kr_module_descriptor needs[] = {b, a, nullptr};
    return module<'c'>(needs);
}

/// Registers `a` from inside its init.
kr_module* growing() {
    static kr_module descriptor = {"growing",
                                   [] {
                                       calls.emplace_back("+growing");
                                       kr_module_register(a());
                                       return KR_SUCCESS;
                                   },
                                   nullptr, nullptr};
    return &descriptor;
}

class ModuleRegistry : public testing::Test {
protected:
    /// The base modules are started first and stay below everything that a test registers.
    void SetUp() override {
        failing = 0;
        ASSERT_EQ(kr_init(), KR_SUCCESS);
        calls.clear();
    }
    void TearDown() override {
        failing = 0;
        (void)kr_init();
        kr_fini();
    }
};

TEST_F(ModuleRegistry, StartsDependenciesFirstAndOnceAndStopsInReverse) {
    kr_module_register(c());
    kr_module_register(a());
    kr_module_register(c());
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_THAT(calls, ElementsAre("+a", "+b", "+c"));
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    kr_fini();
    EXPECT_THAT(calls, ElementsAre("+a", "+b", "+c", "-c", "-b", "-a"));
}

TEST_F(ModuleRegistry, UndoesAFailedStartAndForgetsWhatWasPending) {
    kr_module_register(c());
    failing = 'b';
    EXPECT_EQ(kr_init(), kr_result_make_error(KR_ACCESS_DENIED));
    EXPECT_THAT(calls, ElementsAre("+a", "+b", "-a"));

    calls.clear();
    failing = 0;
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_THAT(calls, ElementsAre());
    kr_module_register(c());
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_THAT(calls, ElementsAre("+a", "+b", "+c"));
}

TEST_F(ModuleRegistry, StartsWhatAnInitRegistered) {
    kr_module_register(growing());
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_THAT(calls, ElementsAre("+growing", "+a"));
}

TEST_F(ModuleRegistry, DropsModulesBeyondItsLimit) {
    static kr_module many[KR_MODULE_LIMIT + 1];
    for (kr_module& each : many) {
        each = {"many",
                [] {
                    calls.emplace_back("+");
                    return KR_SUCCESS;
                },
                nullptr, nullptr};
        kr_module_register(&each);
    }
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_GT(calls.size(), 100u);
    EXPECT_LE(calls.size(), KR_MODULE_LIMIT);
}

} // namespace
