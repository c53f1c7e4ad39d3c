#include "server/options.h"

#include "console/text.h"
#include "server/language.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace server {

std::optional<int> parse_options(int argc, const char* const* argv, Options& options) {
    CLI::App app{
        "Development server: loads an extension and shows its events.\n"
        "Commands come from a prompt on a terminal, else from standard input, --script or --command; the command help "
        "lists them.\n"
        "ZO_ROUTES names the routes file of the simulated targets, else it is routes.json beside the extension.\n"
        "SIGHUP reloads the configuration; SIGINT and SIGTERM end the server.",
        "zo-hmi-server"};
    app.add_option("--extension", options.extension, "Shared object of the extension")->required();
    app.add_option("--config", options.config, "JSON file with the extension's configuration")->required();
    app.add_option("--seconds", options.seconds, "End after this many seconds")
        ->check(CLI::Range(0.0, 1e9))
        ->check([](const std::string& text) { return text.find_first_of("nN") == text.npos ? "" : "not a number"; });
    app.add_flag("--plain", options.plain, "Print one line for each call instead of drawing a table");
    app.add_option(
        "--trace", options.trace,
        "Write each call of the extension as one JSON object a line; with \"-\" to standard output, and plain "
        "lines to standard error");
    app.add_option("--dump", options.dump, "Write the final list and a fresh listing as JSON");
    app.add_option("--script", options.script, "Run the commands in this file, one a line, then end");
    app.add_option("--command", options.commands, "Run this command, after the script; may be given several times")
        ->allow_extra_args(false);
    app.add_option("--language", options.language, "Language of texts, as de-DE; else that of the environment's locale")
        ->check([](const std::string& text) { return is_language(text) ? "" : "not a language: " + text; });
    app.add_flag("--json", options.json,
                 "Print each answer as one JSON object a line; plain lines then go to standard error");
    app.add_flag("--no-retry", options.no_retry, "Do not reconnect a target after a failed import");
    app.set_version_flag("--version", "zo-hmi-server " ZO_VERSION, "Print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help_or_version) {
        return app.exit(help_or_version);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "zo-hmi-server: %s; see --help\n", console::printable(error.what()).c_str());
        return 2;
    }
    if (options.language.empty()) options.language = language_of_environment();
    return std::nullopt;
}

} // namespace server
