#pragma once

#include "tests/fakes/fake_logger.h"

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace fakes {

// The proxy's library of this test program: it defines the two functions that the product calls. Logged and planned
// calls: "CreateInstance.Logger", "CreateInstance.ConnectionSettings", "SetPreloadTranslations", "ErrorMessage" (not
// logged). The plan's answer S_OK gives success with a null object.
class FakeProxyLibrary {
public:
    static FakeProxyLibrary& instance();

    // Loggers for the next creations, in order; without one, a new nameless logger is made.
    std::deque<LoggerPtr> next_loggers;
    // Prepares and hands back the next logger.
    LoggerPtr expect_logger(std::string name = {});

    std::shared_ptr<CallPlan> plan = std::make_shared<CallPlan>();
    // The texts that the library knows; it fails for all other codes.
    std::map<HRESULT, std::string> error_texts;

    // Back to the start: drops the loggers, plans, texts and the log. Returns the number of fake objects that are still
    // held by others: 0 in a test that lost no reference.
    int reset();

    // By the two functions.
    LoggerPtr take_next_logger();

private:
    mutable std::mutex mutex_;
    std::vector<LoggerPtr> created_;
};

} // namespace fakes
