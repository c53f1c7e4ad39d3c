#include "device/net/fdx_client.h"
#include "device/net/net_id.h"
#include "platform/link/routes.h"
#include "tests/support/files.h"
#include "tests/test_headers.h"

#include <cstdlib>

using ZoHmiFdx::NrxAddr;

namespace {

// A routes file of its own for each test, named by the environment.
class ClientStandIn : public testing::Test {
protected:
    ClientStandIn() { ::setenv("ZO_ROUTES", path().c_str(), 1); }
    ~ClientStandIn() override { ::unsetenv("ZO_ROUTES"); }
    void write_routes(const std::string& text) { zo_test::write_file(path(), text); }
    std::string path() const { return folder_ / "routes.json"; }

private:
    const zo_test::TemporaryFolder folder_;
};

std::string local_of(std::int32_t port) {
    NrxAddr address;
    const std::int32_t result = FdxGetLocalAddressEx(port, &address);
    if (result != 0) return "error " + std::to_string(result);
    EXPECT_EQ(address.port, port);
    return ZoHmiFdx::to_string(address.net_id);
}

TEST_F(ClientStandIn, LocalAddressOfRoutesFile) {
    const std::int32_t port = FdxPortOpenEx();
    EXPECT_EQ(local_of(port), "127.0.0.1.1.1") << "there is no file yet";
    const std::pair<const char*, const char*> cases[] = {
        {R"({"local":"5.1.2.3.1.1","routes":{}})", "5.1.2.3.1.1"},
        {R"({"local":"5.1.2.4"})", "5.1.2.4.1.1"},
        {R"({"local":"5.1.2.256.1.1"})", "127.0.0.1.1.1"},
        {R"({"local":"5.1.2.3.1.1")", "127.0.0.1.1.1"},
    };
    for (const auto& [file, local] : cases) {
        write_routes(file);
        EXPECT_EQ(local_of(port), local) << file;
    }
    EXPECT_EQ(FdxGetLocalAddressEx(port, nullptr), 0x741);
    EXPECT_EQ(FdxPortCloseEx(port), 0);
    EXPECT_EQ(local_of(port), "error 1864"); // 0x748
}

TEST_F(ClientStandIn, PortsAndTimeouts) {
    const std::int32_t port = FdxPortOpenEx();
    ASSERT_GT(port, 0);
    std::int32_t timeout = 0;
    EXPECT_EQ(FdxSyncSetTimeoutEx(port, 250), 0);
    EXPECT_EQ(FdxSyncGetTimeoutEx(port, &timeout), 0);
    EXPECT_EQ(timeout, 250);
    EXPECT_EQ(FdxSyncSetTimeoutEx(port, -1), 0x747);

    EXPECT_EQ(FdxPortCloseEx(port), 0);
    EXPECT_NE(FdxPortOpenEx(), port) << "a closed number is not given out at once";
    for (const std::int32_t closed : {port, 0, -1, 1, 0x7FFFFFFF}) {
        EXPECT_EQ(FdxPortCloseEx(closed), 0x748) << closed;
        EXPECT_EQ(FdxSyncGetTimeoutEx(closed, &timeout), 0x748) << closed;
        EXPECT_EQ(FdxSyncSetTimeoutEx(closed, 1), 0x748) << closed;
    }
}

TEST_F(ClientStandIn, RoutesFile) {
    EXPECT_FALSE(zo_link::read_routes(path()).has_value());
    EXPECT_FALSE(zo_link::read_routes(std::filesystem::temp_directory_path().string()).has_value());
    write_routes(
        R"({"local":"5.1.2.3","routes":{"5.12.82.40":"127.0.0.1:48900","5.9.9.9.2.1":"host:1","5.8.8.8.1.1":7}})");
    const auto routes = zo_link::read_routes(path());
    ASSERT_TRUE(routes.has_value());
    EXPECT_EQ(routes->local, "5.1.2.3.1.1");
    EXPECT_EQ(routes->routes,
              (std::map<std::string, std::string>{{"5.12.82.40.1.1", "127.0.0.1:48900"}, {"5.9.9.9.2.1", "host:1"}}));

    std::string deep(200000, '[');
    write_routes(deep);
    EXPECT_FALSE(zo_link::read_routes(path()).has_value());
    write_routes(R"({"local":"5.1.2.3.1.1"})" + std::string(2 * 1024 * 1024, ' '));
    EXPECT_FALSE(zo_link::read_routes(path()).has_value()) << "no routes file is that large";

    EXPECT_EQ(zo_link::default_routes_path(reinterpret_cast<const void*>(&FdxPortOpenEx)), path());
    ::unsetenv("ZO_ROUTES");
    const auto beside = zo_link::default_routes_path(reinterpret_cast<const void*>(&FdxPortOpenEx));
    EXPECT_EQ(std::filesystem::path(beside).filename(), "routes.json");
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(beside).parent_path() / "libZoFdxDll.so")) << beside;
}

} // namespace
