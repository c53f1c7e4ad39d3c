#include "extension/ext_interface.h"

#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_host.h"
#include "tests/server_api/allocations.h"
#include "tests/support/captured_syslog.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace {

using namespace ZoHmiSrv;

IZoHmiSrvExt* const untouched = reinterpret_cast<IZoHmiSrvExt*>(0x1000);

TEST(ExtInterface, DoesNothingWithoutBothOutArguments) {
    fakes::FakeHost host;
    IZoHmiSrvExt* out = untouched;
    double version = -1.0;
    EXPECT_EQ(ext_interface(&host, nullptr, &version), 0);
    EXPECT_EQ(ext_interface(&host, &out, nullptr), 0);
    EXPECT_EQ(ext_interface(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(version, -1.0);
    EXPECT_TRUE(take_syslog_lines().empty()); // no extension came and went
}

TEST(ExtInterface, HandsOutTheExtensionAndItsVersionEvenWithoutAHost) {
    fakes::FakeHost host;
    fakes::call_log().clear();
    for (IZoHmiSrvExtHost* given : {static_cast<IZoHmiSrvExtHost*>(&host), static_cast<IZoHmiSrvExtHost*>(nullptr)}) {
        IZoHmiSrvExt* out = nullptr;
        double version = -1.0;
        EXPECT_EQ(ext_interface(given, &out, &version), 0);
        const std::unique_ptr<IZoHmiSrvExt> extension(out); // the server deletes it through this pointer
        ASSERT_NE(dynamic_cast<ZoHmiEventLogger::ZoHmiEventLogger*>(out), nullptr);
        EXPECT_EQ(version, 22.0);
    }
    EXPECT_TRUE(fakes::call_log().texts().empty());
    EXPECT_EQ(take_syslog_lines().size(), 2u); // neither was shut down
}

TEST(ExtInterface, StoresNothingWhenTheExtensionCannotBeMade) {
    fakes::FakeHost host;
    std::size_t failures = 0;
    for (bool failed = true; failed; ++failures) {
        ASSERT_LT(failures, 1000u);
        IZoHmiSrvExt* out = untouched;
        double version = -1.0;
        allocations::fail_after(failures);
        EXPECT_EQ(ext_interface(&host, &out, &version), 0);
        failed = allocations::stop_failing();
        if (!failed) {
            delete out;
            break;
        }
        EXPECT_EQ(out, untouched) << failures;
        EXPECT_EQ(version, -1.0) << failures;
    }
    EXPECT_GT(failures, 5u);
    take_syslog_lines();
}

} // namespace
