// Property values as streams.
#include "property_stream.h"

#include <algorithm>
#include <cstring>

namespace orvella::platform::mapi::store {

PropertyStream::PropertyStream(std::vector<std::uint8_t> bytes, CommitFn commit)
    : bytes_(std::move(bytes)), commit_(std::move(commit)) {}

PropertyStream::~PropertyStream() {
    if (dirty_ && commit_) commit_(bytes_);
}

HRESULT PropertyStream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
    if (!pv && cb) return STG_E_INVALIDPOINTER;
    std::size_t n = std::min<std::size_t>(cb, bytes_.size() - std::min(position_, bytes_.size()));
    if (n) std::memcpy(pv, bytes_.data() + position_, n);
    position_ += n;
    if (pcbRead) *pcbRead = static_cast<ULONG>(n);
    return S_OK;
}

HRESULT PropertyStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
    if (pcbWritten) *pcbWritten = 0;
    if (!commit_) return STG_E_ACCESSDENIED;
    if (!pv && cb) return STG_E_INVALIDPOINTER;
    if (bytes_.size() < position_ + cb) bytes_.resize(position_ + cb);
    if (cb) std::memcpy(bytes_.data() + position_, pv, cb);
    position_ += cb;
    dirty_ = true;
    if (pcbWritten) *pcbWritten = cb;
    return S_OK;
}

HRESULT PropertyStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
    long long base = origin == STREAM_SEEK_SET   ? 0
                     : origin == STREAM_SEEK_CUR ? static_cast<long long>(position_)
                     : origin == STREAM_SEEK_END ? static_cast<long long>(bytes_.size())
                                                 : -1;
    if (base < 0) return STG_E_INVALIDFUNCTION;
    long long target = base + move.QuadPart;
    if (target < 0) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<std::size_t>(target);
    if (position) position->QuadPart = position_;
    return S_OK;
}

HRESULT PropertyStream::SetSize(ULARGE_INTEGER size) {
    if (!commit_) return STG_E_ACCESSDENIED;
    bytes_.resize(static_cast<std::size_t>(size.QuadPart));
    dirty_ = true;
    return S_OK;
}

HRESULT PropertyStream::CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                               ULARGE_INTEGER* written) {
    if (!target) return STG_E_INVALIDPOINTER;
    std::size_t available = bytes_.size() - std::min(position_, bytes_.size());
    auto n = static_cast<ULONG>(std::min<unsigned long long>(cb.QuadPart, available));
    ULONG done = 0;
    HRESULT hr = target->Write(bytes_.data() + position_, n, &done);
    position_ += n;
    if (read) read->QuadPart = n;
    if (written) written->QuadPart = done;
    return hr;
}

HRESULT PropertyStream::Commit(DWORD) {
    if (!commit_ || !dirty_) return S_OK;
    HRESULT hr = commit_(bytes_);
    if (SUCCEEDED(hr)) dirty_ = false;
    return hr;
}

HRESULT PropertyStream::Stat(STATSTG* stat, DWORD) {
    if (!stat) return STG_E_INVALIDPOINTER;
    *stat = {};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = bytes_.size();
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
