#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Operators' descriptions of their communities.
///
/// Read from lines "ASN:PATTERN,DESCRIPTION", the format of public collections. A pattern has one
/// field for a standard community, two for a large one, and one after "rt:" or "soo:" for an
/// extended one:
///
///     64496:100,learned from a customer
///     64496:2xx,...                        x: any digit
///     64496:1:nnn,...                      n, nn, ...: any number
///     64496:300-399,...                    a range
///     rt:64496:100,...
///
/// Empty lines and lines that start with '#' are ignored. Exact patterns take precedence, then
/// earlier lines. Owns its texts. Immutable after reading.
class Dictionary {
  public:
    /// Called for each skipped line with "FILE: line N: REASON".
    using Complain = std::function<void(std::string const&)>;

    /// Reads a file, which may be compressed, or all files of a folder in the order of their names.
    /// Throws InputError.
    void read(std::string const& path, Complain const& complain);

    [[nodiscard]] bool empty() const { return entries_.empty(); }

    /// The description of a member; empty if unknown. The text is untrusted: mask it before
    /// printing to a terminal. REQUIRES: `member` has the size of a member of this kind.
    [[nodiscard]] std::string_view meaning(CommunityKind kind, Octets member) const;

  private:
    /// A field of a pattern: a range, or digits with wildcards if `digits` is not empty.
    struct Field {
        U32 low = 0;
        U32 high = 0;
        std::string digits;

        [[nodiscard]] bool covers(U32 number) const;
    };

    struct Entry {
        std::vector<Field> fields; // after the AS
        std::string description;
    };

    struct Key {
        CommunityKind kind = CommunityKind::standard;
        U16 type = 0; // subtype of an extended one
        U32 as = 0;

        [[nodiscard]] U64 word() const {
            return U64{static_cast<U8>(kind)} << 48 | U64{type} << 32 | as;
        }
    };

    static bool readField(std::string_view text, Field& field);
    static bool isExact(Entry const& entry);
    std::string_view readLine(std::string_view line);
    void readFile(std::string const& path, Complain const& complain);
    void addEntry(Key const& key, Entry entry);

    std::unordered_map<U64, std::vector<Entry>> entries_; // by Key
};

} // namespace BgpCommunities
