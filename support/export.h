#pragma once

/// Marks the interface of the two libraries inside the product; all other symbols are hidden.
#define ZO_EXPORT __attribute__((visibility("default")))
