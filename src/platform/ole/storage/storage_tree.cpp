// Element-name ordering and copies of storage trees.
#include "storage_tree.h"

#include <algorithm>
#include <cctype>

namespace orvella::platform::ole {

bool ElementNameLess::operator()(const std::string& a, const std::string& b) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](unsigned char x, unsigned char y) { return std::toupper(x) < std::toupper(y); });
}

std::shared_ptr<StorageNode> CopyTree(const StorageNode& node) {
    auto copy = std::make_shared<StorageNode>();
    copy->is_storage = node.is_storage;
    copy->clsid = node.clsid;
    copy->bytes = node.bytes;
    for (const auto& [name, child] : node.children) copy->children[name] = CopyTree(*child);
    return copy;
}

}  // namespace orvella::platform::ole
