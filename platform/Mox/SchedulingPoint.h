#pragma once

/// MOX_SCHEDULING_POINT(step) marks a step of a protocol between threads, by a name that the model
/// of the protocol has as well (models/README.md).
///
/// Empty, except where a test is built with MOX_SCHEDULING_POINTS: there each thread calls
/// Mox::schedulingPoint(), which the test defines, before the step. It may delay the thread so that
/// others run in between.
#ifdef MOX_SCHEDULING_POINTS

namespace Mox {

void schedulingPoint(char const* step) noexcept;

} // namespace Mox

#define MOX_SCHEDULING_POINT(step) ::Mox::schedulingPoint(#step)

#else

#define MOX_SCHEDULING_POINT(step) static_cast<void>(0)

#endif
