#include "simulator/device_verbs.h"

#include "simulator/controller/system.h"
#include "simulator/record_text.h"
#include "simulator/verb_words.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zo_sim {

namespace {

constexpr std::uint64_t max_count = 10000000;

double real(Words& words, const char* what) {
    const std::string word = words.next(what);
    double value = 0;
    if (!read_number(word, value) || !std::isfinite(value)) throw VerbError(in_quotes(word) + " is no " + what);
    return value;
}

// [items=N] [bytes=N] [handles=N]
void parse_limits(DeviceVerb& verb, Words& words) {
    std::string name;
    std::string value;
    while (words.next_assignment(name, value)) {
        std::uint32_t number = 0;
        if (!read_unsigned(value, number)) throw VerbError(in_quotes(value) + " is no limit");
        if (name == "items")
            verb.items = number;
        else if (name == "bytes")
            verb.bytes = number;
        else if (name == "handles")
            verb.handles = number;
        else
            throw VerbError("unknown limit " + in_quotes(name));
    }
}

Place place_of(Controller& controller, const std::string& path) {
    Place place;
    if (controller.plant().resolve(path, place) != 0) throw VerbError("no symbol " + in_quotes(path));
    return place;
}

void peek(Controller& controller, const std::string& path, const std::function<void(const std::string&)>& print) {
    const Place place = place_of(controller, path);
    Bytes bytes(place.size());
    controller.plant().read(place, bytes);
    const nlohmann::json shown = {{"value", controller.plant().value_of(place)}, {"bytes", to_hex(bytes)}};
    print(shown.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void poke(Controller& controller, const DeviceVerb& verb) {
    const auto value = nlohmann::json::parse(verb.value, nullptr, false);
    if (value.is_discarded()) throw VerbError(in_quotes(verb.value) + " is not JSON");
    controller.plant().set_value(place_of(controller, verb.path), Node(value, "value"));
}

} // namespace

bool is_device_verb(VerbKind kind) {
    return kind >= VerbKind::peek && kind <= VerbKind::item;
}

std::vector<std::uint8_t> hex_word(Words& words) {
    const std::string word = words.next("bytes");
    auto bytes = from_hex(word);
    if (!bytes) throw VerbError("the bytes are not hexadecimal digits, two a byte");
    return std::move(*bytes);
}

DeviceVerb parse_device_verb(VerbKind kind, Words& words) {
    DeviceVerb verb;
    verb.port = number<std::uint32_t>(words, "port", 1, 0xFFFF);
    switch (kind) {
    case VerbKind::peek:
        verb.path = words.next("path");
        break;
    case VerbKind::poke:
        verb.path = words.next("path");
        if (words.empty()) throw VerbError("missing value");
        verb.value = words.rest();
        words = Words("");
        break;
    case VerbKind::step:
        verb.path = words.next("path");
        verb.delta = real(words, "step");
        verb.low = real(words, "lower end");
        verb.high = real(words, "upper end");
        if (verb.low > verb.high) throw VerbError("the lower end is above the upper end");
        break;
    case VerbKind::device_state:
        verb.number = number<std::uint32_t>(words, "state", 0, 0xFFFF);
        break;
    case VerbKind::limits:
        parse_limits(verb, words);
        break;
    case VerbKind::group:
        verb.number = unsigned_number(words, "group");
        verb.on = on_or_off(words.next("on or off"), "on", "off");
        break;
    case VerbKind::item:
        verb.path = words.next("path");
        verb.number = unsigned_number(words, "result code");
        if (!words.empty()) verb.count = number<std::uint64_t>(words, "count", 1, max_count);
        break;
    default: // online-change
        break;
    }
    return verb;
}

void execute_device_verb(DeviceSystem& devices, const Verb& verb,
                         const std::function<void(const std::string&)>& print) {
    const DeviceVerb& wanted = verb.device;
    Controller* const controller = devices.controller(wanted.port);
    if (controller == nullptr) throw VerbError("no controller at port " + std::to_string(wanted.port));
    try {
        switch (verb.kind) {
        case VerbKind::peek:
            return peek(*controller, wanted.path, print);
        case VerbKind::poke:
            return poke(*controller, wanted);
        case VerbKind::step:
            return controller->step(wanted.path, wanted.delta, wanted.low, wanted.high);
        case VerbKind::online_change:
            return controller->online_change();
        case VerbKind::device_state:
            return controller->set_state(static_cast<std::uint16_t>(wanted.number));
        case VerbKind::limits: {
            ControllerLimits& limits = controller->limits();
            limits = {wanted.items.value_or(limits.items), wanted.bytes.value_or(limits.bytes),
                      wanted.handles.value_or(limits.handles)};
            return;
        }
        case VerbKind::group:
            return controller->switch_group(wanted.number, wanted.on);
        default:
            return controller->answer_item(wanted.path, wanted.number, wanted.count);
        }
    } catch (const ScenarioError& error) {
        throw VerbError(error.what());
    }
}

} // namespace zo_sim
