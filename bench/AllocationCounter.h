#pragma once

/// How many allocations the process has made so far, every `new` of it counted.
unsigned long allocationsSoFar() noexcept;
