#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <string>
#include <string_view>

namespace Kel {

using Mox::U32;

/// The output of a debug dump: one line per item, children indented by two more columns.
///
/// Derive from it to write dumps to another channel. Thread-compatible.
class VOBGP_EXPORT DumpContext : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DumpContext)

    /// Writes a part of the dump; lines include their newline.
    virtual void write(std::string_view text) const = 0;

    /// Writes `indent` spaces, the text and a newline.
    void line(U32 indent, std::string_view text) const;

    /// Dumps a child of the current object.
    template <class Child>
    void dumpChild(Child const& child, U32 indent) const {
        child.dumpState(PtrConst(this), indent);
    }
};

/// A dump into a string.
class VOBGP_EXPORT StringDumpContext : public DumpContext {
  public:
    MOX_COUNTED(StringDumpContext)

    void write(std::string_view text) const override { text_.append(text); }
    std::string const& text() const noexcept { return text_; }

  private:
    mutable std::string text_;
};

} // namespace Kel
