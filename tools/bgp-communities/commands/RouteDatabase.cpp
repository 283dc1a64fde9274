#include "RouteDatabase.h"

#include <algorithm>

#include "DatabaseSchema.h"
#include "input/Numbers.h"
#include "lists/MemberFields.h"
#include "text/MemberName.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

static_assert(communityKinds == 4, "each kind is a column of routes, here and in DatabaseSchema.h");

S64 microseconds(RecordPosition const& at) {
    return S64{at.seconds} * 1000000 + at.microseconds;
}

/// Inserts a dump; `finish()` completes its columns.
S64 insertDump(Database& database) {
    Statement(database, "INSERT INTO dumps (name, digest, records, routes, malformed)"
                        " VALUES ('', '', 0, 0, 0)")
        .run();
    return database.lastId();
}

} // namespace

void prepareRouteDatabase(Database& database) {
    std::string const application(databaseApplication), version(databaseVersion);
    if (database.number("SELECT count(*) FROM sqlite_master") == 0) {
        database.execute(std::string(databaseTables) + "PRAGMA application_id = " + application +
                         "; PRAGMA user_version = " + version);
        return;
    }
    if (std::to_string(database.number("PRAGMA application_id")) != application) {
        throw DatabaseError(database.name() + ": not a database written by export");
    }
    auto const found = std::to_string(database.number("PRAGMA user_version"));
    if (found != version) {
        throw DatabaseError(database.name() + ": schema version is " + found + ", expected " +
                            version);
    }
}

RouteInserter::RouteInserter(Database& database, Agent& agent, Dictionary const& dictionary,
                             bool verbose)
  : ListCounter(agent, verbose, true)
  , database_(database)
  , dictionary_(dictionary)
  , insertRoute_(database, "INSERT INTO routes (dump, record, time, event, peer, family, prefix,"
                           " path_id, as_path, origin, next_hop, med, local_pref,"
                           " standard, extended, ipv6, large)"
                           " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
  , insertPeer_(database, "INSERT INTO peers (address, asn) VALUES (?, ?)")
  , findPeer_(database, "SELECT id FROM peers WHERE address = ? AND asn = ?")
  , insertAsPath_(database, "INSERT INTO as_paths (path, origin_as, length) VALUES (?, ?, ?)")
  , findAsPath_(database, "SELECT id FROM as_paths WHERE path = ?")
  , insertList_(database, "INSERT INTO lists (kind, octets, text, members) VALUES (?, ?, ?, ?)")
  , findList_(database, "SELECT id FROM lists WHERE kind = ? AND octets = ?")
  , insertMember_(database, "INSERT INTO list_members (list, position, community)"
                            " VALUES (?, ?, ?)")
  , insertCommunity_(database, "INSERT INTO communities (kind, octets, text, name, meaning,"
                               " asn, route_target) VALUES (?, ?, ?, ?, ?, ?, ?)")
  , findCommunity_(database, "SELECT id FROM communities WHERE kind = ? AND octets = ?")
  , updateMeaning_(database, "UPDATE communities SET meaning = ? WHERE id = ?")
  , insertError_(database, "INSERT INTO errors (attribute, octets, reason) VALUES (?, ?, ?)")
  , findError_(database, "SELECT id FROM errors WHERE attribute = ? AND octets = ? AND reason = ?")
  , insertRouteError_(database, "INSERT INTO route_errors (route, error) VALUES (?, ?)")
  , decoders_(attributeDecoders(agent))
  , dump_(insertDump(database)) {}

std::optional<std::string> RouteInserter::finish(std::string_view name, U64 records,
                                                 bool malformed) {
    if (inserted_ == 0) {
        digest(name); // nothing else tells such dumps apart
    }
    std::string hex;
    appendNumber(hex, digest_, 16);
    hex.insert(0, 16 - hex.size(), '0');
    if (auto const same = Statement(database_, "SELECT id, name FROM dumps WHERE digest = ?")
                              .bind(std::string_view(hex))
                              .row()) {
        return same->text;
    }
    Statement(database_, "UPDATE dumps SET name = ?, digest = ?, records = ?, routes = ?,"
                         " first_time = ?, last_time = ?, malformed = ? WHERE id = ?")
        .bind(name)
        .bind(std::string_view(hex))
        .bind(static_cast<S64>(records))
        .bind(inserted_)
        .bind(firstTime_)
        .bind(lastTime_)
        .bind(S64{malformed})
        .bind(dump_)
        .run();
    database_.execute(std::string(databaseIndexes));
    return std::nullopt;
}

// ---- Routes -------------------------------------------------------------------------------------

void RouteInserter::handleLists(Update const& update, ListSet const& lists) {
    if (update.sentByUs) {
        return;
    }
    digest(update.at, update.peer, update.attributes.area);
    for (Route const& route : update.withdrawn) {
        insert({update.at, update.peer, "withdraw"}, route);
    }
    if (!update.announced.empty()) {
        Event const event = eventOf(update, "announce", lists);
        for (Route const& route : update.announced) {
            insert(event, route);
        }
    }
}

void RouteInserter::handleLists(RibEntry const& entry, ListSet const& lists) {
    digest(entry.at, entry.peer, entry.attributes.area);
    insert(eventOf(entry, "table", lists), entry.route);
}

/// Returns the columns of a route with attributes, and reports its malformed attributes.
template <class Carrier>
RouteInserter::Event RouteInserter::eventOf(Carrier const& carrier, std::string_view name,
                                            ListSet const& lists) {
    Event event = {carrier.at, carrier.peer, name, lists, RouteAttributes(carrier.attributes)};
    event.asPath = asPathId(event.attributes);
    findErrors(carrier, event);
    event.errors = errors_;
    return event;
}

void RouteInserter::insert(Event const& event, Route const& route) {
    S64 const time = microseconds(event.at);
    firstTime_ = std::min(firstTime_.value_or(time), time);
    lastTime_ = std::max(lastTime_.value_or(time), time);
    digest(event.name);
    digest(RouteKey(route).octets());
    insertRoute_.bind(dump_).bind(static_cast<S64>(event.at.number)).bind(time);
    insertRoute_.bind(event.name).bind(peerId(event.peer));
    text_.clear();
    appendText(text_, route.family);
    insertRoute_.bind(std::string_view(text_));
    text_.clear();
    appendText(text_, route);
    insertRoute_.bind(std::string_view(text_));
    insertRoute_.bind(route.hasPathId ? std::optional<S64>(route.pathId) : std::nullopt);
    bindAttributes(event, route);
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        if (event.lists[kind] != nullptr) {
            insertRoute_.bind(listId(kind, event.lists[kind]));
        } else {
            insertRoute_.bindNull();
        }
    }
    insertRoute_.run();
    ++inserted_;
    if (!event.errors.empty()) {
        S64 const id = database_.lastId();
        for (S64 const error : event.errors) {
            insertRouteError_.bind(id).bind(error).run();
        }
    }
}

// ---- Errors -------------------------------------------------------------------------------------

/// Finds the malformed attributes, and those of communities without a list: they were refused.
template <class Carrier>
void RouteInserter::findErrors(Carrier const& carrier, Event const& event) {
    reportFaults(carrier.at, event.attributes);
    errors_.clear();
    for (AttributeFault const& fault : event.attributes.faults()) {
        errors_.push_back(errorId(fault.type, fault.value, fault.reason));
    }
    for (CommunityAttribute const& attribute : carrier.communities) {
        auto const kind = static_cast<std::size_t>(attribute.kind);
        if (attribute.repetition == 0 && event.lists[kind] == nullptr) {
            errors_.push_back(errorId(traitsOf(attribute.kind).attributeType, attribute.value,
                                      decoders_[kind]->decode(attribute.value)));
        }
    }
}

S64 RouteInserter::errorId(U8 type, Octets value, std::string_view reason) {
    auto const bound = [&](Statement& statement) -> Statement& {
        return statement.bind(S64{type}).bindOctets(value).bind(reason);
    };
    if (auto const found = bound(findError_).row()) {
        return found->number;
    }
    bound(insertError_).run();
    return database_.lastId();
}

void RouteInserter::bindAttributes(Event const& event, Route const& route) {
    RouteAttributes const& attributes = event.attributes;
    auto const origin = attributes.origin();
    insertRoute_.bind(event.asPath);
    insertRoute_.bind(origin ? std::optional(nameOf(*origin)) : std::nullopt);
    IpAddress const nextHop = attributes.nextHop(route);
    text_.clear();
    appendText(text_, nextHop);
    insertRoute_.bind(nextHop.size != 0 ? std::optional(std::string_view(text_)) : std::nullopt);
    for (auto const& number : {attributes.med(), attributes.localPref()}) {
        insertRoute_.bind(number ? std::optional<S64>(*number) : std::nullopt);
    }
}

std::optional<S64> RouteInserter::asPathId(RouteAttributes const& attributes) {
    if (!attributes.asPath()) {
        return std::nullopt;
    }
    text_.clear();
    appendText(text_, *attributes.asPath());
    auto const [known, isNew] = asPaths_.try_emplace(text_);
    if (!isNew) {
        return known->second;
    }
    std::string_view const path = known->first;
    auto const found = findAsPath_.bind(path).row();
    if (!found) {
        auto const origin = originAs(*attributes.asPath());
        insertAsPath_.bind(path);
        insertAsPath_.bind(origin ? std::optional<S64>(*origin) : std::nullopt);
        insertAsPath_.bind(static_cast<S64>(lengthOf(*attributes.asPath()))).run();
    }
    return known->second = found ? found->number : database_.lastId();
}

S64 RouteInserter::peerId(Peer const& peer) {
    text_.clear();
    appendText(text_, peer);
    auto const [known, isNew] = peers_.try_emplace(text_);
    if (!isNew) {
        return known->second;
    }
    std::string address;
    appendText(address, peer.address);
    auto const found = findPeer_.bind(std::string_view(address)).bind(S64{peer.as}).row();
    if (!found) {
        insertPeer_.bind(std::string_view(address)).bind(S64{peer.as}).run();
    }
    return known->second = found ? found->number : database_.lastId();
}

// ---- Lists and communities ----------------------------------------------------------------------

S64 RouteInserter::listId(std::size_t kind, ListId list) {
    auto const [known, isNew] = lists_.try_emplace(list);
    if (isNew) {
        known->second = insertList(kind, list);
    }
    return known->second;
}

S64 RouteInserter::insertList(std::size_t kind, ListId list) {
    ListUses const& uses = lists(static_cast<CommunityKind>(kind));
    auto const members = uses.members(list);
    std::string octets;
    for (ListMember const& member : members) {
        octets += member.octets;
    }
    if (auto const found = findList_.bind(communityKindTraits[kind].key).bindOctets(octets).row()) {
        if (!dictionary_.empty()) {
            for (ListMember const& member : members) {
                communityId(kind, member); // updates its meaning
            }
        }
        return found->number;
    }
    insertList_.bind(communityKindTraits[kind].key)
        .bindOctets(octets)
        .bind(std::string_view(uses.text(list)));
    insertList_.bind(static_cast<S64>(members.size())).run();
    S64 const id = database_.lastId();
    S64 position = 0;
    for (ListMember const& member : members) {
        insertMember_.bind(id).bind(position++).bind(communityId(kind, member)).run();
    }
    return id;
}

S64 RouteInserter::communityId(std::size_t kind, ListMember const& member) {
    auto const [known, isNew] = communities_.try_emplace(member.octets);
    if (!isNew) {
        return known->second;
    }
    std::string const said =
        masked(dictionary_.meaning(static_cast<CommunityKind>(kind), octetsOf(member.octets)));
    auto const meaning = said.empty() ? std::nullopt : std::optional<std::string_view>(said);
    if (auto const found =
            findCommunity_.bind(communityKindTraits[kind].key).bindOctets(member.octets).row()) {
        if (meaning) {
            updateMeaning_.bind(meaning).bind(found->number).run();
        }
        return known->second = found->number;
    }
    auto const as = administratorAs(static_cast<CommunityKind>(kind), member.octets);
    bool const isTarget = isRouteTarget(static_cast<CommunityKind>(kind), member.octets);
    insertCommunity_.bind(communityKindTraits[kind].key).bindOctets(member.octets);
    std::string name;
    appendMemberName(name, static_cast<CommunityKind>(kind), octetsOf(member.octets));
    insertCommunity_.bind(std::string_view(member.text)).bind(std::string_view(name));
    insertCommunity_.bind(meaning);
    insertCommunity_.bind(as ? std::optional<S64>(*as) : std::nullopt);
    insertCommunity_.bind(S64{isTarget}).run();
    return known->second = database_.lastId();
}

// ---- Digest -------------------------------------------------------------------------------------

void RouteInserter::digest(std::string_view octets) {
    for (char const octet : octets) {
        digest_ = (digest_ ^ static_cast<unsigned char>(octet)) * 0x100000001b3U;
    }
}

void RouteInserter::digest(RecordPosition const& at, Peer const& peer, Octets attributes) {
    text_.clear();
    appendNumber(text_, microseconds(at));
    text_ += ' ';
    appendText(text_, peer);
    digest(text_);
    digest({reinterpret_cast<char const*>(attributes.data()), attributes.size()});
}

} // namespace BgpCommunities
