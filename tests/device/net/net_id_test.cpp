#include "device/net/net_id.h"
#include "device/net/scoped_port.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_device_client.h"
#include "tests/test_headers.h"

#include <type_traits>

using namespace std::string_literals;
using namespace ZoHmiFdx;
using Calls = std::vector<std::string>;

namespace {

class DeviceClientTest : public testing::Test {
protected:
    void SetUp() override {
        fakes::device_client().reset();
        fakes::call_log().clear();
    }
    static Calls calls() { return fakes::call_log().texts(); }
};
using NetId = DeviceClientTest;
using Ports = DeviceClientTest;

NrxNetId net_id(const std::string& text) {
    // Whatever was there before is overwritten, the port is not.
    NrxAddr address{{{9, 9, 9, 9, 9, 9}}, 851};
    nrx_net_id_from_string(&address, text);
    EXPECT_EQ(address.port, 851);
    return address.net_id;
}

TEST_F(NetId, FromText) {
    const NrxNetId zero;
    const NrxNetId one_to_six{{1, 2, 3, 4, 5, 6}};
    const std::pair<std::string, NrxNetId> cases[] = {
        {"1.2.3.4.5.6", one_to_six},
        {"1.2.3.4.5.6.7", one_to_six}, // what follows the sixth number is not looked at
        {"1.2.3.4.5.6x", one_to_six},  // the last character is not tested
        {"1.2.3.4.5.6xy", zero},
        {"1.2.3.4.5", zero},
        {"1.2.3.4.5.256", zero},
        {"1.2.3.4.5.99999999999999999999", zero},
        {"1..3.4.5.6", zero},
        {"", zero},
        {"1.2.3.4.5.6\0.7"s, one_to_six}, // the text ends at the first zero
        {"1.2.3.4\0.5.6"s, zero},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(net_id(text), expected) << text;
}

TEST_F(NetId, ToText) {
    EXPECT_EQ(to_string(NrxNetId{{5, 12, 82, 40, 1, 1}}, false), "5.12.82.40.1.1");
    EXPECT_EQ(to_string(NrxNetId{{5, 12, 82, 40, 1, 1}}, true), "5.12.82.40");
    EXPECT_EQ(to_string(FdxVersion{3, 1, 4024}), "3.1.4024");
}

TEST_F(NetId, MakeAbsolute) {
    fakes::device_client().set_local({{10, 1, 2, 3, 7, 7}});
    const NrxNetId relative{{0, 0, 0, 0, 2, 3}};
    const NrxNetId absolute{{0, 0, 0, 1, 2, 3}};
    EXPECT_TRUE(is_net_id_relative(relative));
    EXPECT_FALSE(is_net_id_relative(absolute));
    EXPECT_EQ(make_net_id_absolute(relative, NrxNetId{{9, 8, 7, 6, 5, 4}}), (NrxNetId{{9, 8, 7, 6, 2, 3}}));
    EXPECT_EQ(make_net_id_absolute(absolute, NrxNetId{{9, 8, 7, 6, 5, 4}}), absolute);

    EXPECT_EQ(make_net_id_absolute(absolute), absolute);
    EXPECT_EQ(calls(), Calls()) << "an absolute net id asks nobody";
    EXPECT_EQ(make_net_id_absolute(relative), (NrxNetId{{10, 1, 2, 3, 2, 3}}));
    EXPECT_EQ(calls(), (Calls{"FdxPortOpenEx() = 1", "FdxGetLocalAddressEx(1)", "FdxPortCloseEx(1)"}));
    EXPECT_EQ(make_net_id_absolute(NrxAddr{relative, 851}), (NrxAddr{{{10, 1, 2, 3, 2, 3}}, 851}));

    fakes::device_client().set_local_result(0x745);
    EXPECT_EQ(make_net_id_absolute(relative), relative);
    fakes::device_client().refuse_ports(true);
    EXPECT_EQ(make_net_id_absolute(relative), relative);
    EXPECT_TRUE(fakes::device_client().open_ports().empty());
}

TEST_F(NetId, LocalBase) {
    EXPECT_EQ(fetch_local_remote_netid_base(), "5.1.2.3");
    fakes::call_log().clear();
    EXPECT_EQ(fetch_local_remote_netid_base(0), "");
    EXPECT_EQ(calls(), Calls());
    const SimpleScopedPort port;
    EXPECT_EQ(fetch_local_remote_netid_base(port.port()), "5.1.2.3");
    fakes::device_client().refuse_ports(true);
    EXPECT_EQ(fetch_local_remote_netid_base(), "");
}

TEST_F(NetId, DistinctInSet) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"127.0.0.1", "5.6.7.8.1.1", "5.6.7.8.1.1.1.1"},
        {"127.0.0.10.1.1", "5.6.7.8", "5.6.7.80.1.1"}, // the test for the prefix sees no boundary
        {"0.0.0.0.2.1", "5.6.7.8", "5.6.7.8.2.1"},
        {"0.0.0.0.1.1", "127.0.0.1", "127.0.0.1.1.1"}, // no second pass
        {"127.0.0.1.1.1", "", ".1.1"},
        {"1.127.0.0.1.1", "5.6.7.8", "1.127.0.0.1.1"},
        {"", "5.6.7.8", ""},
    };
    for (const auto& [id, local, expected] : cases) {
        std::set<std::string> ids;
        insert_distinct_net_id(ids, id, local);
        EXPECT_EQ(ids, std::set<std::string>{expected}) << id;
    }
    std::set<std::string> ids;
    for (const char* same : {"127.0.0.1", "0.0.0.0.1.1", "5.6.7.8", "5.6.7.8.1.1"})
        insert_distinct_net_id(ids, same, "5.6.7.8");
    EXPECT_EQ(ids, std::set<std::string>{"5.6.7.8.1.1"});
}

TEST_F(NetId, ResolvesPlaceholders) {
    const std::tuple<bool, const char*, const char*, const char*> cases[] = {
        {false, "127.0.0.1.1.1", "5.6.7.8", "5.6.7.8.1.1"},
        {false, "127.0.0.1.1.1", "", "127.0.0.1.1.1"},
        {false, "0.0.0.0.1.1", "5.6.7.8", "127.0.0.1.1.1"}, // and no further to the local one
        {true, "127.0.0.1.1.1", "5.6.7.8", "127.0.0.1.1.1"},
        {true, "0.0.0.0.1.1", "5.6.7.8", "5.6.7.8.1.1"},
        {true, "0.0.0.0.1.1", "", "127.0.0.1.1.1"},
        {true, "127.0.0.1", "5.6.7.8", "127.0.0.1"}, // four numbers stay four
    };
    for (const auto& [keep_loopback, id, local, expected] : cases)
        EXPECT_EQ(actualize_net_id(id, local, keep_loopback), expected) << id << keep_loopback;
}

TEST_F(Ports, ScopedAndPooled) {
    static_assert(!std::is_copy_constructible_v<SimpleScopedPort> && !std::is_move_constructible_v<SimpleScopedPort>);
    PortPoolImplementation pool;
    {
        const SimpleScopedPort port;
        EXPECT_TRUE(port.valid());
        EXPECT_EQ(port.port(), 1);
        EXPECT_EQ(pool.port_open(), 2);
        pool.port_set_timeout(2, 1500);
    }
    pool.port_close(2);
    pool.port_close(0);
    fakes::device_client().refuse_ports(true);
    {
        const SimpleScopedPort port;
        EXPECT_FALSE(port.valid());
        EXPECT_EQ(pool.port_open(), 0);
    }
    // A scoped port closes whatever it got, a pooled 0 is left alone.
    EXPECT_EQ(calls(),
              (Calls{"FdxPortOpenEx() = 1", "FdxPortOpenEx() = 2", "FdxSyncSetTimeoutEx(2, 1500)", "FdxPortCloseEx(1)",
                     "FdxPortCloseEx(2)", "FdxPortOpenEx() = 0", "FdxPortOpenEx() = 0", "FdxPortCloseEx(0)"}));
}

TEST_F(Ports, OneThreadOpensOrClosesAtOnce) {
    std::atomic<int> inside = 0;
    std::atomic<int> overlaps = 0;
    std::atomic<int> unlocked = 0;
    fakes::device_client().on_open_or_close([&] {
        if (++inside != 1) ++overlaps;
        std::thread([&] {
            if (fdx_port_open_mutex().try_lock()) {
                fdx_port_open_mutex().unlock();
                ++unlocked;
            }
        }).join();
        --inside;
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            PortPoolImplementation pool;
            for (int round = 0; round < 50; ++round)
                if (i % 2 == 0)
                    const SimpleScopedPort port;
                else
                    pool.port_close(pool.port_open());
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(unlocked, 0);
    EXPECT_TRUE(fakes::device_client().open_ports().empty());

    // The lookup and the timeout run beside it.
    fakes::device_client().on_open_or_close(nullptr);
    const SimpleScopedPort port;
    const std::lock_guard lock(fdx_port_open_mutex());
    EXPECT_EQ(fetch_local_remote_netid_base(port.port()), "5.1.2.3");
    PortPoolImplementation().port_set_timeout(port.port(), 10);
}

} // namespace
