#pragma once

/// Marks what the two libraries inside the product offer to others; everything else stays hidden.
#define ZO_EXPORT __attribute__((visibility("default")))
