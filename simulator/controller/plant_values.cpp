// Converts a place of the memory to JSON and back.

#include "simulator/controller/plant.h"

#include "support/utf8.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace zo_sim {

namespace {

using nlohmann::json;

constexpr std::uint64_t first_address = 0x10000000;
constexpr std::uint32_t code_real = 0x04;
constexpr std::uint32_t code_lreal = 0x05;
constexpr std::uint32_t code_bit = 0x21;

bool is_signed(const Type& type) {
    return type.code == 0x02 || type.code == 0x03 || type.code == 0x10 || type.code == 0x14 ||
           type.name.starts_with("INT");
}

std::uint64_t bits_of(const Plant& plant, const Place& place) {
    std::uint64_t bits = 0;
    plant.read(place, {reinterpret_cast<std::uint8_t*>(&bits), std::min<std::size_t>(place.size(), sizeof bits)});
    return bits;
}

std::int64_t sign_extended(std::uint64_t bits, std::uint32_t size) {
    const unsigned shift = 64 - 8 * size;
    return static_cast<std::int64_t>(bits << shift) >> shift;
}

void put_bits(Plant& plant, const Place& place, std::uint64_t bits) {
    plant.write(place,
                {reinterpret_cast<const std::uint8_t*>(&bits), std::min<std::size_t>(place.size(), sizeof bits)});
}

bool is_utf8(const Place& place) {
    return place.item && std::ranges::any_of(place.item->attributes, [](const auto& attribute) {
               return attribute.first == "ZoEncoding" && attribute.second == "UTF-8";
           });
}

const std::pair<std::string, std::int64_t>* find_enumerator(const Type& type, const std::string& name) {
    for (const Type* at = &type; at; at = at->kind == TypeKind::alias ? at->base : nullptr) {
        const auto found = std::ranges::find(at->enumerators, name, &std::pair<std::string, std::int64_t>::first);
        if (found != at->enumerators.end()) return &*found;
    }
    return nullptr;
}

std::uint64_t integer_bits(const Type& type, const Type& number, const Node& node) {
    json value = node.value();
    if (value.is_string()) {
        const auto* named = find_enumerator(type, node.text());
        value = named ? json(named->second) : json(node.u32_or_text());
    }
    if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
    if (!value.is_number_integer()) node.fail("must be an integer");
    const bool huge = value.is_number_unsigned();
    const std::uint64_t bits =
        huge ? value.get<std::uint64_t>() : static_cast<std::uint64_t>(value.get<std::int64_t>());
    const unsigned width = 8 * number.size;
    const bool negative = !huge && value.get<std::int64_t>() < 0;
    bool fits = !negative || is_signed(number);
    if (width < 64) {
        const std::int64_t highest = (std::int64_t{1} << (is_signed(number) ? width - 1 : width)) - 1;
        fits = fits &&
               (negative ? value.get<std::int64_t>() >= -highest - 1 : bits <= static_cast<std::uint64_t>(highest));
    } else if (is_signed(number) && huge) {
        fits = bits >> 63 == 0;
    }
    if (!fits) node.fail("does not fit " + number.name);
    return bits;
}

} // namespace

json Plant::value_of(const Place& place) const {
    const Type& type = place.type->plain();
    switch (type.kind) {
    case TypeKind::bit:
        return bits_of(*this, place) != 0;
    case TypeKind::number: {
        const std::uint64_t bits = bits_of(*this, place);
        if (type.code == code_bit) return bits != 0;
        if (type.code == code_real) return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        if (type.code == code_lreal) return std::bit_cast<double>(bits);
        if (is_signed(type)) return sign_extended(bits, type.size);
        return bits;
    }
    case TypeKind::pointer:
    case TypeKind::reference:
        return bits_of(*this, place);
    case TypeKind::text: {
        std::string text(type.size, '\0');
        read(place, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
        text.resize(std::min(text.find('\0'), text.size()));
        return is_utf8(place) ? text : decoded(text);
    }
    case TypeKind::wide_text: {
        std::u16string text(type.size / 2, u'\0');
        read(place, {reinterpret_cast<std::uint8_t*>(text.data()), text.size() * 2});
        text.resize(std::min(text.find(u'\0'), text.size()));
        try {
            return ZoHmiSrv::UTF8::from_u16string(text);
        } catch (const std::range_error&) {
            return nullptr; // clients may write any bytes
        }
    }
    case TypeKind::structure: {
        json object = json::object();
        for (const Item& member : type.members)
            object[member.name] = value_of({member.type, place.offset + member.offset, member.bit, &member});
        return object;
    }
    case TypeKind::array:
    case TypeKind::bit_array: {
        json list = json::array();
        const std::uint64_t count = type.count();
        for (std::uint64_t i = 0; i < count; ++i) {
            const bool bits = type.kind == TypeKind::bit_array;
            const std::uint64_t step = bits ? i / 8 : i * type.base->size;
            list.push_back(value_of({type.base, place.offset + static_cast<std::uint32_t>(step),
                                     bits ? static_cast<int>(i % 8) : -1, nullptr}));
        }
        return list;
    }
    case TypeKind::alias:
    case TypeKind::enumeration:
        break; // not a plain type
    }
    return nullptr;
}

void Plant::set_value(const Place& place, const Node& node) {
    const Type& type = place.type->plain();
    const json& value = node.value();
    if (value.is_string() && node.text().starts_with("hex:") && place.bit < 0) {
        const Bytes bytes = bytes_of_hex(std::string_view(node.text()).substr(4), node);
        if (bytes.size() > place.size()) node.fail("is longer than the type");
        std::copy(bytes.begin(), bytes.end(), memory_.begin() + place.offset);
        return;
    }
    switch (type.kind) {
    case TypeKind::bit:
        return put_bits(*this, place, node.flag() ? 1 : 0);
    case TypeKind::number:
        if (type.code == code_real)
            return put_bits(*this, place, std::bit_cast<std::uint32_t>(static_cast<float>(node.real())));
        if (type.code == code_lreal) return put_bits(*this, place, std::bit_cast<std::uint64_t>(node.real()));
        return put_bits(*this, place, integer_bits(*place.type, type, node));
    case TypeKind::pointer:
    case TypeKind::reference: {
        if (value.is_null() || value == 0) return put_bits(*this, place, 0);
        Place target;
        if (!node.text().starts_with('&') || resolve(std::string_view(node.text()).substr(1), target) != 0 ||
            target.bit >= 0)
            node.fail("must be \"&PATH\" of a symbol");
        return put_bits(*this, place, first_address + target.offset);
    }
    case TypeKind::text: {
        std::string text = is_utf8(place) ? node.text() : encoded(node.text());
        if (text.size() >= type.size) node.fail("is longer than " + type.name);
        text.resize(type.size);
        return write(place, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    case TypeKind::wide_text: {
        std::u16string text = ZoHmiSrv::UTF8::to_u16string(node.text());
        if (text.size() >= type.size / 2) node.fail("is longer than " + type.name);
        text.resize(type.size / 2);
        return write(place, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * 2});
    }
    case TypeKind::structure:
        node.each_member([&](const std::string& name, const Node& member_value) {
            const auto member = std::ranges::find(type.members, name, &Item::name);
            if (member == type.members.end()) member_value.fail("is no member of " + type.name);
            set_value({member->type, place.offset + member->offset, member->bit, &*member}, member_value);
        });
        return;
    case TypeKind::array:
    case TypeKind::bit_array: {
        // A nested list has one level for each dimension. A flat list contains all elements.
        std::uint64_t index = 0;
        const auto set_all = [&](const auto& self, const Node& list, std::size_t depth) -> void {
            list.each_item([&](const Node& element) {
                if (element.value().is_array() && depth + 1 < type.dimensions.size())
                    return self(self, element, depth + 1);
                if (index >= type.count()) element.fail("is one element too many");
                const bool bits = type.kind == TypeKind::bit_array;
                const std::uint64_t step = bits ? index / 8 : index * type.base->size;
                set_value({type.base, place.offset + static_cast<std::uint32_t>(step),
                           bits ? static_cast<int>(index % 8) : -1, nullptr},
                          element);
                ++index;
            });
        };
        return set_all(set_all, node, 0);
    }
    case TypeKind::alias:
    case TypeKind::enumeration:
        break; // not a plain type
    }
}

} // namespace zo_sim
