#pragma once

#include "server/command_line.h"

#include <memory>
#include <optional>
#include <string>

namespace server {

class Input;

/// A line editor on the terminal, with a history and with completion by the tabulator. Use it in a `KeyMode`, so that
/// no early key is lost. [one thread]
class Prompt {
public:
    /// The input must outlive this object.
    Prompt(Input& input, Candidates candidates);
    ~Prompt();
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;

    /// Returns the next line; nothing at the end of the input or after Ctrl-D on an empty line.
    std::optional<std::string> line();

private:
    struct Editor;
    std::unique_ptr<Editor> editor_;
};

} // namespace server
