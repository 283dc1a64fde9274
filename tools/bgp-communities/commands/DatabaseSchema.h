#pragma once

#include <string_view>

namespace BgpCommunities {

/// PRAGMA application_id of the databases that `export` writes: "BGPc".
inline constexpr std::string_view databaseApplication = "1111969891";
/// PRAGMA user_version: incremented when a table or column is added, removed or changes its
/// meaning.
inline constexpr std::string_view databaseVersion = "3";

/// The tables, described in docs/questions.md.
inline constexpr std::string_view databaseTables = R"sql(
CREATE TABLE dumps (
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL,             -- as given on the command line
    digest TEXT NOT NULL UNIQUE,    -- of its routes and attributes, or of its name if it
                                    -- has none: FNV-1a, 64 bits
    records INTEGER NOT NULL,       -- MRT records
    routes INTEGER NOT NULL,        -- rows in routes
    first_time INTEGER,             -- of its routes: microseconds since 1970, UTC
    last_time INTEGER,
    malformed INTEGER NOT NULL      -- 1 if a part of it was malformed or refused
);
CREATE TABLE peers (
    id INTEGER PRIMARY KEY,
    address TEXT NOT NULL,          -- "-" if unknown
    asn INTEGER NOT NULL,
    UNIQUE (address, asn)
);
CREATE TABLE communities (
    id INTEGER PRIMARY KEY,
    kind TEXT NOT NULL,             -- standard, extended, ipv6 or large
    octets BLOB NOT NULL,           -- as on the wire
    text TEXT NOT NULL,
    name TEXT NOT NULL,             -- as for read --community: no-export, rt:64496:1
    meaning TEXT,                   -- from the last dictionary that describes it, or null
    asn INTEGER,                    -- AS of the administrator, null if none
    route_target INTEGER NOT NULL,  -- 1 if it is a route target
    UNIQUE (kind, octets)
);
CREATE TABLE lists (
    id INTEGER PRIMARY KEY,
    kind TEXT NOT NULL,
    octets BLOB NOT NULL,           -- of its sorted distinct members
    text TEXT NOT NULL,
    members INTEGER NOT NULL,
    UNIQUE (kind, octets)
);
CREATE TABLE list_members (
    list INTEGER NOT NULL REFERENCES lists,
    position INTEGER NOT NULL,      -- from 0
    community INTEGER NOT NULL REFERENCES communities,
    PRIMARY KEY (list, position)
) WITHOUT ROWID;
CREATE TABLE as_paths (
    id INTEGER PRIMARY KEY,
    path TEXT NOT NULL UNIQUE,      -- "64496 64497 {64498,64499}", with sets and confederations
    origin_as INTEGER,              -- null if the path is empty or ends with a set
    length INTEGER NOT NULL         -- a set counts once, a confederation not at all
);
CREATE TABLE routes (
    id INTEGER PRIMARY KEY,         -- in the order of the dumps
    dump INTEGER NOT NULL REFERENCES dumps,
    record INTEGER NOT NULL,        -- MRT record, from 1
    time INTEGER NOT NULL,          -- of the record: microseconds since 1970, UTC
    event TEXT NOT NULL,            -- table, announce or withdraw
    peer INTEGER NOT NULL REFERENCES peers,
    family TEXT NOT NULL,           -- "IPv4 unicast"
    prefix TEXT NOT NULL,
    path_id INTEGER,                -- RFC 7911
    as_path INTEGER REFERENCES as_paths, -- this and the next four: null if absent or malformed
    origin TEXT,                    -- IGP, EGP or INCOMPLETE
    next_hop TEXT,
    med INTEGER,
    local_pref INTEGER,
    standard INTEGER REFERENCES lists,
    extended INTEGER REFERENCES lists,
    ipv6 INTEGER REFERENCES lists,
    large INTEGER REFERENCES lists
);
CREATE TABLE errors (               -- malformed, truncated and refused attributes
    id INTEGER PRIMARY KEY,
    attribute INTEGER NOT NULL,     -- type of the path attribute
    octets BLOB NOT NULL,           -- its value, or what is left of it
    reason TEXT NOT NULL,
    UNIQUE (attribute, octets, reason)
);
CREATE TABLE route_errors (
    route INTEGER NOT NULL REFERENCES routes,
    error INTEGER NOT NULL REFERENCES errors,
    PRIMARY KEY (route, error)
) WITHOUT ROWID;
CREATE VIEW route_lists AS
    SELECT id AS route, standard AS list FROM routes WHERE standard IS NOT NULL
    UNION ALL SELECT id, extended FROM routes WHERE extended IS NOT NULL
    UNION ALL SELECT id, ipv6 FROM routes WHERE ipv6 IS NOT NULL
    UNION ALL SELECT id, large FROM routes WHERE large IS NOT NULL;
CREATE VIEW route_communities AS
    SELECT route, list, community, kind, text, name, meaning, asn, route_target
    FROM route_lists JOIN list_members USING (list) JOIN communities ON communities.id = community;
CREATE VIEW list_uses AS
    SELECT lists.*, uses.routes
    FROM (SELECT list, count(*) AS routes FROM route_lists GROUP BY list) AS uses
    JOIN lists ON lists.id = uses.list;
CREATE VIEW community_uses AS
    SELECT communities.*, sum(uses.routes) AS routes
    FROM (SELECT list, count(*) AS routes FROM route_lists GROUP BY list) AS uses
    JOIN list_members USING (list) JOIN communities ON communities.id = community
    GROUP BY communities.id;
CREATE VIEW as_routes AS
    SELECT asn, count(DISTINCT route) AS routes, count(DISTINCT community) AS communities
    FROM route_communities WHERE asn IS NOT NULL GROUP BY asn;
CREATE VIEW full_routes AS          -- with texts instead of references
    SELECT routes.id, dumps.name AS dump, record, time, event, peers.address AS peer_address,
           peers.asn AS peer_as, family, prefix, path_id, path AS as_path, origin_as, length,
           origin, next_hop, med, local_pref, s.text AS standard, e.text AS extended,
           i.text AS ipv6, l.text AS large,
           (SELECT group_concat(attribute || ' !' || lower(hex(octets)) || ' (' || reason || ')',
                                '; ')
            FROM route_errors JOIN errors ON errors.id = error
            WHERE route = routes.id) AS errors
    FROM routes JOIN dumps ON dumps.id = dump JOIN peers ON peers.id = peer
    LEFT JOIN as_paths ON as_paths.id = as_path
    LEFT JOIN lists AS s ON s.id = standard LEFT JOIN lists AS e ON e.id = extended
    LEFT JOIN lists AS i ON i.id = routes.ipv6 LEFT JOIN lists AS l ON l.id = large;
CREATE VIEW last_routes AS          -- the last row of each route of a peer, unless withdrawn
    SELECT * FROM (
        SELECT *, row_number() OVER (PARTITION BY peer, family, prefix, path_id
                                     ORDER BY time DESC, id DESC) AS age FROM routes)
    WHERE age = 1 AND event <> 'withdraw';
)sql";

/// Created after the first dump is inserted, because that is faster.
inline constexpr std::string_view databaseIndexes = R"sql(
CREATE INDEX IF NOT EXISTS list_members_by_community ON list_members (community);
CREATE INDEX IF NOT EXISTS communities_by_name ON communities (name);
CREATE INDEX IF NOT EXISTS as_paths_by_origin ON as_paths (origin_as);
CREATE INDEX IF NOT EXISTS routes_by_as_path ON routes (as_path) WHERE as_path IS NOT NULL;
CREATE INDEX IF NOT EXISTS routes_by_prefix ON routes (prefix);
CREATE INDEX IF NOT EXISTS routes_by_peer ON routes (peer);
CREATE INDEX IF NOT EXISTS routes_by_time ON routes (time);
CREATE INDEX IF NOT EXISTS routes_by_standard ON routes (standard) WHERE standard IS NOT NULL;
CREATE INDEX IF NOT EXISTS routes_by_extended ON routes (extended) WHERE extended IS NOT NULL;
CREATE INDEX IF NOT EXISTS routes_by_ipv6 ON routes (ipv6) WHERE ipv6 IS NOT NULL;
CREATE INDEX IF NOT EXISTS routes_by_large ON routes (large) WHERE large IS NOT NULL;
)sql";

} // namespace BgpCommunities
