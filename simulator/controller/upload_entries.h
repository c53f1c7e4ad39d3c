#pragma once

#include "simulator/controller/plant.h"

#include <string>

namespace zo_sim {

/// The symbol block and the type block, which clients upload.
struct UploadBlocks {
    Bytes symbols;
    Bytes datatypes;
};
UploadBlocks make_upload_blocks(const Plant& plant);

/// Returns the entry that the device answers for a path (UTF-8) of the plant.
Bytes make_symbol_entry(const Plant& plant, const Place& place, const std::string& path);

} // namespace zo_sim
