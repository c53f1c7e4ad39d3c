#pragma once

#include "simulator/verbs.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include <nlohmann/json.hpp>

/// The words and numbers of a verb's line. Only for use inside the simulator. All functions throw VerbError.
namespace zo_sim {

inline std::string in_quotes(std::string_view word) {
    return "'" + std::string(word) + "'";
}

/// The words of a line. A word is literal or a JSON string; so is the value after its '='.
class Words {
public:
    explicit Words(std::string_view line) : rest_(line) { skip_spaces(); }

    bool empty() const { return rest_.empty(); }
    std::string_view rest() const { return rest_; }

    std::string next(const char* what) {
        if (rest_.empty()) throw VerbError(std::string("missing ") + what);
        std::string word = part(" \t");
        end_word();
        return word;
    }
    /// Reads NAME=VALUE. If the next word has no '=', returns false and reads nothing.
    bool next_assignment(std::string& name, std::string& value) {
        const std::size_t end = rest_.find_first_of(" \t\"=");
        if (end == std::string_view::npos || end == 0 || rest_[end] != '=') return false;
        name = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        value = part(" \t");
        end_word();
        return true;
    }
    void expect_end() const {
        if (!rest_.empty()) throw VerbError("unexpected " + in_quotes(rest_));
    }

private:
    void skip_spaces() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }
    void end_word() {
        if (!rest_.empty() && rest_[0] != ' ' && rest_[0] != '\t') throw VerbError("a quote ends inside a word");
        skip_spaces();
    }
    std::string part(const char* separators) {
        if (!rest_.starts_with('"')) {
            const std::string_view word = rest_.substr(0, rest_.find_first_of(separators));
            rest_.remove_prefix(word.size());
            return std::string(word);
        }
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] != '"')
            end += rest_[end] == '\\' ? 2 : 1;
        if (end >= rest_.size()) throw VerbError("a quote is not closed");
        const auto text = nlohmann::json::parse(rest_.substr(0, end + 1), nullptr, false);
        if (!text.is_string()) throw VerbError("the quoted text is not a JSON string");
        rest_.remove_prefix(end + 1);
        return text.get<std::string>();
    }

    std::string_view rest_;
};

template <typename Number>
bool read_number(std::string_view word, Number& number, int base = 10) {
    const char* end = word.data() + word.size();
    std::from_chars_result parsed;
    if constexpr (std::is_floating_point_v<Number>)
        parsed = std::from_chars(word.data(), end, number);
    else
        parsed = std::from_chars(word.data(), end, number, base);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

template <typename Number>
Number number(Words& words, const char* what, Number lowest, Number highest) {
    const std::string word = words.next(what);
    Number number{};
    if (!read_number(word, number) || number < lowest || number > highest)
        throw VerbError(in_quotes(word) + " is no " + what + " from " + std::to_string(lowest) + " to " +
                        std::to_string(highest));
    return number;
}

/// Reads a number in decimal digits, or in hexadecimal digits after 0x.
inline bool read_unsigned(std::string_view word, std::uint32_t& number) {
    const bool hex = word.starts_with("0x");
    return read_number(word.substr(hex ? 2 : 0), number, hex ? 16 : 10);
}

inline std::uint32_t unsigned_number(Words& words, const char* what) {
    const std::string word = words.next(what);
    std::uint32_t value = 0;
    if (!read_unsigned(word, value)) throw VerbError(in_quotes(word) + " is no " + what);
    return value;
}

inline bool on_or_off(std::string_view word, std::string_view on, std::string_view off) {
    if (word != on && word != off)
        throw VerbError(in_quotes(word) + " is neither " + std::string(on) + " nor " + std::string(off));
    return word == on;
}

} // namespace zo_sim
