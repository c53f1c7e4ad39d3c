#include "tests/system/live_server.h"

#include "extension/host/listeners.h"
#include "extension/host/value.h"
#include "server/event_json.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>

namespace programs {

LiveServer::LiveServer(const TemporaryFolder& folder, const json& config,
                       const std::vector<std::pair<std::string, std::string>>& routes)
    : config_(folder / "config.json") {
    write_file(config_, config.dump());
    write_routes(folder / "routes.json", routes);
    setenv("ZO_ROUTES", (folder / "routes.json").c_str(), 1);
    // It stays mapped, so that the report of a sanitizer can name its functions.
    if (void* const product = dlopen(ZO_PRODUCT, RTLD_NOW | RTLD_NODELETE)) dlclose(product);
    configuration_.emplace(config_);
    host_.emplace(*configuration_, events_, trace_, [this](const std::string& line) { hear(line); });
    library_.emplace(ZO_PRODUCT, &*host_);
    EXPECT_EQ(library_->extension().init(host_->context()).result(), ZoHmiSrv::HMI_SUCCESS);
    host_->list_anew("listed");
}

LiveServer::~LiveServer() {
    stop();
}

json LiveServer::rows() const {
    json rows = json::array();
    for (const server::EventRow& row : events_.rows())
        rows.push_back(json(server::event_json(row.event)));
    return rows;
}

json LiveServer::listing() {
    ZoHmiSrv::Value events;
    EXPECT_TRUE(host_->list_events(events));
    return events.type() == ZoHmiSrv::ValueType::Vector ? json(server::value_json(events)) : json::array();
}

std::size_t LiveServer::said(const std::string& first_words) const {
    const std::lock_guard lock(mutex_);
    const auto found = said_.find(first_words);
    return found != said_.end() ? found->second : 0;
}

std::string LiveServer::last_words() const {
    const std::lock_guard lock(mutex_);
    std::string words;
    for (std::size_t i = lines_.size() > 40 ? lines_.size() - 40 : 0; i < lines_.size(); ++i)
        words += lines_[i] + "\n";
    return words;
}

void LiveServer::change_config(const json& config) {
    write_file(config_, config.dump());
    host_->tell(configuration_->reload());
}

void LiveServer::stop() {
    if (!library_) return;
    host_->shut_down();
    library_.reset();
}

void LiveServer::hear(const std::string& line) {
    const std::lock_guard lock(mutex_);
    std::size_t end = line.find_first_of(" ,");
    if (line.starts_with("log ")) end = line.find(' ', end + 1);
    ++said_[line.substr(0, end)];
    // The stream of events would drown the rest.
    if (line.starts_with("message ") || line.starts_with("forgotten ")) return;
    lines_.push_back(line);
    if (lines_.size() > 1000) lines_.erase(lines_.begin(), lines_.begin() + 500);
}

} // namespace programs
