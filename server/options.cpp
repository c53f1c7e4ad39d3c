#include "server/options.h"

#include <CLI/CLI.hpp>

namespace server {

std::optional<int> parse_options(int argc, const char* const* argv, Options& options) {
    CLI::App app{"Development server: loads an extension, keeps what it is told, and shows it.\n"
                 "SIGHUP reads the configuration again; SIGINT and SIGTERM end the server.",
                 "zo-hmi-server"};
    app.add_option("--extension", options.extension, "Shared object of the extension")->required();
    app.add_option("--config", options.config, "JSON file with the extension's configuration")->required();
    app.add_option("--seconds", options.seconds, "End after this many seconds")->check(CLI::Range(0.0, 1e9));
    app.add_flag("--plain", options.plain, "Print one line for each call instead of drawing a table");
    app.add_option("--trace", options.trace,
                   "Write each call of the extension as one JSON object a line; \"-\" is standard output, the plain "
                   "lines then go to standard error");
    app.add_option("--dump", options.dump, "Write the final list and a fresh listing as JSON");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return std::nullopt;
}

} // namespace server
