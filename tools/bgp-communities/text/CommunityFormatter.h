#pragma once

#include <string>
#include <string_view>

#include <Acl/CommunityValue.h>
#include <Mox/TextStream.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunity.h>

#include "CommunityName.h"
#include "JsonWriter.h"

namespace BgpCommunities {

/** How much JSON says of a value: all its fields, or every text form and selection as well. */
enum class Detail { whole, withForms };

/**
 * Puts members of lists into words: the library's text, all that is known of one as JSON, and its
 * octets as on the wire. Members are as the lists have them: values, or pointers to interned
 * objects.
 *
 * It owns the memory that the texts are made in, and uses it again. Thread-compatible.
 */
class CommunityFormatter {
  public:
    using ExtComm = Routing::Bgp::ExtComm;
    using ExtCommIp6 = Routing::Bgp::ExtCommIp6;

    // For people; good until the next call.
    std::string_view text(Routing::Bgp::U32 community);
    std::string_view text(ExtComm::PtrConst const& extComm);
    std::string_view text(ExtCommIp6::PtrConst const& extCommIp6);
    std::string_view text(Acl::CommunityValue const& community);

    void writeJson(JsonWriter& json, Routing::Bgp::U32 community, Detail detail);
    void writeJson(JsonWriter& json, ExtComm::PtrConst const& extComm, Detail detail);
    void writeJson(JsonWriter& json, ExtCommIp6::PtrConst const& extCommIp6, Detail detail);
    void writeJson(JsonWriter& json, Acl::CommunityValue const& community, Detail detail);

    // Whether one of the texts that are printed for it, or its octets, is `name`.
    bool isMeant(Routing::Bgp::U32 community, CommunityName const& name);
    bool isMeant(ExtComm::PtrConst const& extComm, CommunityName const& name);
    bool isMeant(ExtCommIp6::PtrConst const& extCommIp6, CommunityName const& name);
    bool isMeant(Acl::CommunityValue const& community, CommunityName const& name);

    static void appendOctets(std::string& out, Routing::Bgp::U32 community);
    static void appendOctets(std::string& out, ExtComm::PtrConst const& extComm);
    static void appendOctets(std::string& out, ExtCommIp6::PtrConst const& extCommIp6);
    static void appendOctets(std::string& out, Acl::CommunityValue const& community);

  private:
    /** Good until the next call. */
    template <class Member>
    std::string_view octets(Member const& member);

    template <class Member>
    void writeOctets(JsonWriter& json, Member const& member);

    template <class Comm>
    void writeExtended(JsonWriter& json, Mox::PtrConst<Comm> const& comm, Detail detail);

    template <class Comm>
    bool isExtendedMeant(Mox::PtrConst<Comm> const& comm, CommunityName const& name);

    template <class Comm>
    std::string_view show(Comm const& comm);

    template <class Comm>
    std::string_view subtype(Comm const& comm);

    Mox::TextStream buffer_;
    std::string octets_;
};

} // namespace BgpCommunities
