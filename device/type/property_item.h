#pragma once

#include "device/type/sub_item.h"
#include "support/export.h"

#include <cstdint>
#include <string>

namespace ZoHmiFdx {

/// A property: a member with a getter, a setter, both or neither. A plain value. [any thread]
class ZO_EXPORT PropertyItem : public SubItem {
public:
    PropertyItem(const std::string& name, const std::string& type_name, int offset, int size,
                 const std::string& comment, const Attributes& attributes)
        : SubItem(name, type_name, offset, size, comment, attributes) {}

    /// A method whose name is "__get" and the property's name.
    [[nodiscard]] bool prefixed_getter_method_exists() const noexcept { return (flags_ & getter) != 0; }
    void set_prefixed_getter_method_exists(bool exists) noexcept { set(getter, exists); }
    /// A method whose name is "__set" and the property's name.
    [[nodiscard]] bool prefixed_setter_method_exists() const noexcept { return (flags_ & setter) != 0; }
    void set_prefixed_setter_method_exists(bool exists) noexcept { set(setter, exists); }

    /// Identifies the property in generated names: "PROPERTY-GET-SET-INT". "PROPERTY-VOID" without a type, and without
    /// getter and setter.
    [[nodiscard]] std::string signature() const;

private:
    static constexpr std::uint32_t getter = 1;
    static constexpr std::uint32_t setter = 2;

    void set(std::uint32_t flag, bool exists) noexcept { flags_ = exists ? flags_ | flag : flags_ & ~flag; }

    std::uint32_t flags_ = 0;
};

} // namespace ZoHmiFdx
