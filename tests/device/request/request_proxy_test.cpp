#include "device/request/request_proxy.h"

#include "device/request/fdx_runtime.h"
#include "device/request/runtime_config_base_cache.h"
#include "device/request/symbol_info.h"
#include "device/request/use_low_timeout.h"
#include "tests/device/request/device_memory.h"
#include "tests/fakes/call_log.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using fakes::Bytes;
using fakes::device_client;
using fakes::DeviceAnswer;
using fakes::DeviceRequest;

namespace {

constexpr int too_large = 0x10004C;
constexpr NrxAddr plc{{{5, 12, 82, 40, 1, 1}}, 851};

class RequestProxyTest : public testing::Test {
protected:
    void SetUp() override { device_client().reset(); }
    void answer(std::int32_t code, Bytes data, std::int64_t came = -1) {
        device_client().answer_by([=](const DeviceRequest&) {
            DeviceAnswer answer;
            answer.code = code;
            answer.data = data;
            answer.came = came;
            return answer;
        });
    }
    DeviceRequest only_request() {
        const auto requests = device_client().take_requests();
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? DeviceRequest{} : requests.front();
    }

    RequestProxy proxy{3, plc, RequestLimits(), false, nullptr};
};

struct Operation {
    const char* name;
    RequestProxy::Data (*run)(RequestProxy&);
    DeviceRequest::Kind kind;
    std::uint16_t port;
    std::uint32_t group, offset, length;
    std::string written;
    bool shrinks;
};

const Operation operations[] = {
    {"data_at", [](RequestProxy& p) { return p.data_at(0x4020, 8, 16); }, DeviceRequest::read, 851, 0x4020, 8, 16, "",
     true},
    {"data_by_handle", [](RequestProxy& p) { return p.data_by_handle(77, 16); }, DeviceRequest::read, 851, 0xF005, 77,
     16, "", true},
    {"data_by_var_info",
     [](RequestProxy& p) {
         SymbolInfo symbol;
         symbol.handle = 78;
         return p.data_by_var_info(symbol, 16);
     },
     DeviceRequest::read, 851, 0xF005, 78, 16, "", true},
    {"data_by_name", [](RequestProxy& p) { return p.data_by_name("M.a", 16); }, DeviceRequest::read_write, 851, 0xF004,
     0, 16, "M.a", false},
    {"info_by_name", [](RequestProxy& p) { return p.info_by_name("M.a"); }, DeviceRequest::read_write, 851, 0xF009, 0,
     255, "M.a", false},
    {"data_by_handle_with_write_mask",
     [](RequestProxy& p) {
         return p.data_by_handle_with_write_mask(9, 16, Bytes{'d', 'm'});
     },
     DeviceRequest::read_write, 851, 0xF018, 9, 16, "dm", false},
    {"read_write_at", [](RequestProxy& p) { return p.read_write_at(1, 2, ZoHmiSrv::Binary("xy", 2), 16); },
     DeviceRequest::read_write, 851, 1, 2, 16, "xy", false},
    {"upload_info", [](RequestProxy& p) { return p.upload_info(24); }, DeviceRequest::read, 851, 0xF00F, 0, 24, "",
     true},
    {"symbol_descriptions_chunk", [](RequestProxy& p) { return p.symbol_descriptions_chunk(5, 16); },
     DeviceRequest::read, 851, 0xF00B, 5, 16, "", true},
    {"datatype_descriptions_chunk", [](RequestProxy& p) { return p.datatype_descriptions_chunk(5, 16); },
     DeviceRequest::read, 851, 0xF00E, 5, 16, "", true},
    {"full_product_version", [](RequestProxy& p) { return p.full_product_version(); }, DeviceRequest::read, 10000, 0xA0,
     0, 8, "", true},
};

TEST_F(RequestProxyTest, SingleOperations) {
    for (const Operation& row : operations) {
        SCOPED_TRACE(row.name);
        answer(0, {1, 2, 3}, 3);
        const auto [bytes, code] = row.run(proxy);
        EXPECT_EQ(code, 0);
        const DeviceRequest request = only_request();
        EXPECT_EQ(request.kind, row.kind);
        EXPECT_EQ(request.port, 3);
        EXPECT_EQ(request.address, (NrxAddr{plc.net_id, row.port}));
        EXPECT_EQ(request.group, row.group);
        EXPECT_EQ(request.offset, row.offset);
        EXPECT_EQ(request.length, row.length);
        EXPECT_EQ(std::string(request.written.begin(), request.written.end()), row.written);
        Bytes expected{1, 2, 3};
        if (!row.shrinks) expected.resize(row.length);
        EXPECT_EQ(bytes, expected);

        answer(0, {1}, 0xFFFFFFFF); // more than was asked for
        EXPECT_EQ(row.run(proxy).first.size(), row.length);
        answer(static_cast<std::int32_t>(0x98110745), {});
        EXPECT_EQ(row.run(proxy).second, 0x745);

        static_cast<void>(device_client().take_requests());
        RequestProxy limited(3, plc, RequestLimits(row.length - 1, 1, 1), false, nullptr);
        EXPECT_EQ(row.run(limited), (RequestProxy::Data{{}, too_large}));
        limited.shutdown();
        EXPECT_EQ(row.run(limited), (RequestProxy::Data{{}, RequestProxy::SIMULATED_ERROR_AFTER_SHUTDOWN}));
        EXPECT_TRUE(device_client().take_requests().empty()) << "no traffic";
    }
}

TEST_F(RequestProxyTest, HighWordStaysOnRequest) {
    proxy.dont_remove_high_word_of_error_codes();
    answer(static_cast<std::int32_t>(0x98110710), {});
    EXPECT_EQ(proxy.data_at(1, 2, 4).second, static_cast<std::int32_t>(0x98110710));
    EXPECT_EQ(proxy.read_write_at(1, 2, {}, 4).second, 0x710) << "always without";
    // A high word that stays is no known code: nothing falls back.
    answer(static_cast<std::int32_t>(0x98110701), {});
    static_cast<void>(device_client().take_requests());
    EXPECT_EQ(proxy.data_by_handle_with_write_mask(1, 4, Bytes{1}).second, static_cast<std::int32_t>(0x98110701));
    EXPECT_EQ(device_client().take_requests().size(), 1u);
}

TEST_F(RequestProxyTest, LengthBeyond32Bits) {
    answer(0, {});
    EXPECT_EQ(proxy.data_at(1, 2, std::uint64_t{1} << 32).second, too_large);
    EXPECT_EQ(proxy.data_by_name("a", std::uint64_t{1} << 40).second, too_large);
    EXPECT_TRUE(device_client().take_requests().empty());
}

TEST_F(RequestProxyTest, Handles) {
    answer(0, {0x78, 0x56, 0x34, 0x12});
    EXPECT_EQ(proxy.handle_by_name("M.a"), std::pair(0x12345678u, 0));
    const DeviceRequest request = only_request();
    EXPECT_EQ(request.group, 0xF003u);
    EXPECT_EQ(request.length, 4u);
    RequestProxy limited(3, plc, RequestLimits(3, 1, 1), false, nullptr);
    EXPECT_EQ(limited.handle_by_name("M.a"), std::pair(0u, too_large));

    answer(0, Bytes(8));
    const std::vector<int> handles{5, -1};
    EXPECT_EQ(proxy.release_handles(handles).second, 0);
    const DeviceRequest release = device_client().take_requests().back();
    EXPECT_EQ(release.group, 0xF081u);
    EXPECT_EQ(release.offset, 2u);
    EXPECT_EQ(release.written,
              fakes::wire({FdxReq(0xF006, 0, 4), FdxReq(0xF006, 0, 4)}, {5, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST_F(RequestProxyTest, Writes) {
    answer(0, {});
    EXPECT_EQ(proxy.write_data_to(1, 2), 0);
    EXPECT_EQ(proxy.write_data_to(1, 2, ZoHmiSrv::Binary("ab", 2)), 0);
    EXPECT_EQ(proxy.write_data_to(1, 2, Bytes{7}), 0);
    const auto requests = device_client().take_requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].written, Bytes());
    EXPECT_EQ(requests[1].written, (Bytes{'a', 'b'}));
    EXPECT_EQ(requests[2].written, Bytes{7});
}

TEST_F(RequestProxyTest, StatesAndIdentity) {
    device_client().answer_by([](const DeviceRequest& request) {
        DeviceAnswer answer;
        answer.fdx_state = 5;
        answer.device_state = 7;
        answer.name = std::string(256, 'n'); // fills the buffer, without an end
        answer.version = {3, 1, 4024};
        if (request.kind == DeviceRequest::read)
            answer.data = {0x30, 0x2f, 0x1d, 0x7c, 0xa4, 0x58, 0x0e, 0x4f, 0x9d, 0x61, 1, 2, 3, 4, 5, 6};
        return answer;
    });
    EXPECT_EQ(proxy.state(), (std::tuple<std::uint16_t, std::uint16_t, int>(5, 7, 0)));
    const auto [name, version, code] = proxy.device_info();
    EXPECT_EQ(name, std::string(256, 'n'));
    EXPECT_EQ(to_string(version), "3.1.4024");
    EXPECT_EQ(code, 0);
    const auto [id, id_code] = proxy.system_id();
    EXPECT_EQ(id_code, 0);
    EXPECT_EQ(ZoHmiSrv::Algorithm::uuid_to_string(id, false), "7C1D2F30-58A4-4F0E-9D61-010203040506");
    const auto requests = device_client().take_requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].address.port, 851);
    EXPECT_EQ(requests[1].address.port, 10000);
    EXPECT_EQ(requests[2].group, 0x01010004u);
    EXPECT_EQ(requests[2].offset, 1u);

    answer(0, Bytes(15));
    EXPECT_EQ(proxy.system_id().second, 0x705);
    proxy.shutdown();
    static_cast<void>(device_client().take_requests());
    EXPECT_EQ(proxy.state(), (std::tuple<std::uint16_t, std::uint16_t, int>(0, 0, 0x745)));
    EXPECT_EQ(std::get<2>(proxy.device_info()), 0x745);
    EXPECT_TRUE(device_client().take_requests().empty());
}

TEST_F(RequestProxyTest, MaskFallsBackOnce) {
    const auto cache = std::make_shared<RuntimeConfigBaseCache>();
    for (const int refusal : {0x701, 0x702}) {
        cache->write_mask_supported = true;
        device_client().answer_by([&](const DeviceRequest& request) {
            DeviceAnswer answer;
            answer.code = request.group == 0xF018 ? refusal : 0;
            return answer;
        });
        RequestProxy cached(3, plc, RequestLimits(), false, cache);
        EXPECT_EQ(cached.data_by_handle_with_write_mask(9, 2, Bytes{1, 2}), (RequestProxy::Data{{0, 0}, 0}));
        EXPECT_FALSE(cache->write_mask_supported);
        // Another proxy of the runtime knows already.
        EXPECT_EQ(RequestProxy(3, plc, RequestLimits(), false, cache)
                      .data_by_handle_with_write_mask(9, 2, Bytes{1, 2})
                      .second,
                  0);
        const auto requests = device_client().take_requests();
        ASSERT_EQ(requests.size(), 3u);
        EXPECT_EQ(requests[0].group, 0xF018u);
        EXPECT_EQ(requests[1].group, 0xF005u);
        EXPECT_EQ(requests[2].group, 0xF005u);

        RequestProxy strict(3, plc, RequestLimits(), true, cache);
        EXPECT_EQ(strict.data_by_handle_with_write_mask(9, 2, Bytes{1}), (RequestProxy::Data{{0, 0}, 0x701}));
        EXPECT_TRUE(device_client().take_requests().empty());
    }
}

TEST_F(RequestProxyTest, PortsAndTimeouts) {
    const std::int32_t port = FdxPortOpenEx();
    {
        const UseLowTimeout low(static_cast<unsigned>(port), 200);
        EXPECT_EQ(RequestProxy::get_timeout(port), 200);
    }
    EXPECT_EQ(RequestProxy::get_timeout(port), 5000);
    EXPECT_EQ(RequestProxy::get_timeout(port + 1), 0);
    fakes::call_log().clear();
    { const UseLowTimeout unknown(static_cast<unsigned>(port) + 1, 200); }
    EXPECT_EQ(fakes::call_log().texts().size(), 1u) << "a timeout that cannot be read is not restored";

    proxy.switch_to_port(4);
    static_cast<void>(proxy.data_at(1, 2, 3));
    EXPECT_EQ(only_request().port, 4);
    RequestProxy relative(3, {{{0, 0, 0, 0, 1, 1}}, 851}, RequestLimits(), false, nullptr);
    static_cast<void>(relative.data_at(1, 2, 3));
    EXPECT_EQ(to_string(only_request().address.net_id), "5.1.2.3.1.1");
}

TEST(FdxRuntime, ComparesAllButNetIdAndInitialized) {
    const FdxRuntime runtime("PLC1", plc, "text");
    EXPECT_TRUE(runtime.read_before_write_enabled());
    FdxRuntime same("PLC1", {{{9, 9, 9, 9, 9, 9}}, 851}, "text");
    same.set_initialized(true);
    EXPECT_EQ(runtime, same);
    EXPECT_NE(runtime, FdxRuntime("PLC2", plc, "text"));
    EXPECT_NE(runtime, FdxRuntime("PLC1", plc, "other"));
    EXPECT_NE(runtime, FdxRuntime("PLC1", {plc.net_id, 852}, "text"));
    const auto differs = [&](void (FdxRuntime::*set)(bool), bool on) {
        FdxRuntime other = runtime;
        (other.*set)(on);
        return runtime != other;
    };
    EXPECT_TRUE(differs(&FdxRuntime::set_enabled, true));
    EXPECT_TRUE(differs(&FdxRuntime::set_uses_whitelisting, true));
    EXPECT_TRUE(differs(&FdxRuntime::set_read_before_write_enabled, false));
    EXPECT_TRUE(differs(&FdxRuntime::set_is_read_only, true));
}

TEST(SymbolInfo, Handles) {
    const struct {
        std::uint8_t state;
        std::uint32_t handle;
        std::int32_t error;
        bool valid;
        std::int32_t reported;
        bool worth_trying, worth_trying_as_target;
    } rows[] = {
        {0, 5, 0x710, false, 0x10003D, true, true},
        {2, 5, 0x710, true, 0, true, true},
        {2, 0, 0, false, 0, true, true},
        {3, 0, 0x710, false, 0x710, false, true},
        {4, 0, 0x710, false, 0x710, true, false},
        {3, 0, 0x711, false, 0x711, true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(int{row.state});
        SymbolInfo symbol;
        symbol.handle_state = row.state;
        symbol.handle = row.handle;
        symbol.handle_error = row.error;
        EXPECT_EQ(symbol.is_valid_handle(), row.valid);
        EXPECT_EQ(symbol.get_handle_error(), row.reported);
        EXPECT_EQ(symbol.fetch_handle_worth_trying(false), row.worth_trying);
        EXPECT_EQ(symbol.fetch_handle_worth_trying(true), row.worth_trying_as_target);
    }
    SymbolInfo method;
    method.method_name = "M.a#x#Start^`^";
    EXPECT_EQ(method.method_name_without_dereference_operators(), "Start");
}

} // namespace
