#include <VoBgp/VoBgpSerialize.h>

#include <Mox/Assert.h>

#include <algorithm>

namespace Routing::Bgp {

namespace {
constexpr U32 longHeaderSize = 4;
constexpr U32 shortHeaderSize = 3;
constexpr U32 longestShortValue = 255;
constexpr U32 longestValue = 0xffff;
} // namespace

PathAttributeHeader pathAttributeHeader(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags,
                                        U32 attrSize) {
    auto const type = static_cast<U32>(attrType);
    auto flags = static_cast<U32>(attrFlags);
    MOX_ASSERT_TEXT(type <= 0xff, "attrType <= 0xFF");
    MOX_ASSERT_TEXT(flags <= 0xff, "attrFlags <= 0xFF");
    constexpr auto extLen = static_cast<U32>(BgpPathAttrFlag::extLen);
    if (attrSize > longestShortValue) {
        flags |= extLen;
    }
    PathAttributeHeader header{{static_cast<char>(flags), static_cast<char>(type)}, 0};
    if ((flags & extLen) != 0) {
        MOX_ASSERT_TEXT(attrSize <= longestValue, "attrSize <= 0xFFFF");
        Mox::writeNetworkOrder(header.octets + 2, static_cast<U16>(attrSize));
        header.size = longHeaderSize;
    } else {
        header.octets[2] = static_cast<char>(attrSize);
        header.size = shortHeaderSize;
    }
    return header;
}

SerializePathAttribute::SerializePathAttribute(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags,
                                               U32 attrSize) {
    clearAndReInit(attrType, attrFlags, attrSize);
}

void SerializePathAttribute::clearAndReInit(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags,
                                            U32 attrSize) {
    sizeIs(0);
    // Reserves nothing for arguments that `reInitHdr()` rejects.
    growBuffer(std::min(attrSize, longestValue) + longHeaderSize);
    attrSize_ = attrSize;
    reInitHdr(attrType, attrFlags, attrSize);
}

void SerializePathAttribute::reInitHdr(BgpPathAttrType attrType, BgpPathAttrFlag attrFlags,
                                       U32 attrSize) {
    auto const header = pathAttributeHeader(attrType, attrFlags, attrSize);
    for (U32 i = 0; i < header.size; ++i) {
        addU8(static_cast<U8>(header.octets[i]));
    }
    headerSize_ = header.size;
}

String SerializePathAttribute::serializedString() const {
    auto serialized = serializedString(0);
    MOX_ASSERT(serialized.size() == attrSize_ + headerSize_);
    return serialized;
}

SerializePathAttributeAutoExtLen::SerializePathAttributeAutoExtLen()
  : SerializePathAttribute(BgpPathAttrType::invalidPathAttr, BgpPathAttrFlag::extLen, 0) {
    static_assert(valueOffset == longHeaderSize);
}

String SerializePathAttributeAutoExtLen::patchHdrAndStringify(BgpPathAttrType attrType,
                                                              BgpPathAttrFlag attrFlags) {
    auto const end = size();
    auto const length = (end - valueOffset) & longestValue;
    U32 const start = length <= longestShortValue ? valueOffset - shortHeaderSize : 0;
    sizeIs(start);
    reInitHdr(attrType, attrFlags, length);
    sizeIs(end);
    return serializedString(start);
}

SerializedBgpPrefixSidAttribute::SerializedBgpPrefixSidAttribute(PrefixSidTlvType tlvType,
                                                                 U16 length) {
    addU8(static_cast<U8>(tlvType));
    addU16hton(length);
}

} // namespace Routing::Bgp
