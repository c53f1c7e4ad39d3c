#pragma once

#include <filesystem>
#include <memory>

namespace ZoHmiSrv {
class IZoHmiSrvExt;
class IZoHmiSrvExtHost;
} // namespace ZoHmiSrv

namespace server {

/// The version of the extension interface that this server speaks.
inline constexpr double interface_version = 22.0;

/// A loaded extension: the shared object and the one object that its entry function made. Destroying it deletes the
/// extension through its server interface and unloads the shared object, in this order.
class ExtensionLibrary {
public:
    /// Loads `file` and calls its `ext_interface` with `host`, which must outlive this object. Throws
    /// std::runtime_error when the file cannot be loaded, has no entry, hands out no extension, or has a version other
    /// than `interface_version`; nothing stays loaded then.
    ExtensionLibrary(const std::filesystem::path& file, ZoHmiSrv::IZoHmiSrvExtHost* host);
    ~ExtensionLibrary();
    ExtensionLibrary(const ExtensionLibrary&) = delete;
    ExtensionLibrary& operator=(const ExtensionLibrary&) = delete;

    [[nodiscard]] ZoHmiSrv::IZoHmiSrvExt& extension() { return *extension_; }
    [[nodiscard]] double version() const { return version_; }

private:
    struct Unload {
        void operator()(void* handle) const;
    };

    // Destroyed last to first: the object before the code that it runs.
    std::unique_ptr<void, Unload> handle_;
    std::unique_ptr<ZoHmiSrv::IZoHmiSrvExt> extension_;
    double version_ = 0;
};

} // namespace server
