// Message sessions, OpenIMsgOnIStg and the default task allocator.
#include <cstdlib>
#include <memory>

#include "file_message.h"
#include "mapix.h"

using orvella::platform::mapi::ComPtr;
using orvella::platform::ole::FileMessage;

namespace {

// The task allocator over malloc; it lives as long as the process and is never counted down.
class DefaultMalloc final : public IMalloc {
public:
    HRESULT QueryInterface(REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        *out = riid == IID_IUnknown || riid == IID_IMalloc ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    void* Alloc(std::size_t cb) override { return std::malloc(cb); }
    void* Realloc(void* pv, std::size_t cb) override { return std::realloc(pv, cb); }
    void Free(void* pv) override { std::free(pv); }
    std::size_t GetSize(void*) override { return static_cast<std::size_t>(-1); }
    int DidAlloc(void*) override { return -1; }
    void HeapMinimize() override {}
};

}  // namespace

LPMALLOC MAPIGetDefaultMalloc() {
    static DefaultMalloc allocator;
    return &allocator;
}

SCODE OpenIMsgSession(LPMALLOC, ULONG, LPMSGSESS* session) {
    if (!session) return MAPI_E_INVALID_PARAMETER;
    *session = std::make_unique<_MSGSESS>().release();
    return S_OK;
}

void CloseIMsgSession(LPMSGSESS session) {
    if (!session) return;
    std::unique_ptr<_MSGSESS> owned(session);
    std::lock_guard lock(owned->mutex);
    for (FileMessage* message : owned->messages) message->Close();
    owned->messages.clear();
}

SCODE OpenIMsgOnIStg(LPMSGSESS session, LPALLOCATEBUFFER allocate_buffer,
                     LPALLOCATEMORE allocate_more, LPFREEBUFFER free_buffer, LPMALLOC, LPVOID,
                     LPSTORAGE storage, MSGCALLRELEASE* on_release, ULONG caller_data, ULONG flags,
                     LPMESSAGE* message) {
    if (!message || !storage) return MAPI_E_INVALID_PARAMETER;
    *message = nullptr;
    // What the message hands out is freed with MAPIFreeBuffer: other allocators cannot be used.
    if ((allocate_buffer && allocate_buffer != &MAPIAllocateBuffer) ||
        (allocate_more && allocate_more != &MAPIAllocateMore) ||
        (free_buffer && free_buffer != &MAPIFreeBuffer))
        return MAPI_E_INVALID_PARAMETER;
    if (flags & ~IMSG_NO_ISTG_COMMIT) return MAPI_E_UNKNOWN_FLAGS;
    auto opened = orvella::platform::mapi::store::MakeCom<FileMessage>(
        ComPtr<IStorage>(storage), flags, on_release, caller_data, session);
    if (HRESULT hr = opened->Load(); FAILED(hr)) return hr;
    *message = opened.Detach();
    return S_OK;
}
