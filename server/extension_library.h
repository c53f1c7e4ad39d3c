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

/// A loaded extension: the shared object and the object that its entry function created. The destructor deletes that
/// object through its server interface and then unloads the shared object. [one thread]
class ExtensionLibrary {
public:
    /// Loads `file` and calls its `ext_interface` with `host`, which must outlive this object. Throws
    /// std::runtime_error when the file cannot be loaded, has no entry, creates no extension, or has another version
    /// than `interface_version`. Nothing stays loaded then.
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

    // Destroyed last to first: the object before its code.
    std::unique_ptr<void, Unload> handle_;
    std::unique_ptr<ZoHmiSrv::IZoHmiSrvExt> extension_;
    double version_ = 0;
};

} // namespace server
