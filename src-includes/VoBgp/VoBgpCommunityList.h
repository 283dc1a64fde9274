#pragma once

/// The lists of communities that a route carries, and the tables that intern them.

#include <VoBgp/CommList.h>
#include <VoBgp/CommListDedupTable.h>
#include <VoBgp/CommListSnapshot.h>
#include <VoBgp/ExtCommList.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/ExtCommListSnapshot.h>
#include <VoBgp/LargeCommList.h>
