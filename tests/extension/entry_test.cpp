#include "extension/ext_interface.h"

#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_host.h"
#include "tests/support/captured_syslog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

namespace {

// Memory that runs out: the next allocations of this thread succeed, the one after them fails.
thread_local long allocations_left = -1; // negative: no end

void* allocate(std::size_t size) {
    if (allocations_left == 0) {
        allocations_left = -1;
        throw std::bad_alloc();
    }
    if (allocations_left > 0) --allocations_left;
    void* memory = std::malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

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
    long failures = 0;
    for (bool failed = true; failed; ++failures) {
        ASSERT_LT(failures, 1000);
        IZoHmiSrvExt* out = untouched;
        double version = -1.0;
        allocations_left = failures;
        EXPECT_EQ(ext_interface(&host, &out, &version), 0);
        failed = allocations_left < 0;
        allocations_left = -1;
        if (!failed) {
            delete out;
            break;
        }
        EXPECT_EQ(out, untouched) << failures;
        EXPECT_EQ(version, -1.0) << failures;
    }
    EXPECT_GT(failures, 5);
    take_syslog_lines();
}

} // namespace
