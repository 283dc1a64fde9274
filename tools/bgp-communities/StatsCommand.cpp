#include "StatsCommand.h"

#include <array>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Agent.h"
#include "DumpFiles.h"
#include "AttributeVerdict.h"
#include "JsonWriter.h"
#include "Output.h"
#include "TextTable.h"

namespace BgpCommunities {

namespace {

constexpr Option statsOptions[] = {{jsonOption}, {verboseOption}};

constexpr std::string_view statsHelp =
    R"(usage: bgp-communities stats [--json] [--verbose] FILE...

Counts what MRT dumps hold (RFC 6396, RFC 8050; plain, gzip or bzip2; "-" is standard input), all
of them together.

  --json     one JSON object
  --verbose  name all that is malformed on standard error, not only the first few of each kind

Of each kind of community attribute:
  attributes       that hold at least one member, and nothing but members
  empty            without a member
  malformed        whose length is no multiple of a member's
  refused          well-formed, but no list can hold them: two different link bandwidths; they
                   count nowhere else
  members          of the attributes, as sent
  distinct values  different members

examples:
  bgp-communities stats updates.*.gz
  bgp-communities stats --json rib.bz2
)";

/** Counts what the reader leaves to it: it alone knows what is refused, and what is the same. */
class Counter final : public DumpHandler {
  public:
    explicit Counter(bool verbose)
      : DumpHandler(verbose) {}

    void handleUpdate(Update const& update) override { count(update.at, update.communities); }

    void handleRibEntry(RibEntry const& entry) override { count(entry.at, entry.communities); }

    [[nodiscard]] std::uint64_t refused() const { return refused_; }

    [[nodiscard]] std::uint64_t refusedMembers() const { return refusedMembers_; }

    [[nodiscard]] std::uint64_t distinctValues() const { return agent_.extComms(); }

  private:
    void count(RecordPosition const& at, std::span<CommunityAttribute const> communities) {
        for (CommunityAttribute const& attribute : communities) {
            if (attribute.kind == CommunityKind::extended &&
                attribute.form() == CommunityAttribute::Form::wellFormed) {
                countExtended(at, attribute);
            }
        }
    }

    void countExtended(RecordPosition const& at, CommunityAttribute const& attribute) {
        if (auto const reason = refusal(attribute.kind, attribute.value); !reason.empty()) {
            ++refused_;
            refusedMembers_ += attribute.members();
            refuse(at, reason);
            return;
        }
        agent_.intern(attribute.value, members_);
        for (auto const& member : members_) {
            held_.insert(member);
        }
    }

    Agent agent_;
    Agent::ExtComms members_; // of the attribute at hand
    // None leaves the table before all are counted. Interned objects are equal if they are one.
    std::unordered_set<Routing::Bgp::ExtComm::PtrConst> held_;
    std::uint64_t refused_ = 0;
    std::uint64_t refusedMembers_ = 0;
};

/** A number with its name, in JSON and for people; without a value where it makes no sense. */
struct Count {
    std::string_view key;
    std::string_view words;
    std::optional<std::uint64_t> value;
};

struct KindNames {
    std::string_view key;
    std::string_view words;
};

/** By CommunityKind. */
constexpr std::array<KindNames, communityKinds> kindNames = {{
    {"standard", "standard"},
    {"extended", "extended"},
    {"ipv6", "IPv6 extended"},
    {"large", "large"},
}};

std::vector<Count> countsOf(DumpResult const& result) {
    MrtCounts const& counts = result.counts;
    return {
        {"files", "files", result.files},
        {"records", "records", counts.records},
        {"updates", "UPDATEs", counts.updates},
        {"ribEntries", "RIB entries", counts.ribEntries},
        {"brokenUpdates", "broken UPDATEs", counts.brokenUpdates},
        {"brokenAttributeAreas", "broken attribute areas", counts.brokenAttributeAreas},
        {"brokenRoutes", "UPDATEs with broken routes", counts.brokenRoutes},
        {"brokenRecords", "broken records", counts.brokenRecords},
        {"skippedRecords", "records not read", counts.skippedRecords},
        {"truncatedOctets", "octets of a cut record", counts.truncatedOctets},
    };
}

/** One row of the table of kinds, which has the same columns for each. */
std::vector<Count> countsOf(CommunityKind kind, DumpResult const& result, Counter const& counter) {
    auto const ifExtended = [kind](std::uint64_t value) {
        return kind == CommunityKind::extended ? std::optional(value) : std::nullopt;
    };
    CommunityCounts const& counts = result.counts.of(kind);
    auto const refused = ifExtended(counter.refused());
    auto const refusedMembers = ifExtended(counter.refusedMembers());
    return {
        {"attribute", "attribute", traitsOf(kind).attributeType},
        {"attributes", "attributes", counts.attributes - refused.value_or(0)},
        {"empty", "empty", counts.empty},
        {"malformed", "malformed", counts.malformed},
        {"refused", "refused", refused},
        {"members", "members", counts.members - refusedMembers.value_or(0)},
        {"distinctValues", "distinct values", ifExtended(counter.distinctValues())},
    };
}

void writeCounts(JsonWriter& json, std::vector<Count> const& counts) {
    for (Count const& count : counts) {
        if (count.value) {
            json.key(count.key).number(*count.value);
        }
    }
}

void writeJson(std::string& out, DumpResult const& result, Counter const& counter) {
    JsonWriter json(out);
    json.beginObject();
    writeCounts(json, countsOf(result));
    json.key("kinds").beginObject();
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        json.key(kindNames[kind].key).beginObject();
        writeCounts(json, countsOf(static_cast<CommunityKind>(kind), result, counter));
        json.endObject();
    }
    json.endObject().endObject();
}

std::string cell(Count const& count) {
    return count.value ? std::to_string(*count.value) : "-";
}

void writeText(std::string& out, DumpResult const& result, Counter const& counter) {
    TextTable whole;
    for (Count const& count : countsOf(result)) {
        whole.rowIs({std::string(count.words), cell(count)});
    }
    whole.appendTo(out);
    out += '\n';

    TextTable kinds;
    std::vector<std::string> head = {"communities"};
    for (Count const& count : countsOf(CommunityKind::extended, result, counter)) {
        head.emplace_back(count.words);
    }
    kinds.rowIs(head);
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        std::vector<std::string> row = {std::string(kindNames[kind].words)};
        for (Count const& count : countsOf(static_cast<CommunityKind>(kind), result, counter)) {
            row.push_back(cell(count));
        }
        kinds.rowIs(std::move(row));
    }
    kinds.appendTo(out);
}

ExitStatus stats(Arguments const& arguments, Output& output) {
    auto const files = dumpFiles(arguments);
    Counter counter(arguments.has(verboseOption));
    DumpResult const result = readDumps(files, counter);
    if (arguments.has(jsonOption)) {
        writeJson(output.text(), result, counter);
        output.endLine();
    } else {
        writeText(output.text(), result, counter);
    }
    return result.status;
}

} // namespace

Command const statsCommand = {"stats", "count what MRT dumps hold", statsHelp, statsOptions, stats};

} // namespace BgpCommunities
