#pragma once

#include "tests/fakes/fake_logger.h"

#include <deque>

namespace fakes {

/// The proxy's library of this test program: defines the two functions that the product calls. Logged and planned
/// calls: "CreateInstance.Logger", "CreateInstance.ConnectionSettings", "SetPreloadTranslations", "ErrorMessage" (not
/// logged). The planned answer S_OK gives success with a null object. [any thread]
class FakeProxyLibrary {
public:
    static FakeProxyLibrary& instance();

    /// Loggers for the next creations, in order. Without one the library makes a nameless logger.
    std::deque<LoggerPtr> next_loggers;
    /// Prepares the next logger and returns it.
    LoggerPtr expect_logger(std::string name = {});

    std::shared_ptr<CallPlan> plan = std::make_shared<CallPlan>();
    /// The texts that the library knows; it fails for all other codes.
    std::map<HRESULT, std::string> error_texts;

    /// Drops the loggers, plans, texts and the log. Returns the number of fake objects that still have references: 0 in
    /// a test that lost none.
    int reset();

    /// For CreateInstance.
    LoggerPtr take_next_logger();

private:
    mutable std::mutex mutex_;
    std::vector<LoggerPtr> created_;
};

} // namespace fakes
