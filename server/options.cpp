#include "server/options.h"

#include "server/language.h"

#include <CLI/CLI.hpp>

namespace server {

std::optional<int> parse_options(int argc, const char* const* argv, Options& options) {
    CLI::App app{
        "Development server: loads an extension, keeps what it is told, and shows it.\n"
        "Commands come from a prompt on a terminal, else from standard input, --script or --command; help lists "
        "them.\n"
        "SIGHUP reads the configuration again; SIGINT and SIGTERM end the server.",
        "zo-hmi-server"};
    app.add_option("--extension", options.extension, "Shared object of the extension")->required();
    app.add_option("--config", options.config, "JSON file with the extension's configuration")->required();
    app.add_option("--seconds", options.seconds, "End after this many seconds")
        ->check(CLI::Range(0.0, 1e9))
        ->check(
            [](const std::string& text) { return text.find_first_of("nN") == text.npos ? "" : "This is no number"; });
    app.add_flag("--plain", options.plain, "Print one line for each call instead of drawing a table");
    app.add_option("--trace", options.trace,
                   "Write each call of the extension as one JSON object a line; \"-\" is standard output, the plain "
                   "lines then go to standard error");
    app.add_option("--dump", options.dump, "Write the final list and a fresh listing as JSON");
    app.add_option("--script", options.script, "Do the commands in this file, one a line, then end");
    app.add_option("--command", options.commands, "Do this command, after the script; may be given several times")
        ->allow_extra_args(false);
    app.add_option("--language", options.language, "Language of texts, as de-DE; else that of the environment's locale")
        ->check([](const std::string& text) { return is_language(text) ? "" : "This is no language: " + text; });
    app.add_flag("--json", options.json,
                 "Print each answer as one JSON object a line; plain lines then go to standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (options.language.empty()) options.language = language_of_environment();
    return std::nullopt;
}

} // namespace server
