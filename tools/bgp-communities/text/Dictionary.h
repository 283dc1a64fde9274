#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * What operators say that their communities mean.
 *
 * Read from lines "ASN:PATTERN,DESCRIPTION", as public collections have them. A pattern is a field
 * for a standard community, two for a large one, or after "rt:" or "soo:" that of an extended one:
 *
 *     64496:100,learned from a customer
 *     64496:2xx,...                        x: any digit
 *     64496:1:nnn,...                      n, nn, ...: any number
 *     64496:300-399,...                    a range
 *     rt:64496:100,...
 *
 * Empty lines and those that begin with '#' are comments. Exact patterns come before others, and
 * those before what was read later. Owns its texts. Thread-safe once it has been read.
 */
class Dictionary {
  public:
    /** Told of a line that is skipped: "FILE: line N: REASON". */
    using Complain = std::function<void(std::string const&)>;

    /** Reads a file, which may be compressed, or all files in a folder in the order of their names.
        Throws InputError. */
    void read(std::string const& path, Complain const& complain);

    [[nodiscard]] bool empty() const { return entries_.empty(); }

    /** The description of a member; empty if there is none. REQUIRES: as many octets as the kind
        has. The text is a stranger's: mask it before a terminal shows it. */
    [[nodiscard]] std::string_view meaning(CommunityKind kind, Octets member) const;

  private:
    /** A field of a pattern: a range, or digits with wildcards if `digits` is not empty. */
    struct Field {
        std::uint32_t low = 0;
        std::uint32_t high = 0;
        std::string digits;

        [[nodiscard]] bool covers(std::uint32_t number) const;
    };

    struct Entry {
        std::vector<Field> fields; // after the AS
        std::string description;
    };

    struct Key {
        CommunityKind kind = CommunityKind::standard;
        std::uint16_t type = 0; // subtype of an extended one
        std::uint32_t as = 0;

        [[nodiscard]] std::uint64_t word() const {
            return std::uint64_t{static_cast<std::uint8_t>(kind)} << 48 |
                   std::uint64_t{type} << 32 | as;
        }
    };

    static bool readField(std::string_view text, Field& field);
    static bool isExact(Entry const& entry);
    std::string_view readLine(std::string_view line);
    void readFile(std::string const& path, Complain const& complain);
    void entryIs(Key const& key, Entry entry);

    std::unordered_map<std::uint64_t, std::vector<Entry>> entries_; // by Key
};

} // namespace BgpCommunities
