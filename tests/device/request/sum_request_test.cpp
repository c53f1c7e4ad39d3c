#include "device/request/request_proxy.h"

#include "device/request/runtime_config_base_cache.h"
#include "tests/device/request/device_memory.h"

#include <gtest/gtest.h>

#include <thread>

using namespace ZoHmiFdx;
using fakes::Bytes;
using fakes::Device;
using fakes::device_client;
using fakes::DeviceAnswer;
using fakes::DeviceRequest;
using fakes::number_at;
using fakes::wire;
using Data = RequestProxy::Data;
using Sizes = std::vector<std::size_t>;

namespace {

constexpr NrxAddr plc{{{5, 12, 82, 40, 1, 1}}, 851};
constexpr int too_large = 0x10004C;

class Sum : public testing::Test {
protected:
    void SetUp() override {
        device_client().reset();
        device_client().answer_by(std::ref(device));
    }
    static RequestProxy limited(std::uint64_t bytes, std::uint64_t items, std::uint64_t handles = SIZE_MAX) {
        return {3, plc, RequestLimits(bytes, items, handles), false, nullptr};
    }
    // Reads of one byte at the offsets 1 to n.
    static Bytes reads(std::uint32_t n) {
        Bytes bytes;
        for (std::uint32_t i = 1; i <= n; ++i) {
            const Bytes one = wire({FdxReq(0x4020, i, 1)});
            bytes.insert(bytes.end(), one.begin(), one.end());
        }
        return bytes;
    }
    static Bytes codes(std::initializer_list<std::uint32_t> numbers, const Bytes& data = {}) {
        Bytes bytes;
        for (const std::uint32_t number : numbers)
            fakes::append_number(bytes, number);
        bytes.insert(bytes.end(), data.begin(), data.end());
        return bytes;
    }

    Device device;
    RequestProxy proxy{3, plc, RequestLimits(), false, nullptr};
};

TEST_F(Sum, OneRequestCarriesAll) {
    device.codes[2] = 0x710;
    EXPECT_EQ(proxy.do_multiple_reads(3, reads(3), 15), (Data{codes({0, 0x710, 0}, {1, 0, 3}), 0}));

    const Bytes writes = wire({FdxReq(1, 2, 2), FdxReq(1, 4, 1)}, {7, 8, 9});
    EXPECT_EQ(proxy.do_multiple_writes(2, writes), (Data{codes({0x710, 0}), 0}));
    EXPECT_EQ(device.written, (std::vector<std::pair<std::uint32_t, Bytes>>{{1, {7, 8}}, {1, {9}}}));

    const Bytes both = wire({FdxReqWrite(1, 2, 3, 1), FdxReqWrite(1, 9, 2, 1)}, {7, 8});
    EXPECT_EQ(proxy.do_multiple_reads_and_writes(2, both, 21), (Data{codes({0x710, 0, 0, 2}, {9, 9}), 0}))
        << "data packed by the returned lengths";
    EXPECT_EQ(device.sums, (Sizes{3, 2, 2}));
    EXPECT_EQ(device.singles, 0u);
}

TEST_F(Sum, NothingToSend) {
    EXPECT_EQ(proxy.do_multiple_reads(0, reads(1), 5), (Data{{}, 0}));
    EXPECT_EQ(proxy.do_multiple_reads(3, {}, 5), (Data{{}, 0}));
    EXPECT_EQ(proxy.release_handles({}), (Data{{}, 0}));
    EXPECT_TRUE(device_client().take_requests().empty());
}

TEST_F(Sum, SplitInHalvesByLimits) {
    RequestProxy by_items = limited(RequestLimits::unlimited, 2);
    EXPECT_EQ(by_items.do_multiple_reads(5, reads(5), 25), (Data{codes({0, 0, 0, 0, 0}, {1, 2, 3, 4, 5}), 0}));
    EXPECT_EQ(device.sums, (Sizes{2, 1, 2}));

    device.sums.clear();
    RequestProxy by_bytes = limited(12, RequestLimits::unlimited);
    EXPECT_EQ(by_bytes.do_multiple_reads(3, reads(3), 15), (Data{codes({0, 0, 0}, {1, 2, 3}), 0}));
    EXPECT_EQ(device.sums, (Sizes{1, 2}));

    device.sums.clear();
    RequestProxy by_both = limited(40, 2);
    const Bytes both = wire({FdxReqWrite(1, 2, 3, 1), FdxReqWrite(1, 9, 2, 2), FdxReqWrite(1, 5, 1, 0)}, {7, 8, 9});
    EXPECT_EQ(by_both.do_multiple_reads_and_writes(3, both, 30),
              (Data{codes({0, 3, 0, 2, 0, 1}, {2, 2, 2, 9, 9, 5}), 0}));
    EXPECT_EQ(device.sums, (Sizes{1, 2}));
    EXPECT_EQ(device.written, (std::vector<std::pair<std::uint32_t, Bytes>>{{1, {7}}, {1, {8, 9}}}));
}

TEST_F(Sum, OneItemAboveTheLimit) {
    RequestProxy small = limited(8, RequestLimits::unlimited);
    EXPECT_EQ(small.do_multiple_reads(1, wire({FdxReq(1, 2, 9)}), 13), (Data{{}, too_large}));
    // In a sum of two the other one is read, and the failure adds nothing.
    const Bytes two = wire({FdxReq(1, 2, 9), FdxReq(1, 3, 1)});
    EXPECT_EQ(small.do_multiple_reads(2, two, 18), (Data{codes({0}, {3}), too_large}));
    EXPECT_EQ(proxy.do_multiple_reads(1, wire({FdxReq(1, 2, 9)}), std::uint64_t{1} << 33).second, too_large);
}

TEST_F(Sum, HandleCreationsHaveALimit) {
    const FdxReqWrite create(0xF003, 0, 4, 1);
    const FdxReqWrite other(0xF004, 0, 4, 1);
    RequestProxy two_handles = limited(RequestLimits::unlimited, RequestLimits::unlimited, 2);
    const Bytes three = wire({create, create, create}, {'a', 'b', 'c'});
    EXPECT_TRUE(two_handles.too_many_handle_creations(3, three, 0xF082));
    EXPECT_FALSE(two_handles.too_many_handle_creations(3, three, 0xF080));
    EXPECT_FALSE(two_handles.too_many_handle_creations(SIZE_MAX, Bytes{1, 2}, 0xF082));
    static_cast<void>(two_handles.do_multiple_reads_and_writes(3, three, 36));
    EXPECT_EQ(device.sums, (Sizes{1, 2}));
    device.sums.clear();
    const Bytes mixed = wire({create, other, create, other}, {'a', 'b', 'c', 'd'});
    static_cast<void>(two_handles.do_multiple_reads_and_writes(4, mixed, 48));
    EXPECT_EQ(device.sums, (Sizes{4})) << "only creations count";
}

TEST_F(Sum, TargetOutOfMemorySplits) {
    device.max_items = 1;
    EXPECT_EQ(proxy.do_multiple_reads(4, reads(4), 20), (Data{codes({0, 0, 0, 0}, {1, 2, 3, 4}), 0}));
    device.max_items = 0;
    EXPECT_EQ(proxy.do_multiple_reads(2, reads(2), 10), (Data{{}, 0x70A}));
}

TEST_F(Sum, TargetWithoutSumsGetsSingleRequests) {
    const auto cache = std::make_shared<RuntimeConfigBaseCache>();
    RequestProxy cached(3, plc, RequestLimits(), false, cache);
    device.has_sums = false;
    device.codes[3] = 0x710;
    EXPECT_EQ(cached.do_multiple_reads(4, reads(4), 20), (Data{codes({0, 0, 0x710, 0}, {1, 2, 0, 4}), 0}));
    EXPECT_EQ(device.singles, 4u);
    EXPECT_FALSE(cache->sum_requests_supported);
    static_cast<void>(device_client().take_requests());

    // One item goes single at once; the three groups answer in the layout of their sums.
    RequestProxy other(3, plc, RequestLimits(), false, cache);
    EXPECT_EQ(other.do_multiple_reads(1, wire({FdxReq(1, 3, 2)}), 6), (Data{codes({0x710}, {0, 0}), 0}));
    EXPECT_EQ(other.do_multiple_writes(1, wire({FdxReq(1, 3, 1)}, {7})), (Data{codes({0x710}), 0}));
    const Bytes read_write = wire({FdxReqWrite(1, 2, 2, 1)}, {7});
    EXPECT_EQ(other.do_multiple_reads_and_writes(1, read_write, 10), (Data{codes({0, 2}, {2, 2}), 0}));
    EXPECT_EQ(device_client().take_requests().size(), 3u);
    // What the descriptor says is bounded by the buffer.
    EXPECT_EQ(other.do_multiple_writes(1, wire({FdxReq(1, 3, 2)}, {7})), (Data{{}, 0x100034}));

    for (const std::int32_t code : {0x6, 0x7, 0xD, 0x12, 0x745, 0x748, 0x1B}) {
        device.codes[3] = code;
        const bool connection = code != 0x748 && code != 0x1B;
        EXPECT_EQ(other.do_multiple_reads(1, wire({FdxReq(1, 3, 2)}), 6),
                  (Data{codes({static_cast<std::uint32_t>(code)}, {0, 0}), connection ? code : 0}));
    }
}

TEST_F(Sum, NothingMissingLooksLikeSuccess) {
    const auto answer = [](Bytes data) {
        device_client().answer_by([data = std::move(data)](const DeviceRequest&) {
            DeviceAnswer given;
            given.data = data;
            return given;
        });
    };
    // The data of the second item and of the third did not come whole.
    answer(codes({0, 0, 0x710}, {1, 2}));
    const Bytes two_bytes = wire({FdxReq(1, 1, 2), FdxReq(1, 2, 2), FdxReq(1, 3, 2)});
    EXPECT_EQ(proxy.do_multiple_reads(3, two_bytes, 18), (Data{codes({0, 0x705, 0x710}, {1, 2, 0, 0, 0, 0}), 0}));
    answer(Bytes(6)); // the second code is cut
    EXPECT_EQ(proxy.do_multiple_writes(2, wire({FdxReq(1, 1, 0), FdxReq(1, 2, 0)})), (Data{codes({0, 0x705}), 0}));

    const Bytes both = wire({FdxReqWrite(1, 1, 2, 0), FdxReqWrite(1, 2, 2, 0)});
    answer(codes({0, 2, 0, 2}, {1, 2, 3}));
    EXPECT_EQ(proxy.do_multiple_reads_and_writes(2, both, 20), (Data{codes({0, 2, 0x705, 1}, {1, 2, 3}), 0}));
    answer(codes({0, 2, 0}));
    EXPECT_EQ(proxy.do_multiple_reads_and_writes(2, both, 20), (Data{codes({0x705, 0, 0x705, 0}), 0}));
    answer(codes({0, 0xFFFFFFFF, 0, 1}, {1, 2, 3, 4}));
    EXPECT_EQ(proxy.do_multiple_reads_and_writes(2, both, 20), (Data{codes({0x705, 4, 0x705, 0}, {1, 2, 3, 4}), 0}));

    // Single forms too.
    device.has_sums = false;
    device_client().answer_by([](const DeviceRequest&) {
        DeviceAnswer refused;
        refused.code = 0x701;
        return refused;
    });
    static_cast<void>(proxy.do_multiple_reads(1, reads(1), 5));
    answer({1});
    EXPECT_EQ(proxy.do_multiple_reads(1, wire({FdxReq(1, 1, 2)}), 6), (Data{codes({0x705}, {1, 0}), 0}));
}

TEST_F(Sum, DescriptorsMustFitTheBuffer) {
    EXPECT_EQ(proxy.do_multiple_reads(3, reads(2), 15), (Data{{}, 0x100034}));
    EXPECT_EQ(proxy.do_multiple_reads(SIZE_MAX / 12 + 2, reads(2), 15), (Data{{}, 0x100034}));
    EXPECT_EQ(proxy.do_multiple_reads_and_writes(2, reads(2), 15), (Data{{}, 0x100034}));
    // Wrong sums show when they are split.
    RequestProxy one = limited(RequestLimits::unlimited, 1);
    EXPECT_EQ(one.do_multiple_reads(2, reads(2), 4), (Data{{}, 0x100034}));
    EXPECT_EQ(one.do_multiple_writes(2, wire({FdxReq(1, 2, 9), FdxReq(1, 2, 9)}, {7})), (Data{{}, 0x100034}));
    EXPECT_TRUE(device_client().take_requests().empty());
    one.shutdown();
    EXPECT_EQ(one.do_multiple_reads(3, reads(2), 15), (Data{{}, 0x745}));
    EXPECT_EQ(one.do_multiple_reads(0, reads(2), 15), (Data{{}, 0}));
    EXPECT_EQ(limited(3, 1).do_multiple_reads(1, reads(1), 5).second, too_large);
}

TEST_F(Sum, ShutdownStopsBeforeTheNextHalf) {
    RequestProxy one = limited(RequestLimits::unlimited, 1);
    device_client().answer_by([&](const DeviceRequest& request) {
        one.shutdown();
        return device(request);
    });
    EXPECT_EQ(one.do_multiple_reads(4, reads(4), 20), (Data{codes({0}, {1}), 0x745}));
    EXPECT_EQ(device_client().take_requests().size(), 1u);
}

TEST_F(Sum, FirstFailureCounts) {
    RequestProxy one = limited(RequestLimits::unlimited, 1);
    device_client().answer_by([&](const DeviceRequest& request) {
        DeviceAnswer answer;
        const std::uint32_t offset = number_at(request.written, 4);
        answer.code = offset == 2 ? 0x745 : offset == 3 ? 0x748 : 0;
        answer.data = codes({0}, {static_cast<unsigned char>(offset)});
        return answer;
    });
    EXPECT_EQ(one.do_multiple_reads(4, reads(4), 20), (Data{codes({0, 0}, {1, 4}), 0x745}));
}

TEST_F(Sum, MaskedWritesFallBack) {
    const Bytes masked = wire({FdxReq(0xF018, 5, 1), FdxReq(0xF018, 6, 1)}, {7, 8});
    device.codes[5] = 0x702;
    EXPECT_EQ(proxy.do_multiple_writes_with_write_mask(2, masked), (Data{codes({0x702, 0}), 0}));
    EXPECT_EQ(device.written.back(), (std::pair<std::uint32_t, Bytes>{0xF005, {8}}));
    EXPECT_EQ(device.sums, (Sizes{2, 2}));
    static_cast<void>(proxy.do_multiple_writes_with_write_mask(2, masked));
    EXPECT_EQ(device.sums.size(), 3u) << "known by now";

    RequestProxy strict(3, plc, RequestLimits(), true, nullptr);
    EXPECT_EQ(strict.do_multiple_writes_with_write_mask(2, masked), (Data{{}, 0x701}));
    // A refusal beyond the first quarter of the codes goes unseen.
    device.codes = {{6, 0x701}};
    RequestProxy unaware(3, plc, RequestLimits(), true, nullptr);
    EXPECT_EQ(unaware.do_multiple_writes_with_write_mask(2, masked), (Data{codes({0, 0x701}), 0}));
    for (std::size_t n = 0; n < 40; ++n)
        for (std::size_t at = 0; at < n; ++at) {
            Bytes list(4 * n);
            list[4 * at] = 7;
            EXPECT_EQ(RequestProxy::contains_error_code(list, 7), at < (n + 3) / 4) << n << " " << at;
        }
    EXPECT_FALSE(RequestProxy::contains_error_code(Bytes{7, 0, 0}, 7));
}

TEST_F(Sum, ShutdownWhileOthersRead) {
    const auto cache = std::make_shared<RuntimeConfigBaseCache>();
    device_client().answer_by([](const DeviceRequest& request) { return Device()(request); });
    RequestProxy shared(3, plc, RequestLimits(40, 4, 1), false, cache);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int code = 0; code == 0;) {
                const auto [bytes, result] = shared.do_multiple_reads(16, reads(16), 80);
                code = result;
                EXPECT_TRUE(code == 0x745 || bytes.size() == 80);
            }
        });
    while (device_client().with_state([](auto& state) { return state.requests.size() < 100; }))
        std::this_thread::yield();
    shared.switch_to_port(7);
    shared.dont_remove_high_word_of_error_codes();
    shared.shutdown();
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
