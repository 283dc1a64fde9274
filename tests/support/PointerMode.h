#pragma once

#include <Mox/CountWord.h>
#include <Routing/Bgp/VoBgpGlobals.h>

#include <gtest/gtest.h>

/// Sets the pointer mode of the test process during its lifetime.
class PointerMode {
  public:
    explicit PointerMode(bool threadSafe) {
        Mox::threadSafePtrsIs(threadSafe);
        Routing::Bgp::VoBgpGlobals::multiThreadedIs(threadSafe);
    }
    ~PointerMode() {
        Routing::Bgp::VoBgpGlobals::multiThreadedIs(false);
        Mox::threadSafePtrsIs(false);
    }
    PointerMode(PointerMode const&) = delete;
    PointerMode& operator=(PointerMode const&) = delete;
};

inline std::string pointerModeName(testing::TestParamInfo<bool> const& info) {
    return info.param ? "ThreadSafe" : "Plain";
}

inline auto bothPointerModes() {
    return testing::Bool();
}
