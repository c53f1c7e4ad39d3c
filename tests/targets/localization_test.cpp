#include "targets/locale_id.h"
#include "targets/locale_table.h"
#include "targets/localization_cache.h"
#include "targets/localization_keys.h"
#include "tests/support/checksum.h"
#include "tests/test_headers.h"

namespace {

using namespace ZoHmiEventLogger;

struct Key {
    int number;
    bool operator==(const Key&) const = default;
    std::size_t hash() const { return 0; } // all collide
};

using Cache = LocalizationCache<Key>;

// The keys below 10 that are kept, each with its answer.
std::string kept(const Cache& cache) {
    std::string text;
    for (int key = 0; key < 10; ++key)
        cache.find(Key{key}, [&](const ZoHmiSrv::Value& answer) {
            text += std::to_string(key) + ":" + std::to_string(answer.get_int32()) + " ";
        });
    return text;
}

TEST(LocalizationCache, DropsTheOldestAnswer) {
    for (const auto& [bound, expected] :
         {std::pair{0U, ""}, {1, "4:5 "}, {2, "3:4 4:5 "}, {4, "1:1 2:2 3:4 4:5 "}, {5, "1:1 2:2 3:4 4:5 "}}) {
        Cache cache(bound);
        for (const auto& [key, answer] : {std::pair{1, 1}, {2, 2}, {1, 3}, {3, 4}, {4, 5}}) {
            cache.store({key}, answer, 0);
            cache.find(Key{1}, [](const auto&) {}); // refreshes nothing
        }
        EXPECT_EQ(kept(cache), expected) << bound;
        cache.clear();
        EXPECT_EQ(kept(cache), "");
        cache.store({7}, 8, cache.clears());
        EXPECT_EQ(kept(cache), bound ? "7:8 " : "");
    }
}

TEST(LocalizationCache, DefaultBoundHolds) {
    LocalizationCache<ClassNameKey> cache;
    for (std::int32_t language = 0; language <= 65'536; ++language)
        cache.store({{}, language}, "name", 0);
    const auto nothing = [](const auto&) {};
    EXPECT_FALSE(cache.find(ClassNameKey{{}, 0}, nothing));
    EXPECT_TRUE(cache.find(ClassNameKey{{}, 1}, nothing));
}

TEST(Locale, TagsHaveTheirPublishedNumbers) {
    EXPECT_EQ(std::size(locale_table), 829u);
    EXPECT_EQ(std::ranges::count(locale_table, 0x1000, &LocaleRow::id), 418);
    std::string all;
    for (const LocaleRow& row : locale_table)
        all += std::string(row.tag) + "\t" + std::to_string(row.id) + "\n";
    EXPECT_EQ(crc32(all), 0xBEB05A27);
    // Older tags, too; all as they are spelled, and else English.
    const std::pair<const char*, std::int32_t> rows[] = {
        {"de-DE", 0x407},  {"zh", 0x7804},    {"az-AZ", 0x42C}, {"bs-BA", 0x141A}, {"en-CB", 0x2409}, {"ps-AR", 0x463},
        {"sr-BA", 0x181A}, {"sr-SP", 0x2C1A}, {"uz-UZ", 0x443}, {"DE-de", 0x9},    {"", 0x9},         {" de", 0x9}};
    for (const auto& [tag, id] : rows)
        EXPECT_EQ(locale_to_lcid(tag), id) << tag;
}

} // namespace
