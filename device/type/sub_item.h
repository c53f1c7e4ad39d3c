#pragma once

#include "device/type/attributes.h"
#include "support/export.h"

#include <string>
#include <utility>

namespace ZoHmiFdx {

/// A member of a structure, union or function block. A plain value. [any thread]
class ZO_EXPORT SubItem {
public:
    SubItem(std::string name, std::string type_name, int offset, int size, std::string comment, Attributes attributes)
        : name_(std::move(name)), type_name_(std::move(type_name)), offset_(offset), size_(size),
          attributes_(std::move(attributes)), comment_(std::move(comment)) {}

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] const std::string& type_name() const noexcept { return type_name_; }
    /// The offset from the start of the whole, from the device: in bytes, for packed bits in bits.
    [[nodiscard]] int offset() const noexcept { return offset_; }
    /// In bytes, from the device.
    [[nodiscard]] int size() const noexcept { return size_; }
    [[nodiscard]] const Attributes& attributes() const noexcept { return attributes_; }
    [[nodiscard]] const std::string& comment() const noexcept { return comment_; }

private:
    std::string name_;
    std::string type_name_;
    int offset_;
    int size_;
    Attributes attributes_;
    std::string comment_;
};

} // namespace ZoHmiFdx
