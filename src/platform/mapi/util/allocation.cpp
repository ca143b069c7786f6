// The MAPI allocator: buffers with a hidden header that chains the buffers linked to them, so
// that freeing the parent frees the whole chain.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

#include "mapix.h"

namespace {

enum class BlockKind : std::uint32_t { Parent = 0x4D415042, Linked = 0x4D41504C };

// Sits in front of every buffer handed out. Its size keeps the buffer aligned for any type.
struct alignas(std::max_align_t) BlockHeader {
    BlockKind kind;
    BlockHeader* parent;       // self for a parent; the parent for a linked block
    BlockHeader* next_linked;  // parent: newest linked block; linked block: the one before it
    std::mutex lock;  // parent only: guards next_linked against concurrent MAPIAllocateMore
};

BlockHeader* HeaderOf(void* buffer) {
    return reinterpret_cast<BlockHeader*>(static_cast<std::byte*>(buffer) - sizeof(BlockHeader));
}

void* BufferOf(BlockHeader* header) {
    return reinterpret_cast<std::byte*>(header) + sizeof(BlockHeader);
}

BlockHeader* NewBlock(ULONG size, BlockKind kind) {
    void* raw = std::malloc(sizeof(BlockHeader) + static_cast<std::size_t>(size));
    if (raw == nullptr) return nullptr;
    BlockHeader* header = new (raw) BlockHeader;
    header->kind = kind;
    header->parent = header;
    header->next_linked = nullptr;
    return header;
}

void DeleteBlock(BlockHeader* header) {
    header->~BlockHeader();
    std::free(header);
}

}  // namespace

SCODE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer) {
    if (lppBuffer == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lppBuffer = nullptr;
    BlockHeader* header = NewBlock(cbSize, BlockKind::Parent);
    if (header == nullptr) return MAPI_E_NOT_ENOUGH_MEMORY;
    *lppBuffer = BufferOf(header);
    return S_OK;
}

SCODE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer) {
    if (lppBuffer == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lppBuffer = nullptr;
    if (lpObject == nullptr) return MAPI_E_INVALID_PARAMETER;
    BlockHeader* parent = HeaderOf(lpObject)->parent;
    BlockHeader* header = NewBlock(cbSize, BlockKind::Linked);
    if (header == nullptr) return MAPI_E_NOT_ENOUGH_MEMORY;
    header->parent = parent;
    {
        std::lock_guard<std::mutex> guard(parent->lock);
        header->next_linked = parent->next_linked;
        parent->next_linked = header;
    }
    *lppBuffer = BufferOf(header);
    return S_OK;
}

ULONG MAPIFreeBuffer(LPVOID lpBuffer) {
    if (lpBuffer == nullptr) return S_OK;
    BlockHeader* header = HeaderOf(lpBuffer);
    if (header->kind != BlockKind::Parent) return S_OK;  // its parent owns it
    BlockHeader* linked = header->next_linked;
    while (linked != nullptr) {
        BlockHeader* next = linked->next_linked;
        DeleteBlock(linked);
        linked = next;
    }
    DeleteBlock(header);
    return S_OK;
}
