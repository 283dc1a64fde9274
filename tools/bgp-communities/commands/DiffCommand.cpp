#include "Commands.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

#include "DictionaryOption.h"
#include "DumpFiles.h"
#include "ListStore.h"
#include "lists/Agent.h"
#include "lists/ComparedRoutes.h"
#include "text/CommunityFormatter.h"
#include "text/Counts.h"
#include "text/JsonWriter.h"
#include "text/MemberName.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr Option diffOptions[] = {{jsonOption}, dictionaryOption, addPathOption, {verboseOption}};

constexpr std::string_view diffHelp =
    R"(usage: bgp-communities diff [OPTION...] BEFORE AFTER

Compares the communities of two inputs: MRT dumps, or stores written by `bgp-communities stash` or
`merge`.

  --json            one JSON object per line
  --dictionary FILE|DIR
                    operators' descriptions of their communities, printed with values; lines
                    ASN:PATTERN,DESCRIPTION, see the man page
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

Prints a line for each difference, with tabs between the columns, then the totals:

  ~route  peer, family, prefix, path identifier or "-", kind, list before, list after or "-": a
          route of both dumps whose lists of this kind differ
  -list   kind, attributes that carried it, text: a distinct list only in BEFORE
  +list   the same, only in AFTER
  -value  kind, attributes that carried it, text, name if other than the text, and description: a
          community only in BEFORE
  +value  the same, only in AFTER

Routes are compared as of the end of each dump: UPDATEs and state changes are applied to a table in
the order of the dump, as by `replay`. Announcements with malformed attributes are treated as
withdrawals (RFC 7606), and routes that were sent to a peer are ignored; their lists and values are
compared. Stores contain no routes; with a store, only lists and values are compared.

Exit status: 0 if both could be read, even if they differ; 1 if one was malformed; 3 if one could
not be read; nothing is compared then.

examples:
  bgp-communities diff rib.0000.bz2 rib.0800.bz2
  bgp-communities diff monday.store tuesday.store | grep '^+value'
)";

// ---- The two sides ------------------------------------------------------------------------------

/// One of the two inputs, with its lists and their uses.
struct Side {
    std::unique_ptr<ListCounter> counter;          // for a dump
    std::vector<std::unique_ptr<ListUses>> stored; // for a store
    ExitStatus status = ExitStatus::allRead;

    [[nodiscard]] ListUses const& lists(std::size_t kind) const {
        return counter ? *counter->lists()[kind] : *stored[kind];
    }
};

bool isStore(std::string const& name) {
    constexpr std::string_view magic = "VoStash\n";
    std::array<char, magic.size()> head{};
    std::error_code error; // do not consume octets of a pipe
    return name.starts_with("shm:") ||
           (name != "-" && std::filesystem::is_regular_file(name, error) &&
            std::ifstream(name, std::ios::binary).read(head.data(), head.size()) &&
            std::string_view(head.data(), head.size()) == magic);
}

Side readSide(Agent& agent, Arguments const& arguments, std::size_t number,
              ComparedRoutes& routes) {
    Side side;
    std::string const name(arguments.operands()[number]);
    if (isStore(name)) {
        side.stored = storedLists(agent, name);
        return side;
    }
    DumpInput input(arguments);
    input.files = input.files.subspan(number, 1);
    side.counter =
        std::make_unique<ComparedSide>(agent, arguments.has(verboseOption), routes, number);
    side.status = readDumps(input, *side.counter).status;
    return side;
}

// ---- Lists and values ---------------------------------------------------------------------------

/// A list or value, with its uses on both sides.
struct Compared {
    std::string text;
    std::array<U64, 2> uses{};
};

/// By octets.
using ComparedItems = std::map<std::string, Compared>;

void addSide(ListUses const& uses, std::size_t side, ComparedItems& lists, ComparedItems& values) {
    for (auto const& [list, count] : uses.uses()) {
        std::string octets;
        for (ListMember& member : uses.members(list)) {
            octets += member.octets;
            Compared& value = values[member.octets];
            value.text = std::move(member.text);
            value.uses[side] += count;
        }
        Compared& compared = lists[octets];
        compared.text = uses.text(list);
        compared.uses[side] += count;
    }
}

// ---- Output -------------------------------------------------------------------------------------

constexpr std::string_view listItem = "list", valueItem = "value";

/// Writes and counts the differences.
class DiffWriter {
  public:
    /// `dictionary` and `output` are not owned.
    DiffWriter(bool json, Dictionary const& dictionary, Output& output)
      : json_(json)
      , dictionary_(dictionary)
      , output_(output) {}

    void writeRoutes(ComparedRoutes const& routes, Side const& before, Side const& after);
    /// Writes the items of only one side, by kind. `gone` and `added` are the totals.
    void writeItems(std::string_view what, std::span<ComparedItems const> kinds, Count gone,
                    Count added);
    void writeTotals();

  private:
    void writeRoute(std::string const& peer, RouteName const& name, std::size_t kind,
                    std::array<std::string, 2> const& lists);
    void writeItem(std::string_view what, std::size_t kind, std::string const& octets,
                   Compared const& item);

    void writeNotes(JsonWriter& json, CommunityKind kind, Octets member);

    bool const json_;
    Dictionary const& dictionary_;
    Output& output_;
    Counts totals_;
};

void DiffWriter::writeRoutes(ComparedRoutes const& routes, Side const& before, Side const& after) {
    U64 same = 0, changed = 0, gone = 0, added = 0;
    for (auto const& [peer, routesOfPeer] : routes) {
        for (auto const& [name, sides] : routesOfPeer) {
            if (!sides[0] || !sides[1]) {
                gone += sides[0] ? 1 : 0;
                added += sides[1] ? 1 : 0;
                continue;
            }
            ++(*sides[0] == *sides[1] ? same : changed);
            for (std::size_t kind = 0; kind < communityKinds; ++kind) {
                ListId const old = (*sides[0])[kind], now = (*sides[1])[kind];
                if (old != now) {
                    writeRoute(peer, name, kind,
                               {old == nullptr ? "" : before.lists(kind).text(old),
                                now == nullptr ? "" : after.lists(kind).text(now)});
                }
            }
        }
    }
    totals_.push_back({"routesChanged", "routes with other communities", changed});
    totals_.push_back({"routesSame", "routes with the same communities", same});
    totals_.push_back({"routesGone", "routes only before", gone});
    totals_.push_back({"routesNew", "routes only after", added});
}

void DiffWriter::writeRoute(std::string const& peer, RouteName const& name, std::size_t kind,
                            std::array<std::string, 2> const& lists) {
    std::string& out = output_.text();
    if (json_) {
        JsonWriter json(out);
        json.beginObject().key("change").string("route").key("peer").string(peer);
        json.key("family").string(name.family).key("prefix").string(name.prefix);
        if (!name.pathId.empty()) {
            json.key("pathId").raw(name.pathId);
        }
        json.key("kind").string(communityKindTraits[kind].key);
        for (std::size_t side = 0; side < 2; ++side) {
            json.key(side == 0 ? "before" : "after");
            lists[side].empty() ? json.null() : json.string(lists[side]);
        }
        json.endObject();
    } else {
        out += "~route";
        for (std::string_view const column :
             {std::string_view(peer), std::string_view(name.family), std::string_view(name.prefix),
              std::string_view(name.pathId), communityKindTraits[kind].key,
              std::string_view(lists[0]), std::string_view(lists[1])}) {
            out.append("\t").append(column.empty() ? "-" : column);
        }
    }
    output_.endLine();
}

void DiffWriter::writeItems(std::string_view what, std::span<ComparedItems const> kinds, Count gone,
                            Count added) {
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        for (auto const& [octets, item] : kinds[kind]) {
            if (item.uses[0] == 0 || item.uses[1] == 0) {
                ++(item.uses[0] == 0 ? added : gone).value;
                writeItem(what, kind, octets, item);
            }
        }
    }
    totals_.push_back(gone);
    totals_.push_back(added);
}

void DiffWriter::writeItem(std::string_view what, std::size_t kind, std::string const& octets,
                           Compared const& item) {
    bool const isNew = item.uses[0] == 0;
    U64 const uses = item.uses[isNew ? 1 : 0];
    if (json_) {
        JsonWriter json(output_.text());
        json.beginObject().key("change").string(what);
        json.key("kind").string(communityKindTraits[kind].key);
        json.key("new").boolean(isNew).key("uses").number(uses);
        json.key("octets").octets(octetsOf(octets)).key("text").string(item.text);
        if (what == valueItem) {
            writeNotes(json, static_cast<CommunityKind>(kind), octetsOf(octets));
        }
        json.endObject();
    } else {
        output_.text()
            .append(isNew ? "+" : "-")
            .append(what)
            .append("\t")
            .append(communityKindTraits[kind].key)
            .append("\t")
            .append(std::to_string(uses))
            .append("\t")
            .append(item.text);
        if (what == valueItem) {
            CommunityFormatter(&dictionary_)
                .appendNotes(output_.text(), static_cast<CommunityKind>(kind), octetsOf(octets));
        }
    }
    output_.endLine();
}

void DiffWriter::writeNotes(JsonWriter& json, CommunityKind kind, Octets member) {
    std::string name;
    appendMemberName(name, kind, member);
    json.key("name").string(name);
    if (auto const meaning = dictionary_.meaning(kind, member); !meaning.empty()) {
        json.key("meaning").string(meaning);
    }
}

void DiffWriter::writeTotals() {
    if (json_) {
        JsonWriter json(output_.text());
        json.beginObject().key("change").string("totals");
        writeCounts(json, totals_);
        json.endObject();
        output_.endLine();
    } else {
        output_.text() += '\n';
        appendCounts(output_.text(), totals_, terminalColumns(STDOUT_FILENO));
    }
}

void compareLists(DiffWriter& writer, std::span<Side const> sides) {
    std::array<ComparedItems, communityKinds> lists, values;
    for (std::size_t side = 0; side < sides.size(); ++side) {
        for (std::size_t kind = 0; kind < communityKinds; ++kind) {
            addSide(sides[side].lists(kind), side, lists[kind], values[kind]);
        }
    }
    writer.writeItems(listItem, lists, {"listsGone", "distinct lists only before"},
                      {"listsNew", "distinct lists only after"});
    writer.writeItems(valueItem, values, {"valuesGone", "distinct communities only before"},
                      {"valuesNew", "distinct communities only after"});
}

ExitStatus diff(Arguments const& arguments, Output& output) {
    if (arguments.operands().size() != 2) {
        throw UsageError("diff takes two dumps or stores");
    }
    if (arguments.operands()[0] == "-" && arguments.operands()[1] == "-") {
        throw UsageError("only one input can be standard input");
    }
    Dictionary const meanings = dictionary(arguments);
    Agent agent;
    ComparedRoutes routes;
    std::array<Side, 2> const sides = {readSide(agent, arguments, 0, routes),
                                       readSide(agent, arguments, 1, routes)};
    ExitStatus const status = worse(sides[0].status, sides[1].status);
    if (status == ExitStatus::unreadable) {
        complain("not compared: some input could not be read");
        return status;
    }
    DiffWriter writer(arguments.has(jsonOption), meanings, output);
    if (sides[0].counter && sides[1].counter) {
        writer.writeRoutes(routes, sides[0], sides[1]);
    }
    compareLists(writer, sides);
    writer.writeTotals();
    return status;
}

} // namespace

Command const diffCommand = {"diff", "compare the communities of two dumps or stores", diffHelp,
                             diffOptions, diff};

} // namespace BgpCommunities
