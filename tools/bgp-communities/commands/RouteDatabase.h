#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Database.h"
#include "lists/AttributeDecoder.h"
#include "lists/ListCounter.h"
#include "lists/ListSet.h"
#include "lists/RouteTable.h"
#include "text/Dictionary.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/// Creates the tables in an empty database. Throws DatabaseError if the database has other tables
/// or another schema version.
void prepareRouteDatabase(Database& database);

/// Inserts the routes of one dump into a database.
///
/// Each distinct AS path, list and community is inserted once and looked up by its octets; those of
/// earlier dumps get the meanings of this dictionary. Database and agent are not owned. Handlers
/// throw DatabaseError. Thread-compatible. REQUIRES: a transaction is open.
class RouteInserter final : public ListCounter {
  public:
    /// `dictionary` is not owned.
    RouteInserter(Database& database, Agent& agent, Dictionary const& dictionary, bool verbose);

    /// Completes the row of the dump after it was read. If the database already has this dump,
    /// returns its name; the caller must then roll back.
    std::optional<std::string> finish(std::string_view name, std::uint64_t records, bool malformed);

    [[nodiscard]] std::int64_t routes() const { return inserted_; }

  private:
    /// The columns of a route other than the route itself.
    struct Event {
        RecordPosition const& at;
        Peer const& peer;
        std::string_view name;
        ListSet lists = {};
        RouteAttributes attributes = {};
        std::optional<std::int64_t> asPath = {};
        std::span<std::int64_t const> errors = {};
    };

    void handleLists(Update const& update, ListSet const& lists) override;
    void handleLists(RibEntry const& entry, ListSet const& lists) override;
    void insert(Event const& event, Route const& route);
    void bindAttributes(Event const& event, Route const& route);
    template <class Carrier>
    Event eventOf(Carrier const& carrier, std::string_view name, ListSet const& lists);
    template <class Carrier>
    void findErrors(Carrier const& carrier, Event const& event);
    std::int64_t errorId(std::uint8_t type, Octets value, std::string_view reason);
    std::optional<std::int64_t> asPathId(RouteAttributes const& attributes);
    std::int64_t peerId(Peer const& peer);
    std::int64_t listId(std::size_t kind, ListId list);
    std::int64_t insertList(std::size_t kind, ListId list);
    std::int64_t communityId(std::size_t kind, ListMember const& member);
    void digest(std::string_view octets);
    void digest(RecordPosition const& at, Peer const& peer, Octets attributes);

    Database& database_;
    Dictionary const& dictionary_;
    Statement insertRoute_, insertPeer_, findPeer_, insertAsPath_, findAsPath_, insertList_,
        findList_, insertMember_, insertCommunity_, findCommunity_, updateMeaning_, insertError_,
        findError_, insertRouteError_;
    std::vector<std::unique_ptr<AttributeDecoder>> const decoders_; // by CommunityKind
    std::int64_t const dump_;
    std::unordered_map<ListId, std::int64_t> lists_;
    std::unordered_map<std::string, std::int64_t> communities_; // by octets; kinds differ in size
    std::unordered_map<std::string, std::int64_t> peers_;       // by text
    std::unordered_map<std::string, std::int64_t> asPaths_;     // by text
    std::vector<std::int64_t> errors_;                          // of the event at hand
    std::string text_;                                          // buffer
    std::int64_t inserted_ = 0;
    std::optional<std::int64_t> firstTime_, lastTime_; // microseconds since 1970
    std::uint64_t digest_ = 0xcbf29ce484222325U;       // FNV-1a
};

} // namespace BgpCommunities
