// The stand-in for the device client, with the real target behind it.
#include "device/net/fdx_client.h"
#include "tests/system/programs.h"

#include <array>
#include <atomic>
#include <thread>

using namespace programs;
using ZoHmiFdx::NrxAddr;

namespace {

constexpr NrxAddr controller{{{5, 12, 82, 40, 1, 1}}, 851};

std::size_t threads_of_process() {
    const auto tasks = std::filesystem::directory_iterator("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

class Port {
public:
    explicit Port(int timeout_ms = 5000) { EXPECT_EQ(FdxSyncSetTimeoutEx(number, timeout_ms), 0); }
    ~Port() { EXPECT_EQ(FdxPortCloseEx(number), 0); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    /// The code of a read of two bytes of the image.
    int read(const NrxAddr& address = controller) const {
        std::uint16_t value = 0;
        return FdxSyncReadReqEx2(number, &address, 0x4020, 162, sizeof value, &value, nullptr);
    }

    const std::int32_t number = FdxPortOpenEx();
};

class DeviceLinkTest : public testing::Test {
protected:
    DeviceLinkTest() {
        write_routes(folder / "routes.json", {{"5.12.82.40.1.1", target.address()}, {"5.9.9.9.1.1", "127.0.0.1:1"}});
        ::setenv("ZO_ROUTES", (folder / "routes.json").c_str(), 1);
    }
    ~DeviceLinkTest() override { ::unsetenv("ZO_ROUTES"); }

    std::size_t sessions() {
        const std::string text = target.answer("sessions");
        return json::parse(text.substr(0, text.find('\n'))).size();
    }
    json requests() {
        const std::string text = target.answer("requests");
        return json::parse(text.substr(0, text.find('\n')));
    }

    const TemporaryFolder folder;
    Target target{folder, "target", quiet("bottling.json"), false};
};

TEST_F(DeviceLinkTest, EveryRequestReachesItsService) {
    const Port port;
    std::uint32_t count = 99;
    std::array<std::uint8_t, 64> data{};
    EXPECT_EQ(FdxSyncReadReqEx2(port.number, &controller, 0x4020, 162, 4, data.data(), &count), 0);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(data[0], 2) << "MAIN.mode.manual";
    EXPECT_EQ(data[2], 60) << "MAIN.mode.speed";
    EXPECT_EQ(FdxSyncWriteReqEx(port.number, &controller, 0x4020, 164, 2, "\x07\x00"), 0);
    std::uint32_t handle = 0;
    EXPECT_EQ(FdxSyncReadWriteReqEx2(port.number, &controller, 0xF003, 0, 4, &handle, 15, "MAIN.mode.speed", &count),
              0);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(FdxSyncReadReqEx2(port.number, &controller, 0xF005, handle, 2, data.data(), &count), 0);
    EXPECT_EQ(data[0], 7);
    EXPECT_EQ(FdxSyncWriteReqEx(port.number, &controller, 0xF005, 12345, 0, nullptr), 0x711);

    std::uint16_t states[2] = {99, 99};
    EXPECT_EQ(FdxSyncReadStateReqEx(port.number, &controller, &states[0], &states[1]), 0);
    EXPECT_EQ(states[0], 5);
    EXPECT_EQ(states[1], 0);
    const NrxAddr service{controller.net_id, 10000};
    std::array<char, 256> name{};
    ZoHmiFdx::FdxVersion version;
    EXPECT_EQ(FdxSyncReadDeviceInfoReqEx(port.number, &service, name.data(), &version), 0);
    EXPECT_STREQ(name.data(), "Bottling");
    EXPECT_EQ(version.build, 4024);

    const NrxAddr unused{controller.net_id, 852};
    EXPECT_EQ(port.read(unused), 0x6);
    EXPECT_EQ(FdxSyncReadReqEx2(port.number, nullptr, 0, 0, 0, nullptr, nullptr), 0x749);
    EXPECT_EQ(FdxSyncReadReqEx2(port.number, &controller, 0, 0, 4, nullptr, nullptr), 0x741);
    EXPECT_EQ(FdxSyncReadReqEx2(1, &controller, 0, 0, 0, nullptr, nullptr), 0x748);
    EXPECT_EQ(FdxSyncWriteReqEx(port.number, &controller, 0x4020, 0, 0xFFFFFFFF, "x"), 0x705);
    EXPECT_EQ(requests(), json::parse(R"({"hello":1,"read@0x4020":2,"read@0xF005":1,"read_write@0xF003":1,
        "write@0x4020":1,"write@0xF005":1,"device_state":1,"device_info":1})"));
}

TEST_F(DeviceLinkTest, FailureOfTheLinkHasItsCode) {
    const Port port(2000);
    const NrxAddr unknown{{{5, 7, 7, 7, 1, 1}}, 851};
    EXPECT_EQ(port.read(unknown), 0x7);
    const NrxAddr refused{{{5, 9, 9, 9, 1, 1}}, 851};
    EXPECT_EQ(port.read(refused), 0x1F);

    struct Case {
        const char* verb;
        int code;
        std::size_t connections; // after one more request
    };
    const Case cases[] = {
        {"fail read@0x4020 0x719", 0x719, 1}, {"truncate read", 0x748, 1},
        {"during read drop", 0x748, 1},       {"long read 1", 0x754, 1},
        {"replace read 010203", 0x754, 1},    {"replace read ff", 0, 1},
        {"short read@0x4020 1", 0, 1},        {"fail write 0x719", 0, 1},
    };
    for (const Case& row : cases) {
        target.run(row.verb);
        EXPECT_EQ(port.read(), row.code) << row.verb;
        EXPECT_EQ(port.read(), 0) << "connects again after " << row.verb;
        EXPECT_EQ(sessions(), row.connections) << row.verb;
    }
    std::uint16_t value = 0;
    std::uint32_t count = 0;
    target.run("short read@0x4020 1");
    EXPECT_EQ(FdxSyncReadReqEx2(port.number, &controller, 0x4020, 162, 2, &value, &count), 0);
    EXPECT_EQ(count, 1u);

    const Port hurried(100);
    target.run("slow read 400 1");
    EXPECT_EQ(hurried.read(), 0x745);
    EXPECT_EQ(port.read(), 0) << "a late answer does not break the link";
    target.kill();
    EXPECT_NE(port.read(), 0);
    EXPECT_EQ(port.read(), 0x1F);
    target.start();
    EXPECT_EQ(port.read(), 0);
}

TEST_F(DeviceLinkTest, AllPortsShareOneConnectionWhileOneIsOpen) {
    const std::size_t threads = threads_of_process();
    {
        const Port first, second;
        EXPECT_EQ(threads_of_process(), threads) << "no request, no connection";
        target.run("slow hello 1000");
        std::vector<std::thread> callers;
        for (int i = 0; i < 8; ++i)
            callers.emplace_back([&] {
                const Port own;
                EXPECT_EQ(own.read(), 0);
            });
        const Port hurried(50);
        EXPECT_EQ(hurried.read(), 0x745) << "waits no longer for another port's connection than its own timeout";
        for (std::thread& caller : callers)
            caller.join();
        EXPECT_EQ(first.read(), 0);
        EXPECT_EQ(second.read(), 0);
        EXPECT_EQ(sessions(), 1u);
        EXPECT_LE(requests()["hello"], 2) << "one more where the hurried port came first";
    }
    EXPECT_TRUE(eventually([&] { return threads_of_process() == threads; })) << "a look-up of a host may end later";
    EXPECT_TRUE(eventually([&] { return sessions() == 0; }));
    const Port later;
    EXPECT_EQ(later.read(), 0);
}

// Ports come and go, the last one too, while others ask and the target drops its connections.
TEST_F(DeviceLinkTest, OpeningAndClosingRacesWithRequests) {
    const std::size_t threads = threads_of_process();
    std::atomic<int> answered = 0;
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                const Port port;
                const int code = port.read();
                EXPECT_TRUE(code == 0 || code == 0x748 || code == 0x71F) << code;
                if (code == 0) ++answered;
            }
        });
    for (int i = 0; i < 20; ++i)
        target.run("drop");
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_GT(answered, 100);
    EXPECT_TRUE(eventually([&] { return threads_of_process() == threads; }));
}

} // namespace
