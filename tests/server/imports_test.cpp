#include "server/imports.h"

#include "extension/host/value.h"

#include <gtest/gtest.h>

#include <thread>

using namespace server;
using namespace std::chrono_literals;

namespace {

/// Follows messages about the target One: c(onnected), a(way), e(rror) and the s(ummary) of an import.
void follow(Imports& imports, std::string_view messages) {
    for (const char kind : messages) {
        ZoHmiSrv::Message message;
        message.set_name(kind == 'c'   ? "TARGET_SYSTEM_CONNECTED"
                         : kind == 'a' ? "TARGET_SYSTEM_CONNECT_FAILED"
                         : kind == 'e' ? "ZORVANE_EVENTLOGGER_ERROR"
                                       : "GETLOGGEDEVENTS_GETACTIVEALARMS");
        message.parameters().insert("0", "One");
        imports.follow(message);
    }
}

TEST(Imports, ErrorBeforeSummaryMeansIncomplete) {
    for (const auto& [messages, incomplete] :
         {std::pair("e", false), {"ce", true}, {"ces", false}, {"cse", false}, {"ceac", true}}) {
        Imports imports;
        follow(imports, messages);
        EXPECT_EQ(imports.is_incomplete("One"), incomplete) << messages;
    }
}

TEST(Imports, PausesDoubleUpToTheMaximum) {
    Imports imports(RetryPauses{40ms, 100ms});
    const std::stop_source stop;
    for (const auto pause : {40ms, 80ms, 100ms, 100ms}) {
        const auto start = Imports::Clock::now();
        follow(imports, "ce");
        EXPECT_EQ(imports.wait_until_due(stop.get_token()), "One");
        EXPECT_GE(Imports::Clock::now() - start, pause);
    }
    imports.postpone("One");
    EXPECT_EQ(imports.wait_until_due(stop.get_token()), "One") << "it could not be disconnected";
}

TEST(Imports, ReconnectEndsTheWait) {
    Imports imports(RetryPauses{20ms, 20ms}), once(std::nullopt);
    std::stop_source stop;
    follow(imports, "cec");
    follow(once, "ce");
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
