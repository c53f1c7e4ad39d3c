#pragma once

#include "bench/plain_proxy.h"
#include "extension/host/context.h"
#include "extension/host/timestamp.h"
#include "extension/host/value.h"
#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/quiet_host.h"

#include <string>
#include <vector>

/// The extension with connected targets "T1", "T2", ... that store up to `limit` events each. No tick runs: the proxy
/// of one more target cannot be created, so `init` fails before the first tick.
class BenchExtension {
public:
    BenchExtension(int targets, double limit, std::vector<plain::LoggedEventPtr> history = {})
        : host(config_of(targets, limit)), extension(&host) {
        plain::prepare_loggers(targets, std::move(history));
        extension.init(ZoHmiSrv::Context());
        logger = plain::latest_logger();
    }
    ~BenchExtension() { extension.on_shutdown(ZoHmiSrv::Context()); }

    fakes::QuietHost host;
    ZoHmiEventLogger::ZoHmiEventLogger extension;
    plain::LoggerPtr logger; ///< of the last target

private:
    static ZoHmiSrv::Value config_of(int targets, double limit) {
        ZoHmiSrv::Value config;
        config.set_type(ZoHmiSrv::ValueType::Struct);
        config.insert("LIMIT_EVENT_COUNT", limit);
        config.insert("PRELOAD_TRANSLATIONS", false);
        config.insert("TIMEOUT", ZoHmiSrv::Timespan(5'000'000'000));
        ZoHmiSrv::Value& entries = config["TARGET_SYSTEMS"];
        for (int target = 1; target <= targets; ++target)
            entries.insert(("T" + std::to_string(target)).c_str(), entry(true));
        entries.insert("without a proxy", entry(false)); // its name sorts last
        return config;
    }
    static ZoHmiSrv::Value entry(bool enabled) {
        ZoHmiSrv::Value entry;
        entry.set_type(ZoHmiSrv::ValueType::Struct);
        entry.insert("ADDRESS", "5.1.2.3.1.1");
        entry.insert("ENABLED", enabled);
        return entry;
    }
};
