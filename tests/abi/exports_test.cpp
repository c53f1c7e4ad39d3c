// What the product and the stand-in of the proxy show to the dynamic linker.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

std::vector<std::string> defined_symbols(const char* file) {
    const std::string command =
        "nm --dynamic --demangle --defined-only --format=posix '" + std::string(file) + "' 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), &pclose);
    std::vector<std::string> lines;
    std::string line;
    for (int byte = 0; output && (byte = std::fgetc(output.get())) != EOF;) {
        if (byte != '\n') {
            line += static_cast<char>(byte);
            continue;
        }
        lines.push_back(std::move(line));
        line.clear();
    }
    return lines;
}

TEST(Exports, AreTheEntryAndTheTwoLibrariesAndNothingElse) {
    const auto symbols = defined_symbols(ZO_PRODUCT);
    const char* const inside[] = {"ZoHmiEventLogger", "ZoAtlCom", "ZoEventLoggerFdxProxyLib", "boost", "LimitedEvent",
                                  "ThreadingImpl",    "WorkImpl"};
    for (const std::string& symbol : symbols) {
        const std::string name = symbol.substr(0, symbol.find('(')); // types in a signature are not defined here
        bool known = symbol.starts_with("ext_interface ");
        for (const char* space : {"ZoHmiFdx::", "ZoHmiSrv::"})
            for (const char* kind : {"", "typeinfo for ", "typeinfo name for ", "vtable for "})
                known = known || name.starts_with(std::string(kind) + space);
        EXPECT_TRUE(known) << symbol;
        for (const char* part : inside)
            EXPECT_EQ(name.find(part), std::string::npos) << symbol;
    }
    const char* const wanted[] = {
        "ext_interface",
        "ZoHmiFdx::SimpleScopedPort::SimpleScopedPort",
        "ZoHmiFdx::actualize_net_id",
        "ZoHmiFdx::fdx_error_to_string",
        "ZoHmiFdx::fetch_local_remote_netid_base",
        "ZoHmiFdx::insert_distinct_net_id",
        "ZoHmiFdx::make_net_id_absolute",
        "ZoHmiFdx::nrx_net_id_from_string",
        "ZoHmiFdx::translate_fdx_error_code",
        "ZoHmiSrv::Algorithm::guid_from_string",
        "ZoHmiSrv::ExtensionResultStream::operator<<",
        "ZoHmiSrv::Threading::Threading",
        "ZoHmiSrv::Threading::start_new_timer",
        "ZoHmiSrv::Threading::stop",
        "ZoHmiSrv::UTF8::from_wstring",
        "ZoHmiSrv::UTF8::is_utf8",
        "ZoHmiSrv::Work::owns_work",
    };
    for (const std::string name : wanted) {
        const bool found = std::ranges::any_of(symbols, [&](const std::string& symbol) {
            return symbol.starts_with(name) && std::string(" [(").find(symbol[name.size()]) != std::string::npos;
        });
        EXPECT_TRUE(found) << name;
    }
}

TEST(Exports, OfTheProxyAreTwoFunctions) {
    std::vector<std::string> functions;
    for (const std::string& symbol : defined_symbols(ZO_PROXY_LIBRARY)) {
        // Sanitizers and coverage add their own, which are no functions of ours.
        if (const auto kind = symbol.find(" T "); kind != std::string::npos)
            functions.push_back(symbol.substr(0, kind));
    }
    std::ranges::sort(functions);
    EXPECT_EQ(functions,
              (std::vector<std::string>{"ZoEventLoggerFdxProxyLib::CreateInstance(GUID const&, GUID const&, void**)",
                                        "ZoEventLoggerFdxProxyLibErrorMessage"}));
}

} // namespace
