#include "client/commands.h"
#include "client/prompt.h"
#include "extension/host/value.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

namespace {

using namespace fdx;

/// Returns completions: names of commands, and symbol paths after the last delimiter.
std::vector<std::string> complete(Device& device, const std::string& start) {
    std::vector<std::string> found;
    const auto keep = [&](const std::string& text) {
        if (text.starts_with(start)) found.push_back(text);
    };
    for (const char* command : {"entry", "find", "info", "path", "raw", "routes", "sleep", "state", "symbols", "type"})
        keep(command);
    if (device.runtime()->symbols().size() == 0 && device.refresh().code() != 0) return found;
    const auto dot = start.rfind('.');
    const auto list = [&](const std::string& parent) {
        ZoHmiSrv::Value symbols;
        device.state().browse(Device::name, ZoHmiFdx::UnqualifiedFdxPath(parent), symbols);
        for (auto symbol = symbols.begin_vector(); symbol != symbols.end_vector(); ++symbol)
            keep((*symbol)["path"].get_string());
    };
    list({});
    if (dot != std::string::npos && dot != 0) list(start.substr(0, dot));
    return found;
}

void run_lines(Device& device, Output& output) {
    if (::isatty(STDIN_FILENO)) {
        const std::string prompt = ZoHmiFdx::to_string(device.address().net_id) + "> ";
        while (const auto line = prompt_line(prompt, [&](const std::string& start) { return complete(device, start); }))
            run_line(device, output, *line);
        std::puts("");
        return;
    }
    for (std::string line; std::getline(std::cin, line);)
        run_line(device, output, line);
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    Options options;
    Call call;
    std::string address;
    std::string limits;
    bool as_json = false;
    bool as_csv = false;
    CLI::App app("Talks to a device: requests, routes, and a runtime with its symbols.", "zo-fdx");
    app.footer("Without a command it reads lines, each a command, from standard input.\n"
               "Status: 0 all done, 1 some failed, 2 usage, 3 not connected, 4 timed out.");
    app.set_version_flag("--version", ZO_VERSION);
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.add_option("-t,--target", address, "NETID[:PORT] of the device; the port is 851 by default")
        ->envname("ZO_FDX_TARGET");
    auto* const json = app.add_flag("--json", as_json, "one JSON object a line");
    app.add_flag("--csv", as_csv, "comma-separated values")->excludes(json);
    app.add_flag("-q,--quiet", options.quiet, "no lines about failures");
    app.add_flag("--whitelist", options.whitelist, "symbols of the whitelist alone are visible");
    app.add_flag("--read-only", options.read_only, "all symbols are read-only");
    app.add_option("--timeout", options.timeout_ms, "of a request, in milliseconds")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    app.add_option("--limits", limits, "ITEMS,BYTES,HANDLES of a request");
    add_commands(app, call);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        Output(options).usage_error(error.what());
        return status::usage;
    }
    if (as_json || as_csv)
        options.format = as_json ? Format::json : Format::csv;
    else if (::isatty(STDOUT_FILENO))
        options.format = Format::table;
    Output output(options);
    const auto target = parse_address(address);
    if (address.empty())
        output.usage_error("no target: give --target NETID[:PORT], or ZO_FDX_TARGET");
    else if (!target)
        output.usage_error("'" + address + "' is not NETID[:PORT]");
    if (!limits.empty()) {
        const auto given = parse_limits(limits);
        if (!given)
            output.usage_error("'" + limits + "' is not ITEMS,BYTES,HANDLES");
        else
            options.limits = *given;
    }
    if (output.status() != status::done) return output.status();
    options.target = *target;
    try {
        Device device(options);
        if (!device.valid()) {
            output.fail("no client port", 0x748);
        } else if (call.run) {
            call.run(device, output, call);
        } else {
            run_lines(device, output);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zo-fdx: %s\n", error.what());
        return status::failed;
    }
    return output.status();
}
