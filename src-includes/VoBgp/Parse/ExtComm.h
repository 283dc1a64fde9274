#pragma once

// The parse engine as a whole: what an agent, or a plug-in of its own, includes.

#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/Parse/ExtCommRules.h>
