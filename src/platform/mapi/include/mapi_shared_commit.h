// A scope in which saves through one message store may share one commit: for writers of many
// small derived values (stored scores), whose every save would otherwise pay for a commit.
#pragma once

#include <memory>

#include "mapix.h"

namespace orvella::platform::mapi {

// While alive, SaveChanges on objects of the store still succeeds or fails whole, but its
// changes may be committed together with the scope's other saves when the scope ends. A crash
// before then loses those saves (never part of one), so use it only for values that can be
// derived again. Other writers of the file wait until the scope ends: keep it short.
// Providers without shared commits (and a null store) make a scope that changes nothing.
// Ending the scope commits; a failure of that commit loses the pending saves, as a crash would.
// One thread opens and ends a scope; scopes may nest. Never null; it fails only as allocation
// does (std::bad_alloc).
class SharedCommitScope {
public:
    virtual ~SharedCommitScope() = default;
};

std::unique_ptr<SharedCommitScope> BeginSharedCommit(IMsgStore* store);

}  // namespace orvella::platform::mapi
