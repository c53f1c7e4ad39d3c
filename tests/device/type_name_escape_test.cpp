#include "device/type_name_escape.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

using namespace ZoHmiFdx;

namespace {

TEST(EscapedName, Examples) {
    struct Case {
        const char* name;
        const char* expected;
    };
    const Case cases[] = {
        {"", ""},
        {"INT", "INT"},
        {"ns.FB_Axis^,x", "ns.FB_Axis^,x"},
        {"STRING(80)", "STRING-80"},
        {"STRING(80) ", "STRING-80-"},
        {"STRING(80)x", "STRING(80)x"},
        {"INT (0..7)", "INT--0..7"},
        {"f(a(b))", "f-a(b)"},
        {"f(a)(b)", "f(a)-b"},
        {"f(a))", "f(a)"}, // the partner of the last one is missing
        {"x)", "x"},
        {")", ""},
        {"(", "("},
        {"List<INT>", "ListINT"},
        {"f<)>", "f"},
        {"X[1]", "X(1)"},
        {"X ReadOnly", "X-ReadOnly"},
        {"POINTER TO INT", "POINTER-TO-INT"},
        {"POINTER TO ", "POINTER-TO-"},
        {"POINTER TO (x)", "POINTER-TO--x"},
        {"X POINTER TO INT", "X-POINTER-TO-INT"},
        {"XPOINTER TO (a)", "XPOINTER-TO--a"},
        {"REFERENCE TO POINTER TO STRING(80)", "REFERENCE-TO-POINTER-TO-STRING-80"},
        {"ARRAY [1..3] OF INT", "ARRAY_1..3_OF-INT"},
        {"ARRAY [1..3, 0..2] OF POINTER TO INT", "ARRAY_1..3_0..2_OF-POINTER-TO-INT"},
        {"ARRAY [1..3,0..2] OF ARRAY [0..1] OF STRING(8)", "ARRAY_1..3_0..2_OF-ARRAY_0..1_OF-STRING-8"},
        {"ARRAY [] OF X", "ARRAY__OF-X"},
        {"ARRAY [", "ARRAY-("},
        {"ARRAY [1", "ARRAY_1"},
        {"ARRAY [1]", "ARRAY_1)"},
        {"ARRAY [1] OF ", "ARRAY_1)-OF-"},
        {"ARRAY [1] of X", "ARRAY_1)-of-X"},
        {"ARRAY [1,", "ARRAY_1,"},
        {"ARRAY [1, ", "ARRAY_1_-"}, // the comma with its blank needs more text, the comma alone has some
        {"ARRAY [1,  2] OF X", "ARRAY_1_-2_OF-X"},
        {"ARRAY [f(1)..f(2)] OF X", "ARRAY_f(1)..f-2_OF-X"},
        {"ARRAY [a[1,2]..b[3], 4] OF X", "ARRAY_a(1,2)..b(3)_4_OF-X"},
        {"ARRAY [a[1] OF X", "ARRAY_a(1)-OF-X"},
        {"ARRAY [1 2] OF X", "ARRAY_1-2_OF-X"},
        {"ARRAY [1 2", "ARRAY_1-2"},
        {"ARRAY [1] OF X]", "ARRAY_1_OF-X)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(escape_datatype_name(c.name), c.expected) << '"' << c.name << '"';
}

/// The state machine, state by state, without the short cut for names that need nothing and without looking for the
/// ends of ranges beforehand.
class PlainEscaper {
public:
    static std::string escape(const std::string& name) {
        PlainEscaper escaper{name};
        while (escaper.at_ < name.size())
            escaper.step();
        return escaper.result_;
    }

private:
    enum State { Start, Word, AfterPointer, AfterReference, InRange, BetweenRanges, AfterComma, AfterOf };

    explicit PlainEscaper(const std::string& name) : name_(name) {}

    void step() {
        switch (state_) {
        case InRange:
        case AfterComma: {
            int level = 0;
            for (std::size_t end = at_; end < name_.size(); ++end) {
                if ((name_[end] == ',' || name_[end] == ']') && level == 0) {
                    chunk(end, BetweenRanges);
                    return;
                }
                if (name_[end] == '[') ++level;
                if (name_[end] == ']') --level;
            }
            break;
        }
        case BetweenRanges:
            if (take("] OF ", "_OF-", AfterOf) || take(", ", "_", AfterComma) || take(",", "_", AfterComma)) return;
            break;
        default:
            if (take("POINTER TO ", "POINTER-TO-", AfterPointer)) return;
            if (take("REFERENCE TO ", "REFERENCE-TO-", AfterReference)) return;
            if (take("ARRAY [", "ARRAY_", InRange)) return;
        }
        const std::size_t blank = name_.find(' ', at_);
        chunk(blank == std::string::npos ? name_.size() : blank + 1, Word);
    }

    bool take(const std::string& text, const char* replacement, State next) {
        if (at_ + text.size() >= name_.size() || name_.compare(at_, text.size(), text) != 0) return false;
        result_ += replacement;
        at_ += text.size();
        state_ = next;
        return true;
    }

    void chunk(std::size_t end, State next) {
        std::string text = name_.substr(at_, end - at_);
        std::erase_if(text, [](char c) { return c == '<' || c == '>'; });
        const std::size_t last = text.find_last_not_of(' ');
        if (last != std::string::npos && text[last] == ')') {
            text.erase(last, 1);
            int open = 1;
            for (std::size_t i = last; i > 0 && open > 0; --i) {
                if (text[i - 1] == ')') ++open;
                if (text[i - 1] == '(' && --open == 0) text[i - 1] = '-';
            }
        }
        for (char& c : text)
            c = c == '[' ? '(' : c == ']' ? ')' : c == ' ' ? '-' : c;
        result_ += text;
        at_ = end;
        state_ = next;
    }

    const std::string& name_;
    std::size_t at_ = 0;
    State state_ = Start;
    std::string result_;
};

TEST(EscapedName, EqualsThePlainStateMachine) {
    const char* parts[] = {"POINTER TO ", "REFERENCE TO ", "ARRAY [", "] OF ", ", ", ",", "[", "]", "(", ")", "<", ">",
                           " ",           "INT",           "x",       "1..3",  "",   "",  "",  "",  "",  "",  "",  ""};
    std::mt19937 random(4711);
    int unchanged = 0;
    for (int round = 0; round < 50'000; ++round) {
        std::string name;
        for (std::size_t length = random() % 16; length > 0; --length)
            name += parts[random() % std::size(parts)];
        const std::string escaped = escape_datatype_name(name);
        ASSERT_EQ(escaped, PlainEscaper::escape(name)) << '"' << name << '"';
        ASSERT_EQ(escaped.find_first_of(" <>[]"), std::string::npos) << '"' << name << '"';
        unchanged += escaped == name;
    }
    EXPECT_GT(unchanged, 1000);   // the short cut was taken
    EXPECT_LT(unchanged, 40'000); // and the state machine as well
}

// Arrays whose brackets are never closed must not be searched to the end of the text for each of them.
TEST(EscapedName, TakesLinearTime) {
    std::string name;
    std::string expected = "ARRAY_x-";
    for (int i = 0; i < 200'000; ++i)
        name += "ARRAY [x ";
    for (int i = 1; i < 200'000; ++i)
        expected += "ARRAY_x-";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(escape_datatype_name(name) == expected);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)); // hundreds if it were quadratic
}

} // namespace
