#pragma once

#include "client/options.h"
#include "support/extension_result.h"

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace fdx {

/// Prints the rows and the failures of a command. An aligned table waits for all rows; the other formats print each row
/// at once. A device's text cannot move the cursor.
class Output {
public:
    using Row = std::vector<nlohmann::ordered_json>; // texts, numbers, booleans and objects

    explicit Output(const Options& options) : format_(options.format), quiet_(options.quiet) {}

    /// Begins a list with these columns.
    void begin(std::vector<std::string> columns);
    void row(const Row& row);
    /// Ends the list.
    void end();

    /// Prints a failure in one line on standard error: the path or another noun, the code with its name, and the text.
    void fail(const std::string& noun, const ZoHmiSrv::ExtensionResult& result);
    void fail(const std::string& noun, int code) { fail(noun, ZoHmiSrv::ExtensionResult(code)); }
    void usage_error(const std::string& text);

    /// Returns the exit code for all commands so far.
    [[nodiscard]] int status() const noexcept { return status_; }

private:
    static std::string text_of(const nlohmann::ordered_json& cell);
    void print_csv(const std::vector<std::string>& cells) const;
    void set_status(int status);

    const Format format_;
    const bool quiet_;
    std::vector<std::string> columns_;
    std::vector<std::vector<std::string>> waiting_;
    int status_ = status::done;
};

} // namespace fdx
