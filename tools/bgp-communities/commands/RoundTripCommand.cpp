#include "Commands.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "DumpFiles.h"
#include "input/Hex.h"
#include "lists/Agent.h"
#include "lists/ListKinds.h"
#include "text/AttributeVerdict.h"
#include "text/JsonWriter.h"
#include "text/Output.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr Option roundTripOptions[] = {{jsonOption}, addPathOption, {verboseOption}};

constexpr std::string_view roundTripHelp =
    R"(usage: bgp-communities roundtrip [--json] [--add-path[=HOW]] [--verbose] FILE...

Checks that decoding and encoding preserves the communities of MRT dumps (RFC 6396, RFC 8050). Every
well-formed community attribute (types 8, 16, 25 and 32, also duplicates) is decoded, interned and
serialized, and the result is compared with its distinct members in ascending order, encoded without
the library.
A FILE may be compressed (gzip, bzip2, xz, zstd). Without FILE, or for "-", reads standard input.

  --json            print the result as one JSON object
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

An attribute that the library refuses (two different link bandwidths or origin validation states) is
reported on standard error and counted as refused. Every attribute that differs is reported with
file, record and octets as read, as expected and as written; the exit status is then 3.

examples:
  bgp-communities roundtrip updates.*.gz
  bgp-communities roundtrip --json rib.bz2
)";

/// Encodes the distinct members of a value in ascending order, independently of the library.
std::string expectedEncoding(CommunityKind kind, Octets value) {
    std::size_t const size = traitsOf(kind).memberOctets;
    std::string_view const octets(reinterpret_cast<char const*>(value.data()), value.size());
    std::vector<std::string_view> members;
    for (std::size_t at = 0; at < octets.size(); at += size) {
        members.push_back(octets.substr(at, size));
    }
    // Every kind is ordered by unsigned octets.
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    std::size_t const length = members.size() * size;
    std::string wire;
    wire += static_cast<char>(length > 255 ? 0xd0 : 0xc0);
    wire += static_cast<char>(traitsOf(kind).attributeType);
    if (length > 255) {
        wire += static_cast<char>(length >> 8);
    }
    wire += static_cast<char>(length & 0xff);
    for (auto const member : members) {
        wire += member;
    }
    return wire;
}

/// Decodes an attribute and serializes its list, if accepted.
Routing::Bgp::AttributeVerdict rewrite(Agent const& agent, CommunityAttribute const& attribute,
                                       Mox::String& written) {
    Routing::Bgp::AttributeVerdict verdict{};
    withKind(attribute.kind, [&]<class Kind>(Kind) {
        auto const decoded = agent.list<Kind>(attribute.value);
        verdict = decoded.verdict;
        if (decoded) {
            written = Kind::wire(*decoded.list);
        }
    });
    return verdict;
}

/// Compares every attribute in the dumps with its serialized list.
///
/// Owns the agent; releases each list after its comparison. Thread-compatible.
class RoundTrip final : public DumpHandler {
  public:
    using DumpHandler::DumpHandler;

    void handleUpdate(Update const& update) override { check(update.at, update.communities); }

    void handleRibEntry(RibEntry const& entry) override { check(entry.at, entry.communities); }

    [[nodiscard]] U64 compared() const { return compared_; }

    [[nodiscard]] U64 refused() const { return refused_; }

    [[nodiscard]] U64 differing() const { return differing_; }

  private:
    void check(RecordPosition const& at, std::span<CommunityAttribute const> communities) {
        for (CommunityAttribute const& attribute : communities) {
            if (attribute.form() == CommunityAttribute::Form::wellFormed) {
                check(at, attribute);
            }
        }
    }

    void check(RecordPosition const& at, CommunityAttribute const& attribute) {
        Mox::String written;
        auto const verdict = rewrite(agent_, attribute, written);
        if (verdict != Routing::Bgp::AttributeVerdict::accepted) {
            ++refused_;
            refuse(at, verdictText(verdict, attribute.kind, attribute.value.size()));
            return;
        }
        ++compared_;
        std::string const expected = expectedEncoding(attribute.kind, attribute.value);
        if (std::string_view(written) != expected) {
            ++differing_;
            complainOf(at, attribute, expected, written);
        }
    }

    void complainOf(RecordPosition const& at, CommunityAttribute const& attribute,
                    std::string_view expected, std::string_view written) const {
        std::string line(file());
        line += ": record " + std::to_string(at.number) + " at octet " + std::to_string(at.offset) +
                ": attribute " + std::to_string(traitsOf(attribute.kind).attributeType) + " of ";
        appendHex(line, attribute.value);
        line += ": expected ";
        appendHex(line, octetsOf(expected));
        line += ", written ";
        appendHex(line, octetsOf(written));
        complain(line);
    }

    Agent agent_;
    U64 compared_ = 0;
    U64 refused_ = 0;
    U64 differing_ = 0;
};

void writeJson(std::string& out, RoundTrip const& result) {
    JsonWriter json(out);
    json.beginObject()
        .key("compared")
        .number(result.compared())
        .key("refused")
        .number(result.refused())
        .key("differing")
        .number(result.differing())
        .endObject();
}

void writeText(std::string& out, RoundTrip const& result) {
    out += std::to_string(result.compared()) + " attributes compared, " +
           std::to_string(result.refused()) + " refused: ";
    out +=
        result.differing() == 0 ? "none differs" : std::to_string(result.differing()) + " differ";
}

ExitStatus roundTrip(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    RoundTrip roundTrip(arguments.has(verboseOption));
    ExitStatus const status = readDumps(input, roundTrip).status;
    (arguments.has(jsonOption) ? writeJson : writeText)(output.text(), roundTrip);
    output.endLine();
    return roundTrip.differing() == 0 ? status : worse(status, ExitStatus::unreadable);
}

} // namespace

Command const roundTripCommand = {"roundtrip", "check that attributes in MRT dumps are preserved",
                                  roundTripHelp, roundTripOptions, roundTrip};

} // namespace BgpCommunities
