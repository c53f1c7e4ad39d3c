#pragma once

#include "device/net/net_id.h"
#include "support/export.h"

#include <cstdint>
#include <string>

namespace ZoHmiFdx {

/// One configured runtime of a target. A plain value.
class ZO_EXPORT FdxRuntime {
public:
    FdxRuntime() = default;
    /// `text` is only stored and compared.
    FdxRuntime(std::string name, NrxAddr address, std::string text);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] const NrxAddr& address() const noexcept { return address_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    /// True after the record was filled in.
    [[nodiscard]] bool initialized() const noexcept { return has(initialized_bit); }
    [[nodiscard]] bool enabled() const noexcept { return has(enabled_bit); }
    /// The runtime serves only symbols of a whitelist.
    [[nodiscard]] bool uses_whitelisting() const noexcept { return has(whitelisting_bit); }
    /// A write to a part of a value reads the whole value first. On by default.
    [[nodiscard]] bool read_before_write_enabled() const noexcept { return !has(no_read_before_write_bit); }
    [[nodiscard]] bool is_read_only() const noexcept { return has(read_only_bit); }

    void set_initialized(bool on) noexcept { set(initialized_bit, on); }
    void set_enabled(bool on) noexcept { set(enabled_bit, on); }
    void set_uses_whitelisting(bool on) noexcept { set(whitelisting_bit, on); }
    void set_read_before_write_enabled(bool on) noexcept { set(no_read_before_write_bit, !on); }
    void set_is_read_only(bool on) noexcept { set(read_only_bit, on); }

    /// Compares name, text, port and flags. Ignores the flag `initialized` and the net ID.
    [[nodiscard]] friend bool operator==(const FdxRuntime& left, const FdxRuntime& right) noexcept {
        return left.name_ == right.name_ && left.text_ == right.text_ && left.address_.port == right.address_.port &&
               ((left.flags_ ^ right.flags_) & ~initialized_bit) == 0;
    }

private:
    static constexpr std::uint32_t initialized_bit = 1u << 0;
    static constexpr std::uint32_t enabled_bit = 1u << 2;
    static constexpr std::uint32_t whitelisting_bit = 1u << 3;
    static constexpr std::uint32_t no_read_before_write_bit = 1u << 4;
    static constexpr std::uint32_t read_only_bit = 1u << 5;

    [[nodiscard]] bool has(std::uint32_t bit) const noexcept { return (flags_ & bit) != 0; }
    void set(std::uint32_t bit, bool on) noexcept { flags_ = on ? flags_ | bit : flags_ & ~bit; }

    std::string name_;
    NrxAddr address_;
    std::string text_;
    std::uint32_t flags_ = 0;
};

} // namespace ZoHmiFdx
