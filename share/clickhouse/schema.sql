-- Tables for the routes that `bgp-communities read --format tsv` prints, for every server (shard) of
-- a ClickHouse cluster named bgp. Tried with ClickHouse 18.16 of Debian 12:
--
--     clickhouse-client --multiquery --allow_experimental_low_cardinality_type=1 < schema.sql
--
-- A loader sends the lines of a dump to routes_tsv of any one server:
--
--     bgp-communities read --format tsv DUMP |
--         clickhouse-client --query 'INSERT INTO routes_tsv FORMAT TSVWithNames'
--
-- Queries ask `routes`, on any server. LowCardinality columns keep each distinct list, AS path and
-- address once in a part of the table. To load a day again: ALTER TABLE routes_local DROP PARTITION.

CREATE TABLE routes_local (
    time DateTime('UTC'),
    microseconds UInt32,
    type Enum8('A' = 1, 'W' = 2, 'B' = 3), -- announced, withdrawn, entry of a table dump
    peer_address LowCardinality(String),
    peer_as UInt32,                        -- 0 if the dump does not name the peer
    family LowCardinality(String),
    prefix String,
    path_id Nullable(UInt32),              -- RFC 7911
    as_path LowCardinality(String),        -- with sets and confederations
    origin LowCardinality(String),
    next_hop LowCardinality(String),
    med Nullable(UInt32),
    local_pref Nullable(UInt32),
    communities LowCardinality(String),    -- members by name, a space between them; also of the others
    extended_communities LowCardinality(String),
    ipv6_communities LowCardinality(String),
    large_communities LowCardinality(String),
    meanings LowCardinality(String),
    errors LowCardinality(String),         -- attributes that could not be read
    sent UInt8                             -- 1 if sent to the peer, not received
) ENGINE = MergeTree PARTITION BY toYYYYMMDD(time) ORDER BY (prefix, peer_address, time);

-- Rows inserted here are passed on to routes_local; nothing is stored.
CREATE TABLE routes_tsv (
    time UInt32, microseconds UInt32, type String, peer_address String, peer_as String,
    family String, prefix String, path_id String, as_path String, origin String, next_hop String,
    med String, local_pref String, communities String, extended_communities String,
    ipv6_communities String, large_communities String, meanings String, errors String, sent String
) ENGINE = Null;

CREATE MATERIALIZED VIEW routes_load TO routes_local AS
SELECT toDateTime(time, 'UTC') AS time, microseconds,
       CAST(type, 'Enum8(\'A\' = 1, \'W\' = 2, \'B\' = 3)') AS type,
       toLowCardinality(peer_address) AS peer_address, toUInt32OrZero(peer_as) AS peer_as,
       toLowCardinality(family) AS family, prefix, toUInt32OrNull(path_id) AS path_id,
       toLowCardinality(as_path) AS as_path, toLowCardinality(origin) AS origin,
       toLowCardinality(next_hop) AS next_hop, toUInt32OrNull(med) AS med,
       toUInt32OrNull(local_pref) AS local_pref, toLowCardinality(communities) AS communities,
       toLowCardinality(extended_communities) AS extended_communities,
       toLowCardinality(ipv6_communities) AS ipv6_communities,
       toLowCardinality(large_communities) AS large_communities,
       toLowCardinality(meanings) AS meanings, toLowCardinality(errors) AS errors,
       toUInt8(sent = '1') AS sent
FROM routes_tsv;

CREATE TABLE routes AS routes_local ENGINE = Distributed(bgp, currentDatabase(), routes_local);
