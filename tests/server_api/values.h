#pragma once

#include "extension/host/value.h"

#include <string>

namespace values {

using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

/// A Value as text with all types shown, so that two texts are the same only when type and content are.
inline std::string show(const Value& value) {
    switch (value.type()) {
    case ValueType::Vector: {
        std::string text = "[";
        for (auto it = value.begin_vector(); it != value.end_vector(); ++it)
            text += (it == value.begin_vector() ? "" : ", ") + show(*it);
        return text + "]";
    }
    case ValueType::Map:
    case ValueType::Struct: {
        std::string text = value.type() == ValueType::Map ? "{" : "struct {";
        for (auto it = value.begin(); it != value.end(); ++it)
            text += (it == value.begin() ? "" : ", ") + std::string(it.name()) + ": " + show(*it);
        return text + "}";
    }
    case ValueType::String:
        return "'" + std::string(value.get_string()) + "'";
    default: {
        Value text = value;
        text.convert(ValueType::String);
        return std::string(ZoHmiSrv::value_type_to_string(value.type())) + "(" + text.get_string() + ")";
    }
    }
}

} // namespace values
