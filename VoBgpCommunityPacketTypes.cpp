#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <Mox/Assert.h>
#include <Mox/EnumerationRegistrations.h>

#include <ostream>

namespace Routing::Bgp {

void appendCommunityValue(Mox::CharBuffer& out, ExtCommContent content, bool upperCase) {
    std::string_view const prefix(content.community() == 0 ? "00" : upperCase ? "0X" : "0x", 2);
    out.append(prefix);
    out.appendHex(content.community(), 16, upperCase);
}

std::ostream& operator<<(std::ostream& os, ExtCommContent const& content) {
    Mox::LocalCharBuffer<20> out;
    appendCommunityValue(out, content, (os.flags() & std::ios_base::uppercase) != 0);
    return os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
}

void appendExtCommType(Mox::CharBuffer& out, std::string_view suffix, U8 type, U8 subtype,
                       bool transitive) {
    constexpr unsigned nonTransitiveBit = 0x40;
    out.appendHex(type & ~nonTransitiveBit, 2).appendHex(subtype, 2).append(suffix);
    out.append(transitive ? "" : "(NT)");
}

String extCommTypeAsString(char const* suffix, U8 type, U8 subtype, bool transitive) {
    MOX_ASSERT_TEXT(suffix != nullptr, "__null != suffix");
    Mox::LocalCharBuffer<20> out;
    appendExtCommType(out, suffix, type, subtype, transitive);
    return out.string();
}

Mox::Type const& ExtCommContent::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, "Routing::Bgp::ExtCommContent",
        {Mox::readOnlyAttribute<ExtCommContent, &ExtCommContent::community>("community")});
    return type;
}

namespace {

Mox::Type const pktSubtypeType(Mox::Type::Kind::value, "Routing::Bgp::BgpExtCommPktSubtype",
                               {{"value", [](Mox::CharBuffer& out, void const* object) {
                                     Kel::writeMaybeU63(
                                         out, *static_cast<BgpExtCommPktSubtype const*>(object));
                                 }}});

Mox::TypeRegistration const packetTypeRegistrations[] = {
    Mox::TypeRegistration(ExtCommContent::staticType()),
    Mox::TypeRegistration(pktSubtypeType),
};

Mox::EnumerationRegistrations<
    BgpExtCommPktType, BgpExtCommPktSubtypeTransTwoOctetAs, BgpExtCommPktSubtypeTransIpv4Address,
    BgpExtCommPktSubtypeTransFourOctetAs, BgpExtCommPktSubtypeTransOpaque, BgpExtCommPktSubtypeEvpn,
    BgpExtCommPktSubtypeTransFlowspecRedirectNexthop, BgpExtCommPktSubtypeTransGeneric,
    BgpExtCommPktSubtypeTransGenericPart2, BgpExtCommPktSubtypeTransGenericPart3,
    BgpExtCommPktSubtypeNonTransTwoOctetAs, BgpExtCommPktSubtypeNonTransIpv4Address,
    BgpExtCommPktSubtypeNonTransFourOctetAs, BgpExtCommPktSubtypeNonTransOpaque,
    ExtCommClassification> const packetTypeEnumerations;

} // namespace

} // namespace Routing::Bgp
