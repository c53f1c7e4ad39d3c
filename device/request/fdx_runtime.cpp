#include "device/request/fdx_runtime.h"

#include <utility>

namespace ZoHmiFdx {

FdxRuntime::FdxRuntime(std::string name, NrxAddr address, std::string text)
    : name_(std::move(name)), address_(address), text_(std::move(text)) {
}

} // namespace ZoHmiFdx
