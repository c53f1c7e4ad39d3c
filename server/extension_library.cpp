#include "server/extension_library.h"

#include "extension/host/host.h"
#include "extension/host/listeners.h"

#include <dlfcn.h>
#include <exception>
#include <stdexcept>
#include <string>

namespace server {

namespace {

using Entry = int(ZoHmiSrv::IZoHmiSrvExtHost*, ZoHmiSrv::IZoHmiSrvExt**, double*);

std::string last_error() {
    const char* text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

} // namespace

void ExtensionLibrary::Unload::operator()(void* handle) const {
    dlclose(handle);
}

ExtensionLibrary::ExtensionLibrary(const std::filesystem::path& file, ZoHmiSrv::IZoHmiSrvExtHost* host) {
    // For a name without a slash, dlopen searches other folders.
    handle_.reset(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!handle_) throw std::runtime_error("cannot load the extension: " + last_error());
    auto* entry = reinterpret_cast<Entry*>(dlsym(handle_.get(), "ext_interface"));
    if (entry == nullptr) throw std::runtime_error("the extension has no entry: " + last_error());
    ZoHmiSrv::IZoHmiSrvExt* extension = nullptr;
    int result = 0;
    std::string thrown;
    try {
        result = entry(host, &extension, &version_);
    } catch (const std::exception& error) {
        // Copied: the exception's code is unloaded with the shared object.
        thrown = std::string("the extension's entry threw: ") + error.what();
    } catch (...) {
        thrown = "the extension's entry threw an unknown object";
    }
    extension_.reset(extension);
    if (!thrown.empty()) throw std::runtime_error(thrown);
    if (result != 0 || !extension_) {
        throw std::runtime_error("the extension's entry created no extension, result " + std::to_string(result));
    }
    if (version_ != interface_version) {
        throw std::runtime_error("the extension has interface version " + std::to_string(version_) + ", not " +
                                 std::to_string(interface_version));
    }
}

ExtensionLibrary::~ExtensionLibrary() = default;

} // namespace server
