#pragma once

#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Routing/Bgp/Serialize.h>
#include <VoBgp/BgpPathAttributeEnums.h>

namespace Routing::Bgp {

/// The header of a path attribute (RFC 4271, section 4.3), `size` octets of it, 3 or 4.
struct PathAttributeHeader {
    char octets[4];
    U32 size;
};

/// The header of an attribute whose value is `attrSize` octets long. A length above 255 sets the
/// extended-length flag. REQUIRES: type and flags fit an octet; the length is at most 65,535
/// (asserted).
VOBGP_EXPORT PathAttributeHeader pathAttributeHeader(BgpPathAttrType attrType,
                                                     BgpPathAttrFlag attrFlags, U32 attrSize);

/// A path attribute under construction (RFC 4271, section 4.3). The constructor writes the header;
/// the caller appends the value.
///
///     octet    0       1       2       3 ...
///          +-------+-------+-------+---------+
///          | flags | type  |length |  value  |           extended-length flag (0x10) clear
///          +-------+-------+-------+-------+-+-------+
///          | flags | type  |    length     |  value  |   extended-length flag set
///          +-------+-------+---------------+---------+
///
/// A length above 255 sets the flag; a caller may pass it to force the long form.
class VOBGP_EXPORT SerializePathAttribute : public Serialize {
  public:
    /// `attrSize` is the length of the value that will follow.
    SerializePathAttribute(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags, U32 attrSize);

    /// Starts another attribute in the same buffer.
    void clearAndReInit(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags, U32 attrSize);

    /// Appends a header. The declared length of the value does not change.
    void reInitHdr(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags, U32 attrSize);

    using Serialize::serializedString;

    /// The whole attribute. REQUIRES: the value has the declared length (asserted).
    String serializedString() const;

    /// Octets of the header: 3 or 4.
    U32 headerSize() const noexcept { return headerSize_; }

    /// The declared length of the value.
    U32 attrSize() const noexcept { return attrSize_; }

  private:
    U32 headerSize_ = 0;
    U32 attrSize_ = 0;
};

/// A path attribute whose value is written before its length is known.
///
/// The value starts at offset 4, after space for the longer header; the header is written last and
/// ends where the value begins.
///
///     offset   0       1       2       3       4
///          +-------+-------+-------+-------+---------+
///          |       | flags | type  |length |  value  |   up to 255 octets
///          +-------+-------+-------+-------+---------+
///          | flags | type  |    length     |  value  |   more
///          +-------+-------+---------------+---------+
class VOBGP_EXPORT SerializePathAttributeAutoExtLen : public SerializePathAttribute {
  public:
    SerializePathAttributeAutoExtLen();

    /// The value.
    String serializeAttributeValue() const { return serializedString(valueOffset); }

    /// The attribute: header and value. The flags must not hold 0x10 for a value of up to 255
    /// octets, whose first octet the longer header would overwrite; the length is taken modulo
    /// 65,536.
    String patchHdrAndStringify(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags);

  private:
    static constexpr U32 valueOffset = 4;
};

/// A TLV of the BGP Prefix-SID attribute under construction (RFC 8669, section 3). The constructor
/// writes the header; the caller appends the body.
///
///     octet    0       1       2       3 ...
///          +-------+---------------+--------+
///          | type  |    length     |  body  |
///          +-------+---------------+--------+
class VOBGP_EXPORT SerializedBgpPrefixSidAttribute : public Serialize {
  public:
    /// `length` is that of the body.
    SerializedBgpPrefixSidAttribute(PrefixSidTlvType tlvType, U16 length);
};

} // namespace Routing::Bgp
