#pragma once

#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/AddPath.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/// The layout of the body of a BGP4MP subtype (RFC 6396, section 4.4; RFC 8050, section 3).
struct Bgp4mpForm {
    enum class Content : U8 { unsupported, stateChange, message };

    Content content = Content::unsupported;
    bool as4 = false;
    bool local = false; // the message was sent to the peer, not received from it
    bool pathIds = false;
};

/// `content` is `unsupported` for deprecated and unassigned subtypes.
Bgp4mpForm const& bgp4mpForm(U16 subtype);

/// The two ends of the BGP session of a record.
struct Bgp4mpEnds {
    Peer peer;
    IpAddress local; // the collector's address

    /// Sender and receiver of a message of this form.
    [[nodiscard]] MessageEnds of(Bgp4mpForm const& form) const {
        return form.local ? MessageEnds{local, peer.address} : MessageEnds{peer.address, local};
    }
};

/// Parses the fields before the states or the message.
///
/// Returns an error message, empty on success.
std::string_view readEnds(OctetReader& in, bool as4, Bgp4mpEnds& ends);

} // namespace BgpCommunities
