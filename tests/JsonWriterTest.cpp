#include "JsonWriter.h"

#include <limits>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "ExtCommFormatter.h"

namespace BgpCommunities {
namespace {

using namespace std::string_view_literals;

TEST(JsonWriterTest, ValuesAreSeparatedWhereverTheyStand) {
    std::string out;
    JsonWriter json(out);
    json.beginObject().key("a").number(std::numeric_limits<std::int64_t>::min());
    json.key("b").beginArray().boolean(true).beginObject().endObject().beginArray().endArray();
    json.string("x").endArray().key("c").number(std::numeric_limits<std::uint64_t>::max());
    json.key("d").beginObject().key("e").boolean(false).endObject().endObject();
    EXPECT_EQ(out, R"({"a":-9223372036854775808,"b":[true,{},[],"x"],"c":18446744073709551615,)"
                   R"("d":{"e":false}})");
}

TEST(JsonWriterTest, StringsAreValidWhateverTheyHold) {
    struct Row {
        std::string_view text;
        char const* json;
    };

    Row const rows[] = {
        {"say \"a\\b\"", R"("say \"a\\b\"")"},
        {"a\nb\tc\0d\x7f"sv, R"("a\u000ab\u0009c\u0000d\u007f")"},
        {"Z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80",
         "\"Z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80\""},
        {"\xfc\x62"sv, R"("\u00fcb")"},                          // not UTF-8
        {"\xe2\x82"sv, R"("\u00e2\u0082")"},                     // cut
        {"\xe2\x82x"sv, R"("\u00e2\u0082x")"},                   // broken off
        {"\xc0\xaf"sv, R"("\u00c0\u00af")"},                     // longer than need be
        {"\xed\xa0\x80"sv, R"("\u00ed\u00a0\u0080")"},           // half a surrogate pair
        {"\xf4\x90\x80\x80"sv, R"("\u00f4\u0090\u0080\u0080")"}, // beyond Unicode
        {"\xc2\x85"sv, R"("\u00c2\u0085")"},                     // a control character
    };
    for (Row const& row : rows) {
        std::string out;
        JsonWriter(out).string(row.text);
        EXPECT_EQ(out, row.json);
    }
}

TEST(ExtCommFormatterTest, FieldsFollowTheObjectThatACommunityBecame) {
    using namespace Routing::Bgp;

    struct Row {
        ExtComm::PtrConst extComm;
        char const* fields;
    };

    auto const plain = extCommClassificationUnSpecified;
    Row const rows[] = {
        {ExtCommAsNumber::ExtCommAsNumberIs(plain, ExtCommContent(0x0009fffefffffffd), false),
         R"({"as":65534,"local":4294967293})"},
        {ExtCommAsNumber::ExtCommAsNumberIs(plain, ExtCommContent(0x0209fffffffefffd), true),
         R"({"as":4294967294,"local":65533})"},
        {Mox::makeActive<ExtCommIpv4Address>(plain, ExtCommContent(0x01050a00000180c8)),
         R"({"address":"10.0.0.1","local":32968})"},
        {ExtCommSubtyped::ExtCommSubtypedIs(plain, ExtCommContent(0x0306000000000100)), "{}"},
    };
    ExtCommFormatter formatter;
    for (Row const& row : rows) {
        std::string out;
        JsonWriter json(out);
        formatter.writeJson(json, *row.extComm);
        EXPECT_TRUE(
            out.ends_with(std::string(R"(,"transitive":true,"fields":)") + row.fields + "}"))
            << out;
        EXPECT_NE(out.find(R"("text":")" + row.extComm->toStrep().str() + R"(")"),
                  std::string::npos)
            << out;
    }
}

} // namespace
} // namespace BgpCommunities
