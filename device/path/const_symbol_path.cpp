#include "device/path/const_symbol_path.h"

#include "extension/host/algorithm.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace ZoHmiFdx {

namespace {

std::string join(const std::string& first, std::initializer_list<const std::string*> others) {
    std::string joined = first;
    for (const std::string* part : others)
        joined.append(path_separator()).append(*part);
    return joined;
}

} // namespace

ConstSymbolPath::ConstSymbolPath(std::string path) noexcept : text_(std::move(path)) {
}

ConstSymbolPath::ConstSymbolPath(const std::string& first, const std::string& second) : text_(join(first, {&second})) {
}

ConstSymbolPath::ConstSymbolPath(const std::string& first, const std::string& second, const std::string& third)
    : text_(join(first, {&second, &third})) {
}

ConstSymbolPath::ConstSymbolPath(const std::string& first, const std::string& second, const std::string& third,
                                 const std::string& fourth)
    : text_(join(first, {&second, &third, &fourth})) {
}

const std::vector<std::string>& ConstSymbolPath::parts() {
    if (!parts_) parts_ = ZoHmiSrv::Algorithm::split_symbol_name(text_.c_str());
    return *parts_;
}

std::size_t ConstSymbolPath::num_parts() {
    return parts().size();
}

const std::string& ConstSymbolPath::at(std::size_t index) {
    return parts().at(index);
}

bool ConstSymbolPath::starts_with(const char* first) {
    return begins_with({first});
}

bool ConstSymbolPath::starts_with(const char* first, const char* second) {
    return begins_with({first, second});
}

bool ConstSymbolPath::starts_with(const char* first, const char* second, const char* third) {
    return begins_with({first, second, third});
}

bool ConstSymbolPath::starts_with(const char* first, const char* second, const char* third, const char* fourth) {
    return begins_with({first, second, third, fourth});
}

bool ConstSymbolPath::begins_with(std::initializer_list<const char*> first_parts) {
    return num_parts() >= first_parts.size() &&
           std::equal(first_parts.begin(), first_parts.end(), parts_->begin(),
                      [](const char* wanted, const std::string& part) { return part == (wanted ? wanted : ""); });
}

std::string ConstSymbolPath::to_mapping_name() const {
    std::string name = text_;
    ZoHmiSrv::Algorithm::replace(name, path_separator(), ".");
    return name;
}

void ConstSymbolPath::sanity_check() const {
    assert(!parts_ || *parts_ == ZoHmiSrv::Algorithm::split_symbol_name(text_.c_str()));
}

} // namespace ZoHmiFdx
