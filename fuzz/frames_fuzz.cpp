// The stream of a target, as the proxy reads it: bytes become frames, frames become callbacks and lists, and their
// events go into the product. The input is the size of the pieces in one byte, then the stream.

#include "binding/connection_points.h"
#include "binding/variant.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "fuzz/require.h"
#include "platform/link/event_record.h"
#include "platform/link/frame.h"
#include "platform/logger_proxy/logger_link.h"
#include "platform/logger_proxy/notification_reader.h"
#include "targets/conversion.h"
#include "tests/fakes/com_object.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

using nlohmann::json;
using namespace ZoEventLoggerFdxProxyLib;

namespace {

/// The product allocates a block of the logger's size. Gigabytes are allowed, and too slow here.
bool is_small(const zo_link::EventRecord& record) {
    constexpr std::uint64_t small = 1 << 20;
    const std::uint64_t total = std::uint64_t{record.args[2]} + record.args[4];
    return total <= small || total > std::uint64_t{0x7fffffff};
}

const std::string domain = "dom", target = "T";

struct Read {
    std::vector<std::pair<json, std::size_t>> frames;
    zo_link::FrameError error = zo_link::FrameError::none;
};

Read read(std::span<const std::uint8_t> stream, std::size_t piece) {
    Read result;
    zo_link::FrameReader reader;
    while (!stream.empty()) {
        const auto bytes = stream.first(std::min(piece, stream.size()));
        stream = stream.subspan(bytes.size());
        reader.append(bytes);
        json map;
        std::size_t size = 0;
        while (reader.next(map, size))
            result.frames.emplace_back(map, size);
    }
    result.error = reader.error();
    return result;
}

/// A logger without a connection: the test drives its queue and alarms.
class Proxy {
public:
    Proxy() {
        epoch_ = queue_->begin(alarms_);
        queue_->advise(&sink_);
    }
    ~Proxy() { queue_->stop(); }
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    void notify(const json& map, std::size_t size) {
        zo_logger_proxy::NotificationReader reader(queue_, epoch_);
        reader.on_open(1);
        const std::uint64_t before = queue_->mark();
        const std::uint32_t code = reader.on_notification(map, size);
        require(code == zo_link::code::ok || code == zo_link::code::bad_answer);
        require((queue_->mark() != before) == (code == zo_link::code::ok));
        require(queue_->wait_done(epoch_, queue_->mark()));
    }

private:
    /// Converts events as the product does, and drops them.
    class Sink final : public IDispatch {
    public:
        HRESULT QueryInterface(const GUID&, void** out) override {
            *out = this;
            return S_OK;
        }
        std::uint32_t AddRef() override { return 1; }
        std::uint32_t Release() override { return 1; }
        HRESULT Invoke(std::int32_t id, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS* arguments, VARIANT*,
                       EXCEPINFO*, std::uint32_t*) override {
            const VARIANT& object = arguments->rgvarg[arguments->cArgs - 1];
            if (object.vt != VT_DISPATCH) return S_OK;
            if (id == _IZoEventLoggerEvents::OnMessageSent) {
                auto* message = static_cast<IZoMessageJson*>(object.pdispVal);
                if (!is_small(*static_cast<zo_logger_proxy::Message*>(message)->snapshot())) return S_OK;
                ZoHmiSrv::Message converted;
                ZoHmiEventLogger::convert_message(converted, message, domain, target);
            } else {
                auto* alarm = static_cast<IZoAlarmJson*>(object.pdispVal);
                if (!is_small(*static_cast<zo_logger_proxy::Alarm*>(alarm)->snapshot())) return S_OK;
                ZoHmiSrv::Event converted;
                ZoHmiEventLogger::convert_alarm(converted, alarm, domain, target, 1, false);
                require(converted.payload().type() == ZoHmiSrv::ValueType::Alarm);
            }
            return S_OK;
        }
    };

    Sink sink_;
    const std::shared_ptr<zo_logger_proxy::CallbackQueue> queue_ = std::make_shared<zo_logger_proxy::CallbackQueue>();
    const std::shared_ptr<zo_logger_proxy::AlarmTable> alarms_ =
        std::make_shared<zo_logger_proxy::AlarmTable>(std::weak_ptr<zo_logger_proxy::LoggerLink>());
    std::uint64_t epoch_ = 0;
};

/// Converts an item of a list. A record reads the same after another round on the link.
void take_item(const json& item) {
    for (const bool alarm : {false, true}) {
        zo_link::EventRecord record;
        if (!zo_link::event_from_json(item, alarm, record)) continue;
        zo_link::EventRecord again;
        require(zo_link::event_from_json(zo_link::event_to_json(record), alarm, again));
        require(again == record);
        if (alarm || !is_small(record)) continue;
        ZoAtlCom::CComPtr<IZoLoggedEvent> logged;
        logged.attach(new zo_logger_proxy::LoggedEvent(std::make_shared<zo_link::EventRecord>(record)));
        ZoHmiSrv::Event event;
        ZoHmiEventLogger::convert_logged_event(event, logged.get(), domain, target, 1);
        const bool known = record.type == EventTypeAlarm || record.type == EventTypeMessage;
        require((event.payload().type() != ZoHmiSrv::ValueType::Null) == known);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Proxy proxy;
    if (size == 0) return 0;
    const std::span stream(data + 1, size - 1);
    const Read whole = read(stream, std::max<std::size_t>(stream.size(), 1));
    const Read pieces = read(stream, std::max<std::size_t>(*data, 1));
    require(whole.error == pieces.error && whole.frames.size() == pieces.frames.size());
    for (std::size_t i = 0; i < whole.frames.size(); ++i) {
        const auto& [map, length] = whole.frames[i];
        const auto encoded = zo_link::encode_frame(map);
        require(encoded == zo_link::encode_frame(pieces.frames[i].first)); // a number that is not one equals nothing
        const Read again = read(encoded, encoded.size());
        require(again.frames.size() == 1 && zo_link::encode_frame(again.frames[0].first) == encoded);
        if (map.contains("note")) {
            proxy.notify(map, length);
        } else if (const auto items = map.find("items"); items != map.end() && items->is_array()) {
            for (const json& item : *items)
                take_item(item);
        }
    }
    return 0;
}
