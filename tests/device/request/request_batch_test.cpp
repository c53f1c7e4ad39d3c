#include "device/request/request_batch.h"

#include "device/request/detail/pack_reads.h"
#include "tests/device/request/device_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

using namespace ZoHmiFdx;
using fakes::Bytes;
using fakes::Device;
using fakes::device_client;

namespace {

constexpr NrxAddr plc{{{5, 12, 82, 40, 1, 1}}, 851};

Bytes copy_of(std::span<const unsigned char> bytes) {
    return {bytes.begin(), bytes.end()};
}

class Batch : public testing::Test {
protected:
    void SetUp() override {
        device_client().reset();
        device_client().answer_by(std::ref(device));
    }
    Device device;
    RequestBatch batch;
    RequestProxy proxy{3, plc, RequestLimits(100, 4, 2), false, nullptr};
};

TEST_F(Batch, EachItemHasItsAnswer) {
    device.codes = {{2, 0x710}, {5, 0x711}};
    const std::size_t first = batch.add_write(1, 11, Bytes{1, 1});
    batch.add_read(1, 1, 3);
    batch.add_read(1, 2, 3);
    batch.add_read(1, 3, 101); // above the limit, alone as well
    batch.add_read(1, 4, 100); // fits alone, not in a sum
    batch.add_write(1, 5, Bytes{2});
    batch.add_read_write(1, 6, 2, Bytes{3});
    batch.add_read_write(1, 5, 2, Bytes{4});
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(batch.code(0), 0x10004B) << "not sent yet";
    batch.send(proxy);
    const std::vector<int> expected{0, 0, 0x710, 0x10004C, 0, 0x711, 0, 0x711};
    for (std::size_t i = 0; i < batch.size(); ++i)
        EXPECT_EQ(batch.code(i), expected[i]) << i;
    EXPECT_EQ(copy_of(batch.bytes(1)), (Bytes{1, 1, 1}));
    EXPECT_TRUE(batch.bytes(2).empty());
    EXPECT_EQ(copy_of(batch.bytes(4)), Bytes(100, 4));
    EXPECT_EQ(copy_of(batch.bytes(6)), (Bytes{6, 6}));
    EXPECT_EQ(device.written,
              (std::vector<std::pair<std::uint32_t, Bytes>>{{1, {1, 1}}, {1, {2}}, {1, {3}}, {1, {4}}}));
    EXPECT_EQ(device.sums, (std::vector<std::size_t>{2, 2, 2}));

    batch.clear();
    batch.send(proxy);
    EXPECT_EQ(batch.size(), 0u);
}

TEST_F(Batch, WritesKeepTheirOrderWithinTheLimits) {
    for (unsigned char i = 0; i < 9; ++i)
        batch.add_write(1, 100u + i, Bytes{i});
    for (unsigned char i = 9; i < 14; ++i)
        batch.add_read_write(0xF003, 0, 4, Bytes{i});
    batch.add_read_write(1, 1, 90, Bytes{14});
    batch.add_read_write(1, 1, 90, Bytes{15});
    batch.send(proxy);
    EXPECT_EQ(device.sums, (std::vector<std::size_t>{4, 4, 2, 2}));
    EXPECT_EQ(device.singles, 4u) << "one of the writes, one handle with no company, and two long ones";
    for (std::size_t i = 0; i < device.written.size(); ++i)
        EXPECT_EQ(device.written[i].second, Bytes{static_cast<unsigned char>(i)});
    for (std::size_t i = 0; i < batch.size(); ++i)
        EXPECT_EQ(batch.code(i), 0) << i;
}

TEST_F(Batch, TargetWithoutSumsIsAskedOneByOne) {
    device.has_sums = false;
    for (std::uint32_t i = 0; i < 8; ++i)
        batch.add_read(1, i, 2);
    batch.send(proxy);
    batch.send(proxy);
    EXPECT_EQ(device.singles, 16u);
    EXPECT_EQ(device_client().take_requests().size(), 17u) << "one sum that was refused, never one more";
    for (std::uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(copy_of(batch.bytes(i)), Bytes(2, static_cast<unsigned char>(i)));
}

TEST_F(Batch, FailedRequestAnswersAllItsItems) {
    device_client().answer_by([&](const fakes::DeviceRequest& request) {
        fakes::DeviceAnswer answer = device(request);
        if (request.offset == 4) answer.code = 0x745; // the sum of four
        return answer;
    });
    for (std::uint32_t i = 0; i < 6; ++i)
        batch.add_read(1, 10 + i, 2);
    batch.send(proxy);
    std::vector<int> codes;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        codes.push_back(batch.code(i));
        EXPECT_EQ(batch.bytes(i).size(), batch.code(i) == 0 ? 2u : 0u);
    }
    EXPECT_EQ(std::ranges::count(codes, 0x745), 4);
    EXPECT_EQ(std::ranges::count(codes, 0), 2);
}

// The number of requests against the bound that no packing can go below.
TEST(PackReads, NearTheLowerBound) {
    std::mt19937 random(20261122);
    const auto uniform = [&](std::uint64_t low, std::uint64_t high) {
        return std::uniform_int_distribution<std::uint64_t>(low, high)(random);
    };
    const struct {
        const char* name;
        std::function<std::uint64_t(std::size_t)> size;
        std::uint64_t max_items, max_bytes;
        double ratio;
    } rows[] = {
        {"1 byte to 8 KiB", [&](std::size_t) { return uniform(5, 8196); }, 500, 65536, 1.05},
        {"small ones", [&](std::size_t) { return uniform(5, 12); }, 500, 65536, 1.0},
        {"half of it", [&](std::size_t) { return uniform(1, 32768); }, 500, 65536, 1.05},
        {"one large among small", [](std::size_t i) { return i % 4 == 0 ? 500u : 166u; }, 4, 1000, 1.05},
        {"all of it", [](std::size_t) { return 65536u; }, 500, 65536, 1.0},
        {"few items", [&](std::size_t) { return uniform(5, 8196); }, 3, 65536, 1.0},
        {"no limit", [&](std::size_t) { return uniform(5, 8196); }, UINT64_MAX, UINT32_MAX, 1.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<std::uint64_t> sizes(10'000);
        for (std::size_t i = 0; i < sizes.size(); ++i)
            sizes[i] = row.size(i);
        const Packing packing = pack_reads(sizes, row.max_items, row.max_bytes);
        std::vector<std::size_t> seen = packing.numbers;
        std::ranges::sort(seen);
        std::vector<std::size_t> all(sizes.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        ASSERT_EQ(seen, all);
        std::size_t start = 0;
        for (const std::size_t end : packing.ends) {
            std::uint64_t bytes = 0;
            for (std::size_t i = start; i < end; ++i)
                bytes += sizes[packing.numbers[i]];
            EXPECT_LE(bytes, row.max_bytes);
            EXPECT_LE(end - start, row.max_items);
            start = end;
        }
        const double total = static_cast<double>(std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0}));
        const double bound = std::ceil(std::max(static_cast<double>(sizes.size()) / static_cast<double>(row.max_items),
                                                total / static_cast<double>(row.max_bytes)));
        EXPECT_LE(static_cast<double>(packing.ends.size()), bound * row.ratio + 1e-9);
    }
}

} // namespace
