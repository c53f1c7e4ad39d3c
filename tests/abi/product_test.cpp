// The product as a server loads it: the exports of the product and of the stand-in proxy, and repeated loading and
// unloading.
#include "extension/host/event.h"
#include "tests/fakes/quiet_host.h"
#include "tests/support/files.h"
#include "tests/test_headers.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>

using namespace ZoHmiSrv;

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

TEST(Exports, ProductHasEntryAndTwoLibraries) {
    const auto symbols = defined_symbols(ZO_PRODUCT);
    const char* const inside[] = {"ZoHmiEventLogger", "ZoAtlCom", "ZoEventLoggerFdxProxyLib", "boost", "LimitedEvent",
                                  "ThreadingImpl",    "WorkImpl"};
    for (const std::string& symbol : symbols) {
        const std::string name = symbol.substr(0, symbol.find('(')); // without the types of the signature
        bool known = symbol.starts_with("ext_interface ");
        for (const char* space : {"ZoHmiFdx::", "ZoHmiSrv::"})
            for (const char* kind : {"", "typeinfo for ", "typeinfo name for ", "vtable for "})
                known = known || name.starts_with(std::string(kind) + space);
        EXPECT_TRUE(known) << symbol;
        for (const char* part : inside)
            EXPECT_EQ(name.find(part), std::string::npos) << symbol;
    }
    const char* const wanted[] = {"ext_interface",
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
                                  "ZoHmiSrv::Work::owns_work"};
    for (const std::string name : wanted) {
        const bool found = std::ranges::any_of(symbols, [&](const std::string& symbol) {
            return symbol.starts_with(name) && std::string(" [(").find(symbol[name.size()]) != std::string::npos;
        });
        EXPECT_TRUE(found) << name;
    }
}

TEST(Exports, ProxyHasTwoFunctions) {
    std::vector<std::string> functions;
    for (const std::string& symbol : defined_symbols(ZO_PROXY_LIBRARY)) {
        // Sanitizers and coverage add symbols of other kinds.
        if (const auto kind = symbol.find(" T "); kind != std::string::npos)
            functions.push_back(symbol.substr(0, kind));
    }
    std::ranges::sort(functions);
    EXPECT_EQ(functions,
              (std::vector<std::string>{"ZoEventLoggerFdxProxyLib::CreateInstance(GUID const&, GUID const&, void**)",
                                        "ZoEventLoggerFdxProxyLibErrorMessage"}));
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#elif defined(__has_feature)
constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool sanitized = false;
#endif

std::size_t entries(const char* folder) {
    const std::filesystem::directory_iterator begin(folder);
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

bool is_mapped(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.ends_with("/" + name)) return true;
    return false;
}

struct Use {
    std::size_t threads = 0, descriptors = 0;
    std::size_t heap = 0; // bytes
};

/// Measures once at most `threads` threads are left, or after 10 s: an ended thread stays visible for a moment.
Use measure(std::size_t threads) {
    Use use;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do {
        use.threads = entries("/proc/self/task");
        if (use.threads <= threads) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } while (std::chrono::steady_clock::now() < deadline);
    use.descriptors = entries("/proc/self/fd");
    const auto heap = mallinfo2();
    use.heap = heap.uordblks + heap.hblkhd;
    return use;
}

void load_and_unload(fakes::QuietHost& host) {
    void* const library = dlopen(ZO_PRODUCT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    using Entry = int (*)(IZoHmiSrvExtHost*, IZoHmiSrvExt**, double*);
    const auto entry = reinterpret_cast<Entry>(dlsym(library, "ext_interface"));
    ASSERT_NE(entry, nullptr);
    IZoHmiSrvExt* extension = nullptr;
    double version = 0.0;
    EXPECT_EQ(entry(&host, &extension, &version), 0);
    EXPECT_EQ(version, 22.0);
    ASSERT_NE(extension, nullptr);
    const Context context;
    EXPECT_EQ(extension->init(context).result(), HMI_SUCCESS);
    EXPECT_EQ(host.shutdown_listener->on_shutdown(context), 0);
    delete extension;
    EXPECT_EQ(dlclose(library), 0);
}

class Reload : public testing::TestWithParam<const char*> {};

TEST_P(Reload, ManyRoundsLeakNothing) {
    Value targets = Value().set_type(ValueType::Map);
    if (GetParam() != std::string("empty")) {
        Value entry = Value().set_type(ValueType::Struct);
        entry.insert("ADDRESS", "5.9.9.9.1.1");
        entry.insert("ENABLED", GetParam() == std::string("unreachable"));
        targets.insert("one", entry);
    }
    Value config = Value().set_type(ValueType::Struct);
    config.insert("TIMEOUT", Timespan(1'000'000'000));
    config.insert("LIMIT_EVENT_COUNT", 10.0);
    config.insert("TARGET_SYSTEMS", targets);
    fakes::QuietHost host(config);
    // No program listens at the port of that net id.
    const zo_test::TemporaryFile routes(R"({"local":"5.1.2.3.1.1","routes":{"5.9.9.9.1.1":"127.0.0.1:1"}})");
    setenv("ZO_ROUTES", routes.path().c_str(), 1);

    constexpr int rounds = sanitized ? 50 : 200;
    std::thread([] {}).join(); // with the first thread a sanitizer starts its own
    const auto threads = entries("/proc/self/task");
    Use early;
    Use late;
    int mapped = 0;
    for (int round = 1; round <= rounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(load_and_unload(host)) << round;
        if (is_mapped("libZoHmiEventLogger.so")) ++mapped;
        if (round == 10) early = measure(threads);
        if (round == rounds) late = measure(threads);
    }
    EXPECT_LE(early.threads, threads);
    EXPECT_LE(late.threads, threads);
    EXPECT_LE(late.descriptors, early.descriptors);
    if (sanitized) GTEST_SKIP() << "sanitizers keep libraries mapped and count memory in their own way";
    EXPECT_EQ(mapped, 0);
    // The smallest allocation takes 32 bytes. Far less than that for each round is no leak: rounding differs, and the C
    // library keeps stacks of ended threads.
    EXPECT_LT(late.heap, early.heap + 32 * (rounds - 10) / 2);
}

INSTANTIATE_TEST_SUITE_P(Targets, Reload, testing::Values("empty", "disabled", "unreachable"),
                         [](const auto& instance) { return std::string(instance.param); });

} // namespace

// The allocation cache of a thread counts as memory in use and would hide leaks.
int main(int argc, char** argv) {
    if (!sanitized && !std::getenv("GLIBC_TUNABLES")) {
        setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
        execv("/proc/self/exe", argv);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
