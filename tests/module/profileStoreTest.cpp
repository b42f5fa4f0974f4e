#include "moduleTest.h"

// What the two families of profiles have in common; they differ in names, records and in what they log.

namespace {

const std::string kLongest(64, 'n');

// The families' operations differ in their prefix, and in the suffix of two.
#define FAMILY_OPERATIONS(family, suffix)                                                           \
    static constexpr const char* prefix = #family;                                                  \
    static constexpr auto create = &onuQos::family##Create, remove = &onuQos::family##Delete;       \
    static constexpr auto rename = &onuQos::family##Rename, copy = &onuQos::family##Copy;           \
    static constexpr auto get = &onuQos::family##Get, next = &onuQos::family##NextGet;              \
    static constexpr auto first = &onuQos::family##FirstGet;                                        \
    static constexpr auto exist = &onuQos::family##Exist;                                           \
    static constexpr auto exists = &onuQos::family##Exists, isApplied = &onuQos::family##IsApplied; \
    static constexpr auto isPartOfService = &onuQos::family##IsPartOfService;                       \
    static constexpr auto hasIntfs = &onuQos::profileIsApplied##suffix;                             \
    static constexpr auto intfs = &onuQos::profileAppliedIntfGet##suffix;                           \
    static constexpr auto table = &onuQosTables::family##Map;

struct TContFamily {
    using Info = tContProfileInfo;
    FAMILY_OPERATIONS(tContProfile, TCont)
    static std::string created() { return "onuTContProfileCreate({b, 1, 5, 0, 0, 256, 0, 0, 0})"; }
    static Info defaults() { return {"b", 1, tContType5, 0, 0, 256, tContDbaMode2, 1, 0, {}}; }
    static Lines refusal(const std::string&, const std::string&) { return {}; }
};

struct OnuFlowFamily {
    using Info = onuQos::onuFlowProfileInfo;
    FAMILY_OPERATIONS(onuFlowProfile, OnuFlow)
    static std::string created() {
        return "onuFlowProfileCreate({b, {4294967295, []}, {128, " + std::to_string(kHighest) + ", 0, 0}})";
    }
    static Info defaults() { return {"b", {}, {128, kHighest, 0, 0}, {}}; }
    static Lines refusal(const std::string& operation, const std::string& text) {
        return {refusalLine("onuFlowProfile" + operation, text)};
    }
};

struct FamilyName {
    template <typename Family>
    static std::string GetName(int) {
        return Family::prefix;
    }
};

}  // namespace

template <typename Family>
class ProfileStore : public ModuleTest {
protected:
    using Info = typename Family::Info;

    /// Calls an operation of the family on the module.
    template <typename Operation, typename... Arguments>
    auto on(Operation operation, Arguments&&... arguments) {
        return (module_.*operation)(std::forward<Arguments>(arguments)...);
    }

    void make(const std::string& name) { ASSERT_EQ(on(Family::create, name), onuQosResOk); }
    const std::map<std::string, Info> table() const { return tables().*Family::table; }

    /// Binds profile "p" of the family, the other profile of the binding bearing the same name.
    void bindP(unsigned int onu) { ASSERT_EQ(bind(onu, "internet", "p", "p", 10), onuQosResOk); }

    static void nameInService(const std::string& profile) {
        const bool tCont = std::is_same_v<Family, TContFamily>;
        standin::serviceProfiles::add(
            {.name = "internet", .tContProfile = tCont ? profile : "", .flowProfile = tCont ? "" : profile});
    }
};

using Families = testing::Types<TContFamily, OnuFlowFamily>;
TYPED_TEST_SUITE(ProfileStore, Families, FamilyName);

TYPED_TEST(ProfileStore, createsDefaultsAndIteratesInTheOrderOfTheBytes) {
    typename TypeParam::Info info;
    EXPECT_EQ(this->on(TypeParam::first, info), onuQosResNoMore);
    EXPECT_EQ(this->on(TypeParam::next, "any", info), onuQosResNoMore);
    EXPECT_EQ(info, typename TypeParam::Info{});
    EXPECT_THAT(this->traceOf([this] { this->make("b"); }), ElementsAre(TypeParam::created()));
    EXPECT_EQ(this->table().at("b"), TypeParam::defaults());
    for (const char* name : {"\xC3\xA4", "alpha", "Zeta", "alpha1"}) {
        this->make(name);
    }
    Lines names;
    for (auto res = this->on(TypeParam::first, info); res == onuQosResOk;
         res = this->on(TypeParam::next, names.back(), info)) {
        names.push_back(info.name);
        EXPECT_EQ(this->table().at(info.name), info);
    }
    EXPECT_THAT(names, ElementsAre("Zeta", "alpha", "alpha1", "b", "\xC3\xA4"));
    EXPECT_EQ(this->on(TypeParam::get, "b", info), onuQosResOk);
    EXPECT_EQ(info, TypeParam::defaults());
    this->expectMirrorAgrees();
    for (const auto& name : names) {
        EXPECT_EQ(this->on(TypeParam::remove, name), onuQosResOk);
    }
    EXPECT_THAT(this->table(), IsEmpty());
    this->expectMirrorAgrees();
    EXPECT_THAT(this->logLines(), IsEmpty());
}

TYPED_TEST(ProfileStore, holds256) {
    this->make(kLongest);
    for (int i = 1; i < 256; ++i) {
        this->make("p" + std::to_string(i));
    }
    const Snapshot full = this->snapshot();
    EXPECT_EQ(this->on(TypeParam::create, "one more"), onuQosResTableFull);
    EXPECT_EQ(this->logLines(),
              TypeParam::refusal("Create", "onuFlowProfileMap.size() failed for profile: one more"));
    EXPECT_EQ(this->on(TypeParam::create, "p255"), onuQosResExists);
    EXPECT_EQ(this->on(TypeParam::create, kLongest + "n"), onuQosResBadName);
    EXPECT_EQ(this->snapshot(), full);
}

TYPED_TEST(ProfileStore, refusesAndChangesNothing) {
    using Family = TypeParam;
    this->make("p");
    this->make("b");
    this->nameInService("p");
    typename Family::Info info;
    std::set<std::uint32_t> intfs{7};
    struct Row {
        const char* what;
        std::function<int()> act;
        int answer;
        Lines log = {};
    };
    const auto row = [this](const char* what, auto operation, int answer, const Lines& log,
                            auto&&... arguments) {
        return Row{what, [=, this, &arguments...] { return this->on(operation, arguments...); }, answer, log};
    };
    const auto told = [](const char* operation, const std::string& check, const std::string& profile) {
        return Family::refusal(operation, check + " failed for profile: " + profile);
    };
    const std::string find = "onuFlowProfileMap.find()", service = "onuFlowProfileIsPartOfService()";
    const std::string tooLong = kLongest + "n";
    // clang-format off
    const Row rows[] = {
        row("create a long name", Family::create, onuQosResBadName, told("Create", "profileName.length()", tooLong), tooLong),
        row("create again", Family::create, onuQosResExists, told("Create", find, "p"), "p"),
        row("delete nothing", Family::remove, onuQosResError, told("Delete", "profileName.empty()", ""), ""),
        row("delete unknown", Family::remove, onuQosResNotFound, told("Delete", find, "x"), "x"),
        row("delete in service", Family::remove, onuQosResPartOfService, told("Delete", service, "p"), "p"),
        row("rename unknown", Family::rename, onuQosResNotFound, told("Rename", find, "x"), "x", "b"),
        row("rename onto another", Family::rename, onuQosResExists, told("Rename", find, "b"), "p", "b"),
        row("rename onto itself", Family::rename, onuQosResExists, told("Rename", find, "b"), "b", "b"),
        row("rename in service", Family::rename, onuQosResPartOfService, told("Rename", service, "p"), "p", "x"),
        row("copy unknown", Family::copy, onuQosResNotFound, told("Copy", find, "x"), "x", "b"),
        row("copy onto another", Family::copy, onuQosResExists, told("Copy", "onuFlowProfileMap()", "b"), "p", "b"),
        row("get nothing", Family::get, onuQosResError, {}, "", info),
        row("get unknown", Family::get, onuQosResNotFound, {}, "x", info),
        row("after nothing", Family::next, onuQosResError, {}, "", info),
        row("after unknown", Family::next, onuQosResNotFound, {}, "x", info),
        row("nothing exists", Family::exist, onuQosResError, {}, ""),
        row("unknown exists", Family::exist, onuQosResNotFound, {}, "x"),
        row("unknown or not", Family::exists, false, {}, "x"),
        row("not in service", Family::isPartOfService, false, {}, "b"),
        row("nothing in service", Family::isPartOfService, false, {}, ""),
        row("in service", Family::isPartOfService, true, {}, "p"),
        row("unknown applied where", Family::intfs, false, {}, "x", intfs),
    };
    // clang-format on
    const Snapshot before = this->snapshot();
    for (const Row& refused : rows) {
        SCOPED_TRACE(refused.what);
        EXPECT_EQ(refused.act(), refused.answer);
        EXPECT_EQ(this->logLines(), refused.log);
        EXPECT_EQ(this->snapshot(), before);
    }
    EXPECT_EQ(info, typename Family::Info{});
    EXPECT_EQ(intfs, std::set<std::uint32_t>{7});
    standin::serviceProfiles::remove("internet");
    EXPECT_EQ(this->on(Family::rename, "p", "x"), onuQosResOk);
    this->nameInService("p");
    EXPECT_FALSE(this->on(Family::isPartOfService, "p")) << "no such profile any more";
}

TYPED_TEST(ProfileStore, renamingTestsNoName) {
    this->make("p");
    for (const std::string& name : {std::string(), std::string(300, 'x')}) {
        const std::string from = this->table().begin()->first;
        EXPECT_EQ(this->on(TypeParam::rename, from, name), onuQosResOk);
        EXPECT_TRUE(this->on(TypeParam::exists, name));
        EXPECT_EQ(this->on(TypeParam::exist, name), name.empty() ? onuQosResError : onuQosResOk);
        this->expectMirrorAgrees();
    }
}

// Two questions that part ways when a profile is renamed or made again: what bindings name, and what the
// profile itself remembers.
TYPED_TEST(ProfileStore, whetherAProfileIsAppliedIsAskedInTwoWays) {
    using Answers = std::tuple<bool, bool, bool, std::set<std::uint32_t>>;
    const auto answers = [this](const std::string& name) {
        std::set<std::uint32_t> intfs{9};
        const bool known = this->on(TypeParam::intfs, name, intfs);
        return Answers(this->on(TypeParam::isApplied, name), this->on(TypeParam::hasIntfs, name), known,
                       intfs);
    };
    EXPECT_EQ(answers("p"), Answers(false, false, false, {9}));
    EXPECT_THAT(this->logLines(), ElementsAre(testing::EndsWith(":profile doesn't exist: p\n")));
    this->makeTCont("p");
    this->makeFlow("p");
    EXPECT_EQ(answers("p"), Answers(false, false, true, {}));
    this->bindP(102);
    this->bindP(201);
    EXPECT_EQ(answers("p"), Answers(true, true, true, {102, 201}));
    ASSERT_EQ(this->on(TypeParam::rename, "p", "q"), onuQosResOk);
    EXPECT_EQ(answers("q"), Answers(false, true, true, {102, 201}));
    EXPECT_EQ(answers("p"), Answers(false, false, false, {9}));
    this->make("p");
    EXPECT_EQ(answers("p"), Answers(true, false, true, {}));
    EXPECT_EQ(this->on(TypeParam::remove, "p"), onuQosResOk) << "bindings do not protect it";
}
