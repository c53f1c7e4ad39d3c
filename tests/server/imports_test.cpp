#include "server/imports.h"

#include "extension/host/value.h"

#include <gtest/gtest.h>

#include <thread>

using namespace server;
using namespace std::chrono_literals;

namespace {

void fail_import(Imports& imports, const char* target) {
    for (const char* name : {"TARGET_SYSTEM_CONNECTED", "ZORVANE_EVENTLOGGER_ERROR"}) {
        ZoHmiSrv::Message message;
        message.set_name(name);
        message.parameters().insert("0", target);
        imports.follow(message);
    }
}

TEST(Imports, PausesDoubleUpToTheMaximum) {
    Imports imports(RetryPauses{40ms, 100ms});
    const std::stop_source stop;
    for (const auto pause : {40ms, 80ms, 100ms, 100ms}) {
        const auto start = Imports::Clock::now();
        fail_import(imports, "One");
        EXPECT_EQ(imports.wait_until_due(stop.get_token()), "One");
        EXPECT_GE(Imports::Clock::now() - start, pause);
    }
    imports.postpone("One");
    EXPECT_EQ(imports.wait_until_due(stop.get_token()), "One") << "it could not be disconnected";
}

TEST(Imports, ReconnectEndsTheWait) {
    Imports imports(RetryPauses{20ms, 20ms}), once(std::nullopt);
    std::stop_source stop;
    fail_import(imports, "One");
    fail_import(once, "One");
    ZoHmiSrv::Message connected;
    connected.set_name("TARGET_SYSTEM_CONNECTED");
    connected.parameters().insert("0", "One");
    imports.follow(connected);
    std::thread later([&] {
        std::this_thread::sleep_for(60ms);
        stop.request_stop();
    });
    EXPECT_EQ(imports.wait_until_due(stop.get_token()), std::nullopt) << "connected again in between";
    EXPECT_EQ(once.wait_until_due(stop.get_token()), std::nullopt);
    EXPECT_EQ(once.incomplete(), std::vector<std::string>{"One"});
    later.join();
}

} // namespace
