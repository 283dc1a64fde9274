#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Database.h"
#include "input/IntegerTypes.h"
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
    std::optional<std::string> finish(std::string_view name, U64 records, bool malformed);

    [[nodiscard]] S64 routes() const { return inserted_; }

  private:
    /// The columns of a route other than the route itself.
    struct Event {
        RecordPosition const& at;
        Peer const& peer;
        std::string_view name;
        ListSet lists = {};
        RouteAttributes attributes = {};
        std::optional<S64> asPath = {};
        std::span<S64 const> errors = {};
    };

    void handleLists(Update const& update, ListSet const& lists) override;
    void handleLists(RibEntry const& entry, ListSet const& lists) override;
    void insert(Event const& event, Route const& route);
    void bindAttributes(Event const& event, Route const& route);
    template <class Carrier>
    Event eventOf(Carrier const& carrier, std::string_view name, ListSet const& lists);
    template <class Carrier>
    void findErrors(Carrier const& carrier, Event const& event);
    S64 errorId(U8 type, Octets value, std::string_view reason);
    std::optional<S64> asPathId(RouteAttributes const& attributes);
    S64 peerId(Peer const& peer);
    S64 listId(std::size_t kind, ListId list);
    S64 insertList(std::size_t kind, ListId list);
    S64 communityId(std::size_t kind, ListMember const& member);
    void digest(std::string_view octets);
    void digest(RecordPosition const& at, Peer const& peer, Octets attributes);

    Database& database_;
    Dictionary const& dictionary_;
    Statement insertRoute_, insertPeer_, findPeer_, insertAsPath_, findAsPath_, insertList_,
        findList_, insertMember_, insertCommunity_, findCommunity_, updateMeaning_, insertError_,
        findError_, insertRouteError_;
    std::vector<std::unique_ptr<AttributeDecoder>> const decoders_; // by CommunityKind
    S64 const dump_;
    std::unordered_map<ListId, S64> lists_;
    std::unordered_map<std::string, S64> communities_; // by octets; kinds differ in size
    std::unordered_map<std::string, S64> peers_;       // by text
    std::unordered_map<std::string, S64> asPaths_;     // by text
    std::vector<S64> errors_;                          // of the current event
    std::string text_;                                 // buffer
    S64 inserted_ = 0;
    std::optional<S64> firstTime_, lastTime_; // microseconds since 1970
    U64 digest_ = 0xcbf29ce484222325U;        // FNV-1a
};

} // namespace BgpCommunities
