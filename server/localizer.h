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

/// What the extension makes of an event in one language. Where it gave nothing, the event's own identifiers stand in.
/// The bytes are the target's, not made printable.
struct EventTexts {
    ZoHmiSrv::ErrorValue result = ZoHmiSrv::HMI_SUCCESS;
    std::string text;        ///< else the event's name
    std::string class_name;  ///< else the class's GUID
    std::string source_name; ///< else the source's own name
};

/// Asks for an event's texts; on success what the extension adds is in the event's parameters. Waits for the target's
/// logger, so never to be called inside a host call. [any thread]
[[nodiscard]] EventTexts localize(Host& host, ZoHmiSrv::Event& event, const std::string& language);

/// The texts of the rows on a screen that is drawn again and again: each is asked for once while its row is shown, a
/// failed one again after a while. One drawing does not begin to ask after a fraction of a second; the rest follows
/// with the next. [one thread]
class ShownTexts {
public:
    /// The host must outlive this object.
    ShownTexts(Host& host, std::string language) : host_(host), language_(std::move(language)) {}

    /// One for each row. Forgets those of other rows.
    [[nodiscard]] std::vector<EventTexts> of(const std::vector<EventRow>& rows);

private:
    using Clock = std::chrono::steady_clock;
    struct Known {
        EventTexts texts;
        ZoHmiSrv::Timestamp raised;  ///< an alarm raised again has new arguments
        Clock::time_point ask_again; ///< of texts that failed
    };

    Host& host_;
    const std::string language_;
    std::map<std::uint64_t, Known> known_; // by the row's number
};

} // namespace server
