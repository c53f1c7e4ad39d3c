#include "device/type/type_name_escape.h"

#include "device/type/indirection.h"

#include <cassert>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t none = std::string_view::npos;

/// A text and its replacement.
struct Replacement {
    std::string_view text;
    std::string_view replacement;
};

constexpr Replacement pointer = {pointer_prefix, "POINTER-TO-"};
constexpr Replacement reference = {reference_prefix, "REFERENCE-TO-"};
constexpr Replacement array_start = {"ARRAY [", "ARRAY_"};
constexpr Replacement array_end = {"] OF ", "_OF-"};
constexpr Replacement next_range = {", ", "_"};
constexpr Replacement next_range_without_blank = {",", "_"};

/// Returns, for each position, the end of an array range that begins there: the next "," or "]" outside of inner
/// brackets, or `none`. Searches from the back: a forward search from each array takes quadratic time on unclosed
/// arrays.
std::vector<std::size_t> find_range_ends(std::string_view text) {
    std::vector<std::size_t> ends(text.size() + 1, none);
    std::vector<std::size_t> closing;
    for (std::size_t i = text.size(); i-- > 0;) {
        if (text[i] == ',' || text[i] == ']') {
            ends[i] = i;
            if (text[i] == ']') closing.push_back(i);
        } else if (text[i] != '[') {
            ends[i] = ends[i + 1];
        } else if (!closing.empty()) {
            ends[i] = ends[closing.back() + 1];
            closing.pop_back();
        }
    }
    return ends;
}

/// Removes the ")" at the end of `text`, before trailing blanks, and replaces its partner.
void replace_last_parentheses(std::string& text, std::size_t begin) {
    const std::size_t last = text.find_last_not_of(' ');
    if (last == std::string::npos || last < begin || text[last] != ')') return;
    text.erase(last, 1);
    std::size_t level = 0;
    for (std::size_t i = last; i-- > begin;) {
        if (text[i] == ')') {
            ++level;
        } else if (text[i] == '(' && level-- == 0) {
            text[i] = '-';
            return;
        }
    }
}

class Escaper {
public:
    explicit Escaper(std::string_view name) : name_(name) { result_.reserve(name.size()); }

    std::string run() {
        while (at_ < name_.size()) {
            switch (state_) {
            case State::Text:
                text();
                break;
            case State::Range:
                range();
                break;
            case State::BetweenRanges:
                between_ranges();
                break;
            }
        }
        return std::move(result_);
    }

private:
    enum class State { Text, Range, BetweenRanges };

    void text() {
        if (take(pointer, State::Text) || take(reference, State::Text) || take(array_start, State::Range)) return;
        take_word();
    }

    void range() {
        if (range_ends_.empty()) range_ends_ = find_range_ends(name_);
        const std::size_t end = range_ends_[at_];
        if (end == none) return take_word();
        append_chunk(end);
        state_ = State::BetweenRanges;
    }

    void between_ranges() {
        if (take(array_end, State::Text) || take(next_range, State::Range) ||
            take(next_range_without_blank, State::Range))
            return;
        take_word();
    }

    /// Requires more text after the match.
    bool take(const Replacement& replacement, State next) {
        const std::size_t behind = at_ + replacement.text.size();
        if (behind >= name_.size() || !name_.substr(at_).starts_with(replacement.text)) return false;
        result_ += replacement.replacement;
        at_ = behind;
        state_ = next;
        return true;
    }

    /// Appends the text up to the next blank and the blank itself, or the rest of the text.
    void take_word() {
        const std::size_t blank = name_.find(' ', at_);
        append_chunk(blank == none ? name_.size() : blank + 1);
        state_ = State::Text;
    }

    void append_chunk(std::size_t end) {
        const std::size_t begin = result_.size();
        for (; at_ != end; ++at_)
            if (name_[at_] != '<' && name_[at_] != '>') result_ += name_[at_];
        replace_last_parentheses(result_, begin);
        for (std::size_t i = begin; i != result_.size(); ++i) {
            char& character = result_[i];
            if (character == '[') character = '(';
            if (character == ']') character = ')';
            if (character == ' ') character = '-';
        }
    }

    std::string_view name_;
    std::size_t at_ = 0;
    State state_ = State::Text;
    std::vector<std::size_t> range_ends_; ///< empty until the first array
    std::string result_;
};

} // namespace

std::string escape_datatype_name(const std::string& name) {
    if (name.find_first_of(" <>()[]") == std::string::npos) return name;
    return Escaper(name).run();
}

void assert_datatype_name_escaped([[maybe_unused]] const std::string& name) {
    assert(name.find_first_of(" <>[]") == std::string::npos);
}

} // namespace ZoHmiFdx
