#pragma once

#include "device/type/attributes.h"
#include "support/export.h"

#include <cstdint>
#include <string>
#include <utility>

namespace ZoHmiFdx {

/// The record of one symbol. A record that several threads share is replaced, never changed.
class ZO_EXPORT SymbolInfo {
public:
    /// Values of `handle_state`. Any other value means that no handle was requested.
    static constexpr std::uint8_t handle_valid = 2;
    static constexpr std::uint8_t handle_failed = 3;
    static constexpr std::uint8_t handle_failed_as_target = 4; ///< the path was requested as the target of a pointer

    std::uint32_t handle = 0;
    std::uint32_t index_group = 0;
    std::uint32_t index_offset = 0;
    std::uint32_t size = 0; ///< bytes
    std::int32_t handle_error = 0;
    Attributes attributes;
    std::uint8_t handle_state = 0;

    [[nodiscard]] bool is_valid_handle() const noexcept { return handle_state == handle_valid && handle != 0; }
    /// Returns a code of the device or of this library; 0 for a symbol with a handle.
    [[nodiscard]] std::int32_t get_handle_error() const noexcept;
    /// Returns false if the device answered that it does not know the symbol. `second_kind` refers to a request for the
    /// target of a pointer.
    [[nodiscard]] bool fetch_handle_worth_trying(bool second_kind) const noexcept;

    [[nodiscard]] const std::string& datatype_without_dialect() const noexcept { return datatype_without_dialect_; }
    void set_datatype_without_dialect(std::string name) { datatype_without_dialect_ = std::move(name); }

private:
    std::string datatype_without_dialect_;

public:
    std::string method_name;
    std::uint32_t data_type = 0; ///< the device's type code
    std::string comment;
    bool is_toplayer_field = false;

    /// Returns the part of `method_name` after the last "#", up to the first dereference operator.
    [[nodiscard]] std::string method_name_without_dereference_operators() const;
};

} // namespace ZoHmiFdx
