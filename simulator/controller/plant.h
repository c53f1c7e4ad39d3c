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

/// A value's place in the memory.
struct Place {
    const Type* type = nullptr;
    std::uint32_t offset = 0;
    int bit = -1;               ///< of a bit in the byte at `offset`
    const Item* item = nullptr; ///< the symbol or member that the path ends at; null for an element or a target

    std::uint32_t size() const { return bit < 0 ? type->size : 1; }
};

/// The types, symbols and memory of a controller at one time. An online change makes another one. The memory is one
/// zeroed image: symbols lie in it in declared order, aligned as their type.
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

    /// Finds a native path (UTF-8), without regard to case. "^" follows a pointer; a reference is followed by itself.
    /// Returns 0x710 for a path that is not found, 0x704 for an address that leads nowhere.
    Code resolve(std::string_view path, Place& place) const;

    /// @name A place as bytes
    /// A bit takes one byte, 0 or 1. `bytes` has the size of the place.
    /// @{
    void read(const Place& place, std::span<std::uint8_t> bytes) const;
    void write(const Place& place, std::span<const std::uint8_t> bytes);
    /// @}

    /// @name A place as JSON
    /// Throws ScenarioError for a value that the type does not take.
    /// @{
    nlohmann::json value_of(const Place& place) const;
    void set_value(const Place& place, const Node& value);
    /// @}

    /// Copies the bytes of all symbols that have the same name and type as in `before`.
    void take_over(const Plant& before);
    /// The text in the code page of the controller.
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
    /// Two types that bytes can be copied between, however they are named inside.
    static void describe(const Type& type, std::string& text);

    TypeTable types_;
    std::vector<Item> symbols_;
    std::map<std::string, const Item*, std::less<>> by_name_; // in lower case
    std::vector<std::uint8_t> memory_;
    std::uint32_t code_page_ = 1252;
};

} // namespace zo_sim
