#include "server/prompt.h"

#include "console/text.h"
#include "server/input.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <histedit.h>
#include <vector>

namespace server {

namespace {

constexpr int history_size = 500;
constexpr std::size_t max_listed = 100;

std::string common_start(const std::vector<std::string>& words) {
    std::string start = words.front();
    for (const std::string& word : words) {
        const auto [end, ignored] = std::mismatch(start.begin(), start.end(), word.begin(), word.end());
        start.erase(end, start.end());
    }
    // Never cut inside a character.
    while (!start.empty() && console::printable(start) != start)
        start.pop_back();
    return start;
}

} // namespace

struct Prompt::Editor {
    Editor(Input& keys, Candidates known) : input(keys), candidates(std::move(known)) {
        HistEvent event{};
        history(lines, &event, H_SETSIZE, history_size);
        history(lines, &event, H_SETUNIQUE, 1);
        el_set(line, EL_CLIENTDATA, this);
        el_set(line, EL_PROMPT, prompt);
        el_set(line, EL_EDITOR, "emacs");
        el_set(line, EL_SIGNAL, 0);
        // Between two lines, too, the terminal must not edit early keys.
        el_set(line, EL_SETTY, "-x", "-icanon", "-echo", nullptr);
        el_set(line, EL_HIST, history, lines);
        el_set(line, EL_GETCFN, next_character);
        el_wset(line, EL_ADDFN, L"zo-complete", L"completes a word", complete_word); // el_set would leak the texts
        el_set(line, EL_BIND, "^I", "zo-complete", nullptr);
    }
    ~Editor() {
        el_end(line);
        history_end(lines);
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    static Editor& of(EditLine* line) {
        void* data = nullptr;
        el_get(line, EL_CLIENTDATA, &data);
        return *static_cast<Editor*>(data);
    }

    static char* prompt(EditLine*) {
        static char text[] = "zo> ";
        return text;
    }

    /// Returns 1 with a character and 0 at the end. Bytes that are not UTF-8 are skipped.
    static int next_character(EditLine* line, wchar_t* character) {
        std::mbstate_t state{};
        while (const auto byte = of(line).input.byte()) {
            std::size_t taken = std::mbrtowc(character, &*byte, 1, &state);
            if (taken == static_cast<std::size_t>(-1)) {
                // The byte that ended an incomplete character may begin the next one.
                state = {};
                taken = std::mbrtowc(character, &*byte, 1, &state);
                if (taken == static_cast<std::size_t>(-1)) state = {};
            }
            if (taken <= 1) return 1;
        }
        return 0;
    }

    static unsigned char complete_word(EditLine* line, int) {
        const LineInfo* info = el_line(line);
        const std::string_view text(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
        const std::vector<std::string> words = complete(text, of(line).candidates);
        if (words.empty()) return CC_REFRESH_BEEP;
        // The typed part of the word is the longest end of the text with which all completions begin.
        const std::string start = common_start(words);
        std::size_t there = std::min(text.size(), start.size());
        while (!start.starts_with(text.substr(text.size() - there)))
            --there;
        std::string more = start.substr(there);
        if (words.size() == 1) more += ' ';
        if (!more.empty()) return el_insertstr(line, more.c_str()) == 0 ? CC_REFRESH : CC_REFRESH_BEEP;
        std::fputc('\n', stdout);
        for (std::size_t i = 0; i < words.size() && i < max_listed; ++i)
            std::fprintf(stdout, "%s  ", words[i].c_str());
        std::fputs(words.size() > max_listed ? "...\n" : "\n", stdout);
        std::fflush(stdout);
        return CC_REDISPLAY;
    }

    Input& input;
    Candidates candidates;
    EditLine* line = el_init("zo-hmi-server", stdin, stdout, stderr);
    History* lines = history_init();
};

Prompt::Prompt(Input& input, Candidates candidates) : editor_(std::make_unique<Editor>(input, std::move(candidates))) {
}

Prompt::~Prompt() = default;

std::optional<std::string> Prompt::line() {
    int size = 0;
    el_resize(editor_->line);
    const char* text = el_gets(editor_->line, &size);
    if (text == nullptr || size <= 0) {
        std::fputc('\n', stdout);
        return std::nullopt;
    }
    std::string line(text, static_cast<std::size_t>(size));
    if (line.ends_with('\n')) line.pop_back();
    HistEvent event{};
    if (!line.empty()) history(editor_->lines, &event, H_ENTER, line.c_str());
    return line;
}

} // namespace server
