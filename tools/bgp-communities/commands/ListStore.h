#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CommandLine.h"
#include "lists/ListUses.h"
#include "text/Output.h"

namespace BgpCommunities {

/// Option of commands that write a file or a store.
inline constexpr std::string_view outOption = "--out";

/// The value of --out. Throws UsageError, which calls it `what`, if it is missing or empty.
std::string outName(Arguments const& arguments, std::string_view what);

/// Writes the lists with their uses, each kind under its name and `suffix`. Equal uses make equal
/// records, whatever the order in which they were counted.
void stashLists(std::span<std::unique_ptr<ListUses> const> lists, std::string const& suffix,
                MoxStash::StoreWriter& writer);

/// Publishes the lists with their uses as `store`, and prints its generation and size. Throws
/// StoreException.
void publishLists(std::span<std::unique_ptr<ListUses> const> lists, std::string const& store,
                  Output& output);

/// Reads the lists with their uses from `store`, by CommunityKind. Throws StoreException, also if a
/// list does not fit in an attribute.
std::vector<std::unique_ptr<ListUses>> storedLists(Agent& agent, std::string const& store);

} // namespace BgpCommunities
