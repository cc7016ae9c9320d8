/// The module registry: order, dependencies, failed starts, limits.
#include "log/startup/module.h"

#include "support/suite.h"

namespace {

std::string calls;
char failing = 0;

template <char Name>
kr_result start() {
    calls += {'+', Name};
    return failing == Name ? kr_result_make_error(KR_ACCESS_DENIED) : KR_SUCCESS;
}

/// Fails, which nobody may mind.
template <char Name>
kr_result stop() {
    calls += {'-', Name};
    return kr::test::generic;
}

template <char Name, kr_module_descriptor... Needed>
kr_module* module() {
    static constexpr char name[] = {Name, 0};
    static constexpr kr_module_descriptor needed[] = {Needed..., nullptr};
    static kr_module descriptor = {name, start<Name>, stop<Name>, needed};
    return &descriptor;
}

constexpr kr_module_descriptor a = module<'a'>, b = module<'b', a>, c = module<'c', b, a>;

class ModuleRegistry : public testing::Test {
protected:
    /// The base modules are started first and stay below everything that a test registers.
    void SetUp() override {
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
    for (kr_module* each : {c(), a(), c(), static_cast<kr_module*>(nullptr)}) { kr_module_register(each); }
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    kr_fini();
    EXPECT_EQ(calls, "+a+b+c-c-b-a");
}

TEST_F(ModuleRegistry, UndoesAFailedStartAndForgetsWhatWasPending) {
    kr_module_register(c());
    failing = 'b';
    EXPECT_EQ(kr_init(), kr_result_make_error(KR_ACCESS_DENIED));
    failing = 0;
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(calls, "+a+b-a");
    kr_module_register(c());
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(calls, "+a+b-a+a+b+c");
}

TEST_F(ModuleRegistry, StartsWhatAnInitRegistered) {
    const auto register_a = [] { return kr_module_register(a()), kr_result{KR_SUCCESS}; };
    kr_module growing = {"growing", register_a, nullptr, nullptr};
    kr_module_register(&growing);
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(calls, "+a");
    kr_fini();
}

TEST_F(ModuleRegistry, DropsModulesBeyondItsLimit) {
    static kr_module many[KR_MODULE_LIMIT + 1];
    for (kr_module& each : many) {
        each = {"many", start<'m'>, nullptr, nullptr};
        kr_module_register(&each);
    }
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_GT(calls.size(), 2 * 100u);
    EXPECT_LE(calls.size(), 2 * KR_MODULE_LIMIT);
}

} // namespace
