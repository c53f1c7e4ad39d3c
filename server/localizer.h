#pragma once

#include "extension/host/error_value.h"
#include "extension/host/event.h"
#include "server/event_rows.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace server {

class Host;

/// The texts of an event in one language, or its identifiers where the extension has no text. They come from the target
/// and are not made printable.
struct EventTexts {
    ZoHmiSrv::ErrorValue result = ZoHmiSrv::HMI_SUCCESS;
    std::string text;        ///< else the event's name
    std::string class_name;  ///< else the class's GUID
    std::string source_name; ///< else the name in the event
};

/// Gets an event's texts; on success the extension has extended the event's parameters. Blocks until the target's
/// logger answers, so it must not run inside a host call. [any thread]
[[nodiscard]] EventTexts localize(Host& host, ZoHmiSrv::Event& event, const std::string& language);

/// Caches the texts of the rows on a screen. Each text is requested once while its row is shown; a failed request is
/// retried later. One drawing requests texts for a fraction of a second at most; the next drawing continues. [one
/// thread]
class ShownTexts {
public:
    /// The host must outlive this object.
    ShownTexts(Host& host, std::string language) : host_(host), language_(std::move(language)) {}

    /// Returns the texts of each row and evicts those of other rows.
    [[nodiscard]] std::vector<EventTexts> of(const std::vector<EventRow>& rows);

private:
    using Clock = std::chrono::steady_clock;
    struct Known {
        EventTexts texts;
        ZoHmiSrv::Timestamp raised; ///< an alarm raised again has other arguments
        Clock::time_point retry_at; ///< of a failed request
    };

    Host& host_;
    const std::string language_;
    std::map<std::uint64_t, Known> known_; // by the row's number
};

} // namespace server
