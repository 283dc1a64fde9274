#pragma once

#include <Mox/Ptr.h>
#include <Mox/Type.h>

/// Defines the members of the class CommListSnapshot of the namespace in which it is used, and its
/// factory. `qualifiedName` is the name of the type.
#define ROUTING_COMM_LIST_SNAPSHOT(qualifiedName)                                                  \
    Mox::Type const& CommListSnapshot::staticType() noexcept {                                     \
        static Mox::Type const type(                                                               \
            Mox::Type::Kind::entity, qualifiedName,                                                \
            {Mox::readOnlyAttribute<CommListSnapshot, &CommListSnapshot::comms>("comms")});        \
        return type;                                                                               \
    }                                                                                              \
    namespace {                                                                                    \
    Mox::TypeRegistration const commListSnapshotRegistration(CommListSnapshot::staticType());      \
    }                                                                                              \
    CommListSnapshot::CommListSnapshot() noexcept = default;                                       \
    CommListSnapshot::~CommListSnapshot() = default;                                               \
    CommListSnapshot::Ptr commListSnapshotFactory() {                                              \
        return Mox::makeActive<CommListSnapshot>();                                                \
    }
