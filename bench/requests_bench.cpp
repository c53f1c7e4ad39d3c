// 10,000 reads of 1 byte to 8 KiB from a device with a round trip of 0.5 ms. A request has at most 500 items and 64
// KiB. One read in fifty fails, and one is too large for any request. `requests` counts the requests of one batch;
// `bound` is the minimum of any packing.

#include "device/net/fdx_client.h"
#include "device/request/request_batch.h"
#include "device/request/sub_request.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace ZoHmiFdx;

constexpr std::uint32_t group = 0x4020;
constexpr std::uint64_t max_items = 500;
constexpr std::uint64_t max_bytes = 65536;
constexpr std::size_t read_count = 10'000;
constexpr std::uint32_t too_long = 100'000; // bytes
constexpr std::uint32_t failing_every = 50;

std::size_t requests_sent = 0;

void round_trip() {
    ++requests_sent;
    std::this_thread::sleep_for(std::chrono::microseconds(500));
}

std::int32_t code_of(std::uint32_t offset) {
    return offset % failing_every == 0 ? 0x703 : 0;
}

const std::vector<FdxReq>& reads() {
    static const std::vector<FdxReq> all = [] {
        std::mt19937 random(8192);
        std::uniform_int_distribution<std::uint32_t> length(1, 8192);
        std::vector<FdxReq> made;
        for (std::uint32_t i = 1; i <= read_count; ++i)
            made.emplace_back(group, i, i == read_count / 2 ? too_long : length(random));
        return made;
    }();
    return all;
}

std::size_t lower_bound_of_requests() {
    std::uint64_t bytes = 0;
    for (const FdxReq& read : reads())
        if (read.length != too_long) bytes += read.length + sizeof(std::uint32_t);
    return std::max((read_count + max_items - 1) / max_items, (bytes + max_bytes - 1) / max_bytes);
}

RequestProxy make_proxy() {
    return {1, NrxAddr(), RequestLimits(max_bytes, max_items, max_items), false, nullptr};
}

template <class Send>
void run(benchmark::State& state, Send send) {
    std::size_t batches = 0;
    requests_sent = 0;
    for (auto _ : state) {
        send();
        ++batches;
    }
    state.counters["requests"] = static_cast<double>(requests_sent) / static_cast<double>(batches);
    state.counters["bound"] = static_cast<double>(lower_bound_of_requests());
}

void batch(benchmark::State& state) {
    RequestProxy proxy = make_proxy();
    run(state, [&] {
        RequestBatch batch;
        for (const FdxReq& read : reads())
            batch.add_read(read.index_group, read.index_offset, read.length);
        batch.send(proxy);
        benchmark::DoNotOptimize(batch.bytes(0));
    });
}

// Chunks in order; the proxy splits those that are too long in halves.
void chunks_of_500(benchmark::State& state) {
    RequestProxy proxy = make_proxy();
    run(state, [&] {
        for (std::size_t start = 0; start < reads().size(); start += max_items) {
            const std::size_t count = std::min<std::size_t>(max_items, reads().size() - start);
            std::uint64_t read_length = 0;
            for (std::size_t i = 0; i < count; ++i)
                read_length += reads()[start + i].length + sizeof(std::uint32_t);
            const auto* const wire = reinterpret_cast<const unsigned char*>(reads().data() + start);
            benchmark::DoNotOptimize(proxy.do_multiple_reads(count, {wire, count * sizeof(FdxReq)}, read_length));
        }
    });
}

void one_by_one(benchmark::State& state) {
    RequestProxy proxy = make_proxy();
    run(state, [&] {
        for (const FdxReq& read : reads())
            benchmark::DoNotOptimize(proxy.data_at(read.index_group, read.index_offset, read.length));
    });
}

BENCHMARK(batch)->Name("reads/this")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(chunks_of_500)->Name("reads/chunks_of_500")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(one_by_one)->Name("reads/one_by_one")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

} // namespace

// The device client of this program.

std::int32_t FdxPortOpenEx() {
    return 1;
}
std::int32_t FdxPortCloseEx(std::int32_t) {
    return 0;
}
std::int32_t FdxGetLocalAddressEx(std::int32_t, NrxAddr* address) {
    *address = {};
    return 0;
}
std::int32_t FdxSyncGetTimeoutEx(std::int32_t, std::int32_t*) {
    return 0x701;
}
std::int32_t FdxSyncSetTimeoutEx(std::int32_t, std::int32_t) {
    return 0x701;
}
std::int32_t FdxSyncReadStateReqEx(std::int32_t, const NrxAddr*, std::uint16_t*, std::uint16_t*) {
    return 0x701;
}
std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t, const NrxAddr*, char*, FdxVersion*) {
    return 0x701;
}
std::int32_t FdxSyncWriteReqEx(std::int32_t, const NrxAddr*, std::uint32_t, std::uint32_t, std::uint32_t, const void*) {
    return 0x701;
}

std::int32_t FdxSyncReadReqEx2(std::int32_t, const NrxAddr*, std::uint32_t, std::uint32_t offset, std::uint32_t length,
                               void* buffer, std::uint32_t* came) {
    round_trip();
    std::memset(buffer, 1, length);
    *came = length;
    return code_of(offset);
}

std::int32_t FdxSyncReadWriteReqEx2(std::int32_t, const NrxAddr*, std::uint32_t, std::uint32_t count,
                                    std::uint32_t read_length, void* buffer, std::uint32_t, const void* wire,
                                    std::uint32_t* came) {
    round_trip();
    std::memset(buffer, 1, read_length);
    for (std::uint32_t i = 0; i < count; ++i) {
        FdxReq read;
        std::memcpy(&read, static_cast<const unsigned char*>(wire) + i * sizeof read, sizeof read);
        const std::int32_t code = code_of(read.index_offset);
        std::memcpy(static_cast<unsigned char*>(buffer) + i * sizeof code, &code, sizeof code);
    }
    *came = read_length;
    return 0;
}
