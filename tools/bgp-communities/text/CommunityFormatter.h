#pragma once

#include <string>
#include <string_view>

#include <Acl/CommunityValue.h>
#include <Mox/TextStream.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunity.h>

#include "Dictionary.h"
#include "JsonWriter.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// The detail of JSON output: members with their fields; also the octets in the library's order and
/// as a path attribute; also every text form and selection.
enum class Detail { lean, whole, withForms };

/// Whether the library's text of a member shows as much as the program's name for it.
bool isNamedByLibrary(CommunityKind kind, Octets member);

/// Formats members of lists: as text (library's text, program's name, dictionary's meaning), as
/// JSON and as octets on the wire. Members are values or pointers to interned objects, as in the
/// lists.
///
/// Owns its buffers and reuses them; does not own the dictionary. Thread-compatible.
class CommunityFormatter {
  public:
    using ExtComm = Routing::Bgp::ExtComm;
    using ExtCommIp6 = Routing::Bgp::ExtCommIp6;

    /// `dictionary` may be null.
    explicit CommunityFormatter(Dictionary const* dictionary = nullptr)
      : dictionary_(dictionary) {}

    // The library's text. Invalidated by the next call.
    std::string_view text(U32 community);
    std::string_view text(ExtComm::PtrConst const& extComm);
    std::string_view text(ExtCommIp6::PtrConst const& extCommIp6);
    std::string_view text(Acl::CommunityValue const& community);

    void writeJson(JsonWriter& json, U32 community, Detail detail);
    void writeJson(JsonWriter& json, ExtComm::PtrConst const& extComm, Detail detail);
    void writeJson(JsonWriter& json, ExtCommIp6::PtrConst const& extCommIp6, Detail detail);
    void writeJson(JsonWriter& json, Acl::CommunityValue const& community, Detail detail);

    /// Appends a tab and the program's name for the member unless `text()` shows it, then a tab and
    /// the dictionary's description if it has one.
    template <class Member>
    void appendNotes(std::string& out, CommunityKind kind, Member const& member) {
        appendNotes(out, kind, octets(member));
    }
    /// The same, for a member as on the wire.
    void appendNotes(std::string& out, CommunityKind kind, Octets member);

    /// Whether `printed` is one of the library's texts for an extended community.
    bool prints(ExtComm::PtrConst const& extComm, std::string_view printed);
    bool prints(ExtCommIp6::PtrConst const& extCommIp6, std::string_view printed);

    /// The octets of a member as on the wire. Invalidated by the next call.
    template <class Member>
    Octets octets(Member const& member) {
        octets_.clear();
        appendOctets(octets_, member);
        return octetsOf(octets_);
    }

    static void appendOctets(std::string& out, U32 community);
    static void appendOctets(std::string& out, ExtComm::PtrConst const& extComm);
    static void appendOctets(std::string& out, ExtCommIp6::PtrConst const& extCommIp6);
    static void appendOctets(std::string& out, Acl::CommunityValue const& community);

  private:
    template <class Member>
    void writeOctets(JsonWriter& json, Member const& member);

    /// Uses the octets of the last `octets()` call.
    void writeMeaning(JsonWriter& json, CommunityKind kind);

    template <class Comm>
    void writeExtended(JsonWriter& json, CommunityKind kind, Mox::PtrConst<Comm> const& comm,
                       Detail detail);

    template <class Comm>
    bool printsForm(Mox::PtrConst<Comm> const& comm, std::string_view printed);

    template <class Comm>
    std::string_view show(Comm const& comm);

    template <class Comm>
    std::string_view subtype(Comm const& comm);

    Dictionary const* dictionary_;
    Mox::TextStream buffer_;
    std::string octets_;
    std::string name_;
};

} // namespace BgpCommunities
