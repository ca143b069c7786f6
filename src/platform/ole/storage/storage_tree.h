// The contents of a compound file in memory: a tree of storages and streams that the IStorage
// objects of one file share, read from and written to disk whole.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "guiddef.h"

namespace orvella::platform::ole {

// Element names compare as the compound file format does: without regard to ASCII case.
struct ElementNameLess {
    bool operator()(const std::string& a, const std::string& b) const;
};

struct StorageNode {
    bool is_storage = true;
    CLSID clsid = {};
    std::vector<std::uint8_t> bytes;  // a stream's contents
    std::map<std::string, std::shared_ptr<StorageNode>, ElementNameLess> children;
};

// A deep copy: transacted storages keep one to go back to.
std::shared_ptr<StorageNode> CopyTree(const StorageNode& node);

}  // namespace orvella::platform::ole
