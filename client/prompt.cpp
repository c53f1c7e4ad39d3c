#include "client/prompt.h"

#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <memory>

namespace fdx {

namespace {

const Completions* completions_in_use = nullptr;

/// Returns one completion for each call, in memory of malloc; null after the last one. No exception may reach the
/// editor.
char* next_completion(const char* start, int index) {
    static std::vector<std::string> found;
    try {
        if (index == 0) found = (*completions_in_use)(start);
        if (static_cast<std::size_t>(index) >= found.size()) return nullptr;
        return ::strdup(found[static_cast<std::size_t>(index)].c_str());
    } catch (...) {
        return nullptr;
    }
}

} // namespace

std::optional<std::string> prompt_line(const std::string& prompt, const Completions& completions) {
    completions_in_use = &completions;
    rl_completion_entry_function = next_completion;
    const std::unique_ptr<char, void (*)(void*)> line(::readline(prompt.c_str()), std::free);
    if (!line) return std::nullopt;
    if (*line) ::add_history(line.get());
    return std::string(line.get());
}

} // namespace fdx
