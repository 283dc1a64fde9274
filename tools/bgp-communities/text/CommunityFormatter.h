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

/** How much JSON says of a value: its members with their fields; its octets in the library's order
    and as a path attribute as well; or every text form and selection too. */
enum class Detail { lean, whole, withForms };

/** The library's text of a member shows all that the program's name would. */
bool isNamedByLibrary(CommunityKind kind, Octets member);

/**
 * Formats members of lists: the library's text, the program's name and the dictionary's meaning,
 * all that is known as JSON, and the octets as on the wire. Members are as the lists have them:
 * values, or pointers to interned objects.
 *
 * Owns the memory that the texts are made in, and reuses it. The dictionary is not owned.
 * Thread-compatible.
 */
class CommunityFormatter {
  public:
    using ExtComm = Routing::Bgp::ExtComm;
    using ExtCommIp6 = Routing::Bgp::ExtCommIp6;

    /** `dictionary` may be null. */
    explicit CommunityFormatter(Dictionary const* dictionary = nullptr)
      : dictionary_(dictionary) {}

    // For people; good until the next call.
    std::string_view text(Routing::Bgp::U32 community);
    std::string_view text(ExtComm::PtrConst const& extComm);
    std::string_view text(ExtCommIp6::PtrConst const& extCommIp6);
    std::string_view text(Acl::CommunityValue const& community);

    void writeJson(JsonWriter& json, Routing::Bgp::U32 community, Detail detail);
    void writeJson(JsonWriter& json, ExtComm::PtrConst const& extComm, Detail detail);
    void writeJson(JsonWriter& json, ExtCommIp6::PtrConst const& extCommIp6, Detail detail);
    void writeJson(JsonWriter& json, Acl::CommunityValue const& community, Detail detail);

    /** Appends a tab and the name that the program has for the member, if `text()` does not show
        it, and a tab and what the dictionary says, if it does. */
    template <class Member>
    void appendNotes(std::string& out, CommunityKind kind, Member const& member) {
        appendNotes(out, kind, octets(member));
    }

    /** One of the texts that the library prints for an extended community is `printed`. */
    bool prints(ExtComm::PtrConst const& extComm, std::string_view printed);
    bool prints(ExtCommIp6::PtrConst const& extCommIp6, std::string_view printed);

    /** The octets of a member as on the wire; good until the next call. */
    template <class Member>
    Octets octets(Member const& member) {
        octets_.clear();
        appendOctets(octets_, member);
        return octetsOf(octets_);
    }

    static void appendOctets(std::string& out, Routing::Bgp::U32 community);
    static void appendOctets(std::string& out, ExtComm::PtrConst const& extComm);
    static void appendOctets(std::string& out, ExtCommIp6::PtrConst const& extCommIp6);
    static void appendOctets(std::string& out, Acl::CommunityValue const& community);

  private:
    template <class Member>
    void writeOctets(JsonWriter& json, Member const& member);

    /** Of the octets that were made last. */
    void writeMeaning(JsonWriter& json, CommunityKind kind);
    void appendNotes(std::string& out, CommunityKind kind, Octets member);

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
