#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <string>
#include <string_view>

namespace Kel {

using Mox::U32;

/// Where a debug dump goes: one line per item, indented, children two columns deeper.
///
/// An agent derives from it to have dumps on its own channel. Owned by whoever dumps.
/// Thread-compatible.
class VOBGP_EXPORT DumpContext : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DumpContext)

    /// A piece of the dump; lines end in a newline that is part of it.
    virtual void write(std::string_view text) const = 0;

    /// One line: `indent` spaces, the text, a newline.
    void line(U32 indent, std::string_view text) const;

    /// Dumps a part of the object that is being dumped.
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
