#pragma once

#include "support/export.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

/// The result of `flags_from_method_name`.
enum class MethodFlags : std::uint8_t {
    None = 0,
    OfProperty = 1, ///< together with one of the others
    Getter = 2,
    Setter = 4,
};

[[nodiscard]] constexpr MethodFlags operator|(MethodFlags left, MethodFlags right) noexcept {
    return MethodFlags(std::uint8_t(left) | std::uint8_t(right));
}
[[nodiscard]] constexpr MethodFlags operator&(MethodFlags left, MethodFlags right) noexcept {
    return MethodFlags(std::uint8_t(left) & std::uint8_t(right));
}

/// A parameter of a method. A plain value. [any thread]
struct ZO_EXPORT MethodParameterItem {
    static constexpr unsigned in = 1;
    static constexpr unsigned out = 2;

    std::string name;
    std::string type_name;
    std::string comment;
    unsigned flags = 0; ///< an input unless `out` is set, with or without `in`
    int size = 0;       ///< in bytes, from the device

    [[nodiscard]] bool is_out_or_inout() const noexcept { return (flags & out) != 0; }
    [[nodiscard]] bool is_inout() const noexcept { return (flags & (in | out)) == (in | out); }
};

/// A method that can be called on the target. A plain value. [any thread]
class ZO_EXPORT MethodItem {
public:
    MethodItem() = default;
    MethodItem(std::string name, std::string return_type_name, std::string comment, MethodFlags flags)
        : name_(std::move(name)), return_type_name_(std::move(return_type_name)), comment_(std::move(comment)),
          flags_(flags) {}

    void swap(MethodItem& other) noexcept;

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    /// Empty for a method without a result.
    [[nodiscard]] const std::string& return_type_name() const noexcept { return return_type_name_; }
    [[nodiscard]] const std::string& comment() const noexcept { return comment_; }
    [[nodiscard]] MethodFlags flags() const noexcept { return flags_; }

    [[nodiscard]] const std::vector<MethodParameterItem>& parameters() const noexcept { return parameters_; }
    void add_parameter(MethodParameterItem parameter) { parameters_.push_back(std::move(parameter)); }
    /// True if a parameter passes data out.
    [[nodiscard]] bool has_out_or_inout_parameters() const noexcept;

    /// Identifies the method in generated names, independent of the order of its parameters. Inputs come first, then
    /// outputs, then parameters of both directions; each group is sorted:
    /// "METHOD-RETURNING-INT-PARAMETERS-a-INT--b-OUT-BOOL--c-IN_OUT-REAL". "METHOD-VOID" without parameters and return
    /// type.
    [[nodiscard]] std::string signature() const;

private:
    std::string name_;
    std::string return_type_name_;
    std::string comment_;
    MethodFlags flags_ = MethodFlags::None;
    std::vector<MethodParameterItem> parameters_;
};

} // namespace ZoHmiFdx
