#include "simulator/text_template.h"

#include <algorithm>
#include <charconv>

namespace zo_sim {

namespace {

struct Piece {
    std::string_view literal; // text before the placeholder
    bool placeholder = false; // false at the end of the text
    std::size_t index = 0;    // of the argument; names.size() for an unknown name
    std::string_view name;
    int decimals = -1;
};

enum class Step { piece, unclosed, bad_decimals };

/// Cuts the next piece off the text. A "{{" ends a piece after its first brace.
Step next_piece(std::string_view& text, std::span<const std::string> names, Piece& piece) {
    piece = Piece{};
    const std::size_t open = text.find('{');
    if (open == std::string_view::npos) {
        piece.literal = text;
        text = {};
        return Step::piece;
    }
    if (text.substr(open).starts_with("{{")) {
        piece.literal = text.substr(0, open + 1);
        text.remove_prefix(open + 2);
        return Step::piece;
    }
    const std::size_t close = text.find('}', open);
    if (close == std::string_view::npos) return Step::unclosed;
    piece.literal = text.substr(0, open);
    piece.placeholder = true;
    piece.name = text.substr(open + 1, close - open - 1);
    text.remove_prefix(close + 1);
    const std::size_t colon = piece.name.find(':');
    if (colon != std::string_view::npos) {
        const std::string_view digits = piece.name.substr(colon + 1);
        if (digits.size() != 1 || digits[0] < '0' || digits[0] > '9') return Step::bad_decimals;
        piece.decimals = digits[0] - '0';
        piece.name = piece.name.substr(0, colon);
    }
    piece.index = static_cast<std::size_t>(std::find(names.begin(), names.end(), piece.name) - names.begin());
    return Step::piece;
}

std::string number_text(double number, int decimals) {
    char digits[400]; // the largest double has 309 digits before the point
    const auto end = decimals < 0
                         ? std::to_chars(digits, digits + sizeof digits, number)
                         : std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
    return std::string(digits, end.ptr);
}

std::string argument_text(const Argument& argument, int decimals) {
    if (const auto* number = std::get_if<std::int32_t>(&argument))
        return decimals < 0 ? std::to_string(*number) : number_text(*number, decimals);
    if (const auto* real = std::get_if<double>(&argument)) return number_text(*real, decimals);
    if (const auto* text = std::get_if<std::string>(&argument)) return *text;
    return std::get<bool>(argument) ? "true" : "false";
}

} // namespace

std::optional<std::string> check_template(std::string_view text, std::span<const std::string> names) {
    Piece piece;
    while (!text.empty()) {
        switch (next_piece(text, names, piece)) {
        case Step::unclosed:
            return "a brace is not closed";
        case Step::bad_decimals:
            return "a placeholder's decimals are no digit";
        case Step::piece:
            if (piece.placeholder && piece.index == names.size())
                return "there is no argument '" + std::string(piece.name) + "'";
        }
    }
    return std::nullopt;
}

std::string fill_template(std::string_view text, std::span<const std::string> names,
                          std::span<const Argument> arguments) {
    std::string filled;
    Piece piece;
    while (!text.empty() && next_piece(text, names, piece) == Step::piece) {
        filled += piece.literal;
        if (!piece.placeholder) continue;
        filled += piece.index < arguments.size() ? argument_text(arguments[piece.index], piece.decimals) : "?";
    }
    return filled;
}

} // namespace zo_sim
