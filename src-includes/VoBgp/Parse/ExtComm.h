#pragma once

// The whole parse engine, for agents and their plug-ins.

#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/Parse/ExtCommRules.h>
