#pragma once

#include "simulator/scenario.h"
#include "support/guid.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace zo_sim {

using nlohmann::json;

/// A value of the scenario, with its place in the file for error texts.
class Node {
public:
    Node(const json& value, std::string place) : value_(&value), place_(std::move(place)) {}

    [[noreturn]] void fail(const std::string& what) const {
        throw ScenarioError((place_.empty() ? "the scenario" : place_) + ": " + what);
    }

    /// Requires an object with no members except these.
    const Node& object(std::initializer_list<const char*> names) const {
        if (!value_->is_object()) fail("must be an object");
        for (const auto& [name, value] : value_->items()) {
            bool known = false;
            for (const char* allowed : names)
                known = known || name == allowed;
            if (!known) fail("unknown key '" + name + "'");
        }
        return *this;
    }
    std::optional<Node> find(const char* name) const {
        const auto member = value_->find(name);
        if (member == value_->end()) return std::nullopt;
        return Node(*member, inside(name));
    }
    Node at(const char* name) const {
        std::optional<Node> member = find(name);
        if (!member) fail("'" + std::string(name) + "' is missing");
        return *member;
    }

    template <typename Visit>
    void each_member(Visit visit) const {
        if (!value_->is_object()) fail("must be an object");
        for (const auto& [name, value] : value_->items())
            visit(name, Node(value, inside(name)));
    }
    template <typename Visit>
    void each_item(Visit visit) const {
        if (!value_->is_array()) fail("must be an array");
        for (std::size_t i = 0; i < value_->size(); ++i)
            visit(Node((*value_)[i], place_ + "[" + std::to_string(i) + "]"));
    }

    bool is_text() const { return value_->is_string(); }
    const std::string& text() const {
        if (!value_->is_string()) fail("must be a text");
        return value_->get_ref<const std::string&>();
    }
    bool flag() const {
        if (!value_->is_boolean()) fail("must be true or false");
        return value_->get<bool>();
    }
    double real() const {
        if (!value_->is_number()) fail("must be a number");
        return value_->get<double>();
    }
    std::int64_t integer(std::int64_t lowest, std::int64_t highest) const {
        const bool integer = value_->is_number_integer();
        const bool huge = value_->is_number_unsigned() && value_->get<std::uint64_t>() >> 63 != 0;
        if (!integer || huge || value_->get<std::int64_t>() < lowest || value_->get<std::int64_t>() > highest)
            fail("must be an integer from " + std::to_string(lowest) + " to " + std::to_string(highest));
        return value_->get<std::int64_t>();
    }
    std::uint32_t u32() const {
        return static_cast<std::uint32_t>(integer(0, std::numeric_limits<std::uint32_t>::max()));
    }
    /// Reads a number, or a text with a number; the prefix "0x" marks hexadecimal.
    std::uint32_t u32_or_text() const {
        if (!is_text()) return u32();
        std::string_view digits = text();
        const bool hexadecimal = digits.starts_with("0x");
        if (hexadecimal) digits.remove_prefix(2);
        std::uint32_t number = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
        if (read.ec != std::errc() || read.ptr != digits.data() + digits.size()) fail("must be a number of 32 bits");
        return number;
    }
    GUID guid() const {
        const auto guid = ZoHmiSrv::Algorithm::guid_from_string(text(), false);
        if (!guid) fail("must be a GUID without braces");
        return *guid;
    }
    /// Returns a text unchanged, any other value as JSON.
    std::string text_or_json() const { return value_->is_string() ? text() : value_->dump(); }
    const json& value() const { return *value_; }
    const std::string& place() const { return place_; }

private:
    std::string inside(const std::string& name) const { return place_.empty() ? name : place_ + "." + name; }

    const json* value_;
    std::string place_;
};

} // namespace zo_sim
