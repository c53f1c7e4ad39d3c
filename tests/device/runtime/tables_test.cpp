#include "device/runtime/limited_concurrent_map.h"
#include "device/runtime/path_metadata.h"
#include "device/runtime/recursion_check.h"
#include "device/runtime/runtime_config.h"
#include "device/runtime/translate_path_result.h"
#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::path;

namespace {

TEST(SharedLookupTable, ReplacedRecordLeavesHoldersAlone) {
    SharedLookupTable<std::string, const int, true> table;
    EXPECT_EQ(table.get("a"), nullptr);
    table.set_impl("a", 1);
    const auto old = table.get("a");
    table.set("a", 2);
    EXPECT_FALSE(table.add("a", std::make_shared<const int>(3)));
    EXPECT_EQ(std::pair(*old, *table.get("a")), std::pair(1, 2));
    EXPECT_EQ(*table.set_default_construct_impl("a"), 2) << "there is a record already";
    EXPECT_EQ(*table.set_default_construct_impl("b"), 0);
    EXPECT_EQ(table.snapshot().size(), 2u);
    table.erase("a");
    EXPECT_EQ(table.size(), 1u);
}

TEST(LimitedMap, EvictsOldestAndKeepsAgeOfReplaced) {
    LimitedConcurrentMap<UnqualifiedFdxPath, int> map;
    for (int i = 0; i < 4; ++i)
        map.set(path<UnqualifiedFdxPath>(std::to_string(i)), std::make_shared<const int>(i));
    map.set(path<UnqualifiedFdxPath>("0"), std::make_shared<const int>(9));
    const auto old = map.get(path<UnqualifiedFdxPath>("0"));
    map.enforce_limit(2);
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.get(path<UnqualifiedFdxPath>("0")), nullptr);
    EXPECT_EQ(*old, 9);
    EXPECT_EQ(*map.get(path<UnqualifiedFdxPath>("2")), 2);
    map.clear();
    map.set(path<UnqualifiedFdxPath>("2"), std::make_shared<const int>(5));
    EXPECT_EQ(*map.get(path<UnqualifiedFdxPath>("2")), 5);
}

TEST(LimitedMap, WritersAndReadersAgree) {
    LimitedConcurrentMap<UnqualifiedFdxPath, std::string> map;
    SharedLookupTable<std::string, const std::string, true> table;
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (unsigned seed = 0; seed < 4; ++seed)
        threads.emplace_back([&, seed] {
            std::mt19937 random(seed);
            for (int i = 0; i < 2000; ++i) {
                const std::string key = std::to_string(random() % 50);
                const auto limited = path<UnqualifiedFdxPath>(key);
                map.set(limited, std::make_shared<const std::string>(key));
                if (const auto value = map.get(limited)) wrong += *value != key;
                map.enforce_limit(20);
                table.set_impl(key, key);
                if (const auto value = table.get(key)) wrong += *value != key;
                if (random() % 4 == 0) table.erase(key);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(map.size(), 24u);
}

TEST(RecursionCheck, EnteringAnswersWhetherTheKeyWasThere) {
    RecursionCheck<LookupFdxPath> check;
    EXPECT_FALSE(check.enter(path<LookupFdxPath>("a")));
    EXPECT_FALSE(check.enter(path<LookupFdxPath>("b")));
    EXPECT_TRUE(check.enter(path<LookupFdxPath>("a")));
    check.leave(path<LookupFdxPath>("a"));
    EXPECT_FALSE(check.enter(path<LookupFdxPath>("a")));
}

TEST(PathMetadata, HoldsAllSpellingsUntilReset) {
    PathMetadata metadata(path("MAIN.arr[2,3].p^.r`.v"));
    EXPECT_EQ(metadata.native().str(), "MAIN.arr[2,3].p^.r.v");
    EXPECT_EQ(metadata.sanitized().str(), "MAIN.arr[].p^.r`.v");
    EXPECT_EQ(metadata.lookup().str(), "MAIN.arr.p.r.v");
    metadata.reset();
    EXPECT_TRUE(metadata.unique().empty() && metadata.native().empty() && metadata.sanitized().empty() &&
                metadata.lookup().empty());
}

TEST(LookupFlags, FollowTheAttributes) {
    const std::pair<const char*, std::pair<unsigned, unsigned>> rows[] = {
        {"", {1, 8}},
        {"ZoHmiSymbol.Show", {1, 0}},
        {"ZoHmiSymbol.ShowRecursively", {5, 4}},
        {"ZoHmiSymbol.Hide", {0x11, 0x10}},
        {"ZoHmiSymbol.ReadOnly", {3, 10}},
    };
    for (const auto& [key, expected] : rows) {
        Attributes attributes;
        if (*key) attributes.add(key, "");
        EXPECT_EQ(unsigned(lookup_flags_from_attributes(attributes)), expected.first) << key;
        EXPECT_EQ(unsigned(table_values_from_attributes(attributes)), expected.second) << key;
    }
}

TEST(RuntimeConfig, VoidTypeIsMadeOnceAndOnDemand) {
    RuntimeConfig config("plc");
    EXPECT_EQ(config.dummy_void_type(false), nullptr);
    const auto made = config.dummy_void_type(true);
    EXPECT_EQ(std::tuple(made->size(), made->fdx_type(), made->flags(), made->item_name()),
              std::tuple(0, FdxDataType::Void, 0x108u, ""));
    EXPECT_EQ(config.dummy_void_type(true), made);
    EXPECT_FALSE(config.runtime_revision().initialized());
    config.set_runtime_initialized();
    EXPECT_TRUE(config.runtime_revision().initialized());
    EXPECT_EQ(config.runtime_revision().name(), "plc");
}

TEST(RuntimeConfig, TopLayerLooksAtEveryPartOfTheWay) {
    RuntimeConfig config("plc");
    for (const char* name : {"MAIN.a", ".g", "B.x[1]", "C#m"})
        config.symbols().set_impl(path(name), SymbolInfo());
    const std::pair<const char*, bool> rows[] = {
        {"", true},           {"MAIN", true},      {"MAIN.a", true}, {"MAIN.a.b", false}, {"MAIN.a.b.c", false},
        {"MAIN.a[1]", false}, {"MAIN.ab.c", true}, {".g", true},     {".g.x", false},     {"B.x[1].y", false},
        {"C#m.x", false},     {"C#mm", true},      {".", true},      {"a.", true},
    };
    for (const auto& [name, expected] : rows)
        EXPECT_EQ(config.is_topmost_layer_by_path(path(name), false), expected) << name;

    SymbolInfo without_handle;
    without_handle.handle_state = SymbolInfo::handle_failed;
    (void)config.store_handle(path("P.own"), without_handle, 10);
    EXPECT_FALSE(config.is_topmost_layer_by_path(path("P.own.x"), false));
    EXPECT_TRUE(config.is_topmost_layer_by_path(path("P.own.x"), true)) << "neither uploaded nor with a handle";
    EXPECT_FALSE(config.is_topmost_layer_by_path(path("MAIN.a.b"), true));
    without_handle.handle_state = SymbolInfo::handle_valid;
    without_handle.handle = 7;
    (void)config.store_handle(path("P.own"), without_handle, 10);
    EXPECT_FALSE(config.is_topmost_layer_by_path(path("P.own.x"), true));
    EXPECT_TRUE(config.handle_already_fetched(path("P.own")));
    EXPECT_FALSE(config.handle_already_fetched(path("MAIN.a")));
}

TEST(RuntimeConfig, OldestHandlesAreDropped) {
    RuntimeConfig config("plc");
    config.symbols().set_impl(path("uploaded"), SymbolInfo());
    SymbolInfo outcome;
    outcome.handle_state = SymbolInfo::handle_valid;
    std::vector<int> dropped;
    for (const char* name : {"uploaded", "own", "third", "fourth"}) {
        ++outcome.handle;
        for (const int handle : config.store_handle(path(name), outcome, 2))
            dropped.push_back(handle);
    }
    EXPECT_EQ(dropped, (std::vector<int>{1, 2}));
    EXPECT_NE(config.symbols().get(path("uploaded")), nullptr) << "loses its handle alone";
    EXPECT_FALSE(config.handle_already_fetched(path("uploaded")));
    EXPECT_EQ(config.symbols().get(path("own")), nullptr);
    config.drop_handle(path("third"), 99);
    EXPECT_TRUE(config.handle_already_fetched(path("third"))) << "it has another handle";
    EXPECT_EQ(config.take_handles(), (std::vector<int>{3, 4}));
    EXPECT_EQ(config.symbols().size(), 1u);
}

} // namespace
