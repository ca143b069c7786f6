// An IStream over a copy of one property value, as OpenProperty hands out large bodies.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "com_object.h"
#include "objidl.h"

namespace orvella::platform::mapi::store {

// Reads and writes bytes in memory. A writable stream hands its bytes to `commit` on Commit
// (and on its last Release when written to since); a read-only one refuses writes with
// STG_E_ACCESSDENIED. `commit` returns S_OK or the failure Commit reports.
class PropertyStream final : public ComObject<IStream> {
public:
    using CommitFn = std::function<HRESULT(const std::vector<std::uint8_t>&)>;
    PropertyStream(std::vector<std::uint8_t> bytes, CommitFn commit);

    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
    HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
    HRESULT SetSize(ULARGE_INTEGER size) override;
    HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                   ULARGE_INTEGER* written) override;
    HRESULT Commit(DWORD flags) override;
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT Stat(STATSTG* stat, DWORD flags) override;
    HRESULT Clone(IStream**) override { return STG_E_INVALIDFUNCTION; }

protected:
    ~PropertyStream() override;
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IStream, &IID_ISequentialStream});
    }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t position_ = 0;
    CommitFn commit_;
    bool dirty_ = false;
};

}  // namespace orvella::platform::mapi::store
