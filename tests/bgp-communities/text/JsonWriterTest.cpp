#include "text/JsonWriter.h"

#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <Mox/Ptr.h>
#include <VoBgp/Parse/ExtCommContainer.h>

#include "text/CommunityFormatter.h"

namespace BgpCommunities {
namespace {

using namespace std::string_view_literals;

TEST(JsonWriterTest, SeparatesValues) {
    std::string out;
    JsonWriter json(out);
    json.beginObject().key("a").number(std::numeric_limits<S64>::min());
    json.key("b").beginArray().boolean(true).beginObject().endObject().beginArray().endArray();
    json.string("x").endArray().key("c").number(std::numeric_limits<U64>::max());
    json.key("d").beginObject().key("e").boolean(false).endObject().endObject();
    EXPECT_EQ(out, R"({"a":-9223372036854775808,"b":[true,{},[],"x"],"c":18446744073709551615,)"
                   R"("d":{"e":false}})");
}

TEST(JsonWriterTest, WritesValidStrings) {
    struct Row {
        std::string_view text;
        char const* json;
    };

    Row const rows[] = {
        {"say \"a\\b\"", R"("say \"a\\b\"")"},
        {"a\nb\tc\0d\x7f"sv, R"("a\u000ab\u0009c\u0000d\u007f")"},
        {"Z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80",
         "\"Z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80\""},
        {"\xfc\x62"sv, R"("\u00fcb")"},      // not UTF-8
        {"\xe2\x82"sv, R"("\u00e2\u0082")"}, // truncated
        {"\xc3\xbc"sv.substr(0, 1), R"("\u00c3")"},
        {"\xe2\x82x"sv, R"("\u00e2\u0082x")"},                   // interrupted
        {"\xc0\xaf"sv, R"("\u00c0\u00af")"},                     // overlong
        {"\xed\xa0\x80"sv, R"("\u00ed\u00a0\u0080")"},           // half a surrogate pair
        {"\xf4\x90\x80\x80"sv, R"("\u00f4\u0090\u0080\u0080")"}, // beyond Unicode
        {"\xc2\x85"sv, R"("\u0085")"},                           // a control character
        {"\xe2\x80\xae"sv, R"("\u202e")"},                       // right-to-left override
    };
    for (Row const& row : rows) {
        std::string out;
        JsonWriter(out).string(row.text);
        EXPECT_EQ(out, row.json);
    }
}

TEST(JsonWriterTest, NumbersRoundTrip) {
    for (double const number :
         {0.0, -0.0, 1e6, 1e300, -1.5, static_cast<double>(0.1F), 2.2250738585072014e-308}) {
        std::string out;
        JsonWriter(out).real(number);
        EXPECT_EQ(std::stod(out), number) << out;
        EXPECT_EQ(out.starts_with("-0."), number == 0 && std::signbit(number))
            << "an integer has no negative zero: " << out;
    }
    std::string out;
    JsonWriter json(out);
    json.beginArray().real(std::numeric_limits<double>::infinity());
    json.real(std::numeric_limits<double>::quiet_NaN()).null().endArray();
    EXPECT_EQ(out, "[null,null,null]");
}

TEST(CommunityFormatterTest, WritesTheFieldsOfEachClass) {
    using namespace Routing::Bgp;

    struct Row {
        U64 community;
        char const* fields;
    };

    Row const rows[] = {
        {0x0009fffefffffffd, R"({"as":65534,"local":4294967293})"},
        {0x0209fffffffefffd, R"({"as":4294967294,"local":65533})"},
        {0x01050a00000180c8, R"({"address":"10.0.0.1","local":32968})"},
        {0x4004fbf04cee6b28, R"({"as":64496,"bytesPerSecond":1.25e+08})"},
        {0x400400003dcccccd, R"({"as":0,"bytesPerSecond":0.10000000149011612})"},
        {0x400400007fc00000, R"({"as":0,"bytesPerSecond":null})"},
        {0x40040000ff800000, R"({"as":0,"bytesPerSecond":null})"},
        {0x030b80000000002a, R"({"color":42,"co":"10"})"},
        {0x030b4000ffffffff, R"({"color":4294967295,"co":"01"})"},
        {0x030c000000000008, R"({"tunnelType":8,"tunnelName":"tunnelTypeVxlan"})"},
        {0x030c000000000005, R"({"tunnelType":5,"tunnelName":"tunnelTypeUnknown"})"},
        {0x030d000000000000, "{}"},
        {0x4300000000000000, R"({"state":"valid"})"},
        {0x4300000000000001, R"({"state":"not-found"})"},
        {0x4300000000000002, R"({"state":"invalid"})"},
        {0x43000000000000ff, R"({"state":"unknown"})"},
        {0x0306000000000100, "{}"},
        {0x0600000000000100, "{}"},
    };
    auto const parsers = bgpParseExtCommContainerSmFactory();
    CommunityFormatter formatter;
    for (Row const& row : rows) {
        auto const extComm =
            parsers->extCommParser()->parseExtendedCommunity(ExtCommContent(row.community));
        std::string out;
        JsonWriter json(out);
        formatter.writeJson(json, extComm, Detail::whole);
        EXPECT_TRUE(out.ends_with(std::string(R"(,"fields":)") + row.fields + "}")) << out;
        EXPECT_NE(out.find(R"("text":")" + extComm->toStrep().str() + R"(")"), std::string::npos)
            << out;
    }
}

} // namespace
} // namespace BgpCommunities
