#pragma once

#include "simulator/controller/type_table.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zo_sim {

/// The place of a value in the memory.
struct Place {
    const Type* type = nullptr;
    std::uint32_t offset = 0;
    int bit = -1;               ///< the bit in the byte at `offset`; -1 for none
    const Item* item = nullptr; ///< the symbol or member at the end of the path; null for an element or a target

    std::uint32_t size() const { return bit < 0 ? type->size : 1; }
};

/// The types, symbols and memory of a controller at one time. An online change creates a new plant. The memory is one
/// zeroed image. Symbols lie in it in declared order, aligned for their type.
class Plant {
public:
    /// A device code, 0 for success.
    using Code = std::uint32_t;

    /// `description` is the controller of a scenario. Throws ScenarioError.
    explicit Plant(const Node& description);
    Plant(const Plant&) = delete;
    Plant& operator=(const Plant&) = delete;

    const std::vector<const Type*>& types() const { return types_.uploaded(); }
    const std::vector<Item>& symbols() const { return symbols_; }
    std::uint32_t code_page() const { return code_page_; }
    std::span<std::uint8_t> memory() { return memory_; }

    /// Finds a native path (UTF-8), without regard to case. "^" follows a pointer. A reference is followed without an
    /// operator. Returns 0x710 if the path is not found, 0x704 if an address is invalid.
    Code resolve(std::string_view path, Place& place) const;

    /// @name A place as bytes
    /// A bit takes one byte, 0 or 1. `bytes` has the size of the place.
    /// @{
    void read(const Place& place, std::span<std::uint8_t> bytes) const;
    void write(const Place& place, std::span<const std::uint8_t> bytes);
    /// @}

    /// @name A place as JSON
    /// Throws ScenarioError if the type does not accept the value.
    /// @{
    nlohmann::json value_of(const Place& place) const;
    void set_value(const Place& place, const Node& value);
    /// @}

    /// Copies the bytes of all symbols with the same name and type from `before`.
    void take_over(const Plant& before);
    /// Returns the text in the code page of the controller.
    std::string encoded(std::string_view utf8) const;
    std::string decoded(std::string_view native) const;

private:
    void place_symbols(const Node& symbols);
    void set_defaults(const Place& place, const Node& node);
    const Item* find_symbol(std::string_view path, std::size_t& end) const;
    Code follow(const Type& type, Place& place) const;
    Code take_member(std::string_view name, Place& place) const;
    Code take_element(std::string_view& path, Place& place) const;
    const Type& type_of_target(const Type& type) const;
    /// Writes a text for the layout of a type. Bytes can be copied between two types with the same text.
    static void describe(const Type& type, std::string& text);

    TypeTable types_;
    std::vector<Item> symbols_;
    std::map<std::string, const Item*, std::less<>> by_name_; // in lower case
    std::vector<std::uint8_t> memory_;
    std::uint32_t code_page_ = 1252;
};

} // namespace zo_sim
