#pragma once

/// Marks what the shared libraries export; every other symbol is hidden.
#define VOBGP_EXPORT __attribute__((visibility("default")))
