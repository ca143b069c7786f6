// IStorage and IStream over the in-memory tree of a compound file.
#include "storage_objects.h"

#include <algorithm>
#include <cstring>

#include "mapi_wide_text.h"

namespace orvella::platform::ole {
namespace {

using mapi::ComPtr;
using mapi::store::ComObject;
using mapi::store::MakeCom;

constexpr DWORD kAccessBits = STGM_WRITE | STGM_READWRITE;

bool Writes(DWORD mode) {
    return (mode & kAccessBits) != 0;
}

// The element name as UTF-8, or STG_E_INVALIDNAME.
HRESULT ElementName(const OLECHAR* wide, std::string& name) {
    if (!wide) return STG_E_INVALIDNAME;
    std::size_t length = 0;
    while (wide[length]) {
        if (wide[length] == L'/' || wide[length] == L'\\' || wide[length] == L':' ||
            wide[length] == L'!')
            return STG_E_INVALIDNAME;
        ++length;
    }
    if (length == 0 || length > 31) return STG_E_INVALIDNAME;
    name = mapi::WideToUtf8(wide);
    return S_OK;
}

// The checks every open or create below a storage makes of its mode.
HRESULT CheckChildMode(DWORD parent_mode, DWORD mode) {
    if ((mode & 0x70) != STGM_SHARE_EXCLUSIVE) return STG_E_INVALIDFLAG;
    if ((mode & kAccessBits) == kAccessBits) return STG_E_INVALIDFLAG;
    if (Writes(mode) && !Writes(parent_mode)) return STG_E_ACCESSDENIED;
    return S_OK;
}

class StreamObject final : public ComObject<IStream> {
public:
    StreamObject(std::shared_ptr<FileState> file, std::shared_ptr<StorageNode> node, DWORD mode)
        : file_(std::move(file)),
          node_(std::move(node)),
          mode_(mode),
          generation_(file_->generation()) {}

    HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!pv && cb) return STG_E_INVALIDPOINTER;
        const auto& bytes = node_->bytes;
        const std::size_t n =
            position_ < bytes.size() ? std::min<std::size_t>(cb, bytes.size() - position_) : 0;
        if (n) std::memcpy(pv, bytes.data() + position_, n);
        position_ += n;
        if (read) *read = static_cast<ULONG>(n);
        return n < cb ? S_FALSE : S_OK;
    }
    HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!Writes(mode_)) return STG_E_ACCESSDENIED;
        if (!pv && cb) return STG_E_INVALIDPOINTER;
        auto& bytes = node_->bytes;
        if (bytes.size() < position_ + cb) bytes.resize(position_ + cb);
        if (cb) std::memcpy(bytes.data() + position_, pv, cb);
        position_ += cb;
        file_->Touch();
        if (written) *written = cb;
        return S_OK;
    }
    HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        long long base = 0;
        if (origin == STREAM_SEEK_CUR)
            base = static_cast<long long>(position_);
        else if (origin == STREAM_SEEK_END)
            base = static_cast<long long>(node_->bytes.size());
        else if (origin != STREAM_SEEK_SET)
            return STG_E_INVALIDFUNCTION;
        if (base + move.QuadPart < 0) return STG_E_INVALIDFUNCTION;
        position_ = static_cast<std::size_t>(base + move.QuadPart);
        if (position) position->QuadPart = position_;
        return S_OK;
    }
    HRESULT SetSize(ULARGE_INTEGER size) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!Writes(mode_)) return STG_E_ACCESSDENIED;
        node_->bytes.resize(static_cast<std::size_t>(size.QuadPart));
        file_->Touch();
        return S_OK;
    }
    HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                   ULARGE_INTEGER* written) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!target) return STG_E_INVALIDPOINTER;
        const auto& bytes = node_->bytes;
        const std::size_t n = position_ < bytes.size()
                                  ? static_cast<std::size_t>(
                                        std::min<ULONGLONG>(cb.QuadPart, bytes.size() - position_))
                                  : 0;
        ULONG done = 0;
        HRESULT hr = target->Write(bytes.data() + position_, static_cast<ULONG>(n), &done);
        position_ += n;
        if (read) read->QuadPart = n;
        if (written) written->QuadPart = done;
        return hr;
    }
    // Streams write straight into their storage; the storage's transaction decides the rest.
    HRESULT Commit(DWORD) override { return Live(); }
    HRESULT Revert() override { return Live(); }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT Stat(STATSTG* stat, DWORD) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!stat) return STG_E_INVALIDPOINTER;
        *stat = {};
        stat->type = STGTY_STREAM;
        stat->cbSize.QuadPart = node_->bytes.size();
        stat->grfMode = mode_;
        return S_OK;
    }
    HRESULT Clone(IStream**) override { return STG_E_INVALIDFUNCTION; }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IStream, &IID_ISequentialStream});
    }

private:
    HRESULT Live() const { return file_->generation() == generation_ ? S_OK : STG_E_REVERTED; }

    std::shared_ptr<FileState> file_;
    std::shared_ptr<StorageNode> node_;
    DWORD mode_;
    unsigned generation_;
    std::size_t position_ = 0;
};

class StorageObject final : public ComObject<IStorage> {
public:
    StorageObject(std::shared_ptr<FileState> file, std::shared_ptr<StorageNode> node, DWORD mode)
        : file_(std::move(file)),
          node_(std::move(node)),
          mode_(mode),
          generation_(file_->generation()) {}

    HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStream** out) override {
        return Create(name, mode, false, reinterpret_cast<IUnknown**>(out));
    }
    HRESULT OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** out) override {
        return Open(name, mode, false, reinterpret_cast<IUnknown**>(out));
    }
    HRESULT CreateStorage(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStorage** out) override {
        return Create(name, mode, true, reinterpret_cast<IUnknown**>(out));
    }
    HRESULT OpenStorage(const OLECHAR* name, IStorage* priority, DWORD mode, SNB exclude, DWORD,
                        IStorage** out) override {
        if (priority || exclude) return STG_E_INVALIDPARAMETER;
        return Open(name, mode, true, reinterpret_cast<IUnknown**>(out));
    }
    HRESULT CopyTo(DWORD, const IID*, SNB exclude, IStorage* target) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!target) return STG_E_INVALIDPOINTER;
        if (exclude) return STG_E_INVALIDPARAMETER;
        return CopyChildren(*node_, target);
    }
    HRESULT MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override {
        return STG_E_UNIMPLEMENTEDFUNCTION;
    }
    HRESULT Commit(DWORD) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        return node_ == file_->tree() ? file_->Commit() : S_OK;
    }
    HRESULT Revert() override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (node_ != file_->tree()) return S_OK;
        HRESULT hr = file_->Revert();
        generation_ = file_->generation();
        return hr;
    }
    HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override {
        return STG_E_UNIMPLEMENTEDFUNCTION;
    }
    HRESULT DestroyElement(const OLECHAR* wide) override {
        std::string name;
        if (HRESULT hr = Changeable(wide, name); FAILED(hr)) return hr;
        if (node_->children.erase(name) == 0) return STG_E_FILENOTFOUND;
        file_->Touch();
        return S_OK;
    }
    HRESULT RenameElement(const OLECHAR* old_wide, const OLECHAR* new_wide) override {
        std::string old_name, new_name;
        if (HRESULT hr = Changeable(old_wide, old_name); FAILED(hr)) return hr;
        if (HRESULT hr = ElementName(new_wide, new_name); FAILED(hr)) return hr;
        auto found = node_->children.find(old_name);
        if (found == node_->children.end()) return STG_E_FILENOTFOUND;
        if (node_->children.count(new_name)) return STG_E_FILEALREADYEXISTS;
        auto element = found->second;
        node_->children.erase(found);
        node_->children[new_name] = std::move(element);
        file_->Touch();
        return S_OK;
    }
    HRESULT SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                            const FILETIME*) override {
        return STG_E_UNIMPLEMENTEDFUNCTION;
    }
    HRESULT SetClass(REFCLSID clsid) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!Writes(mode_)) return STG_E_ACCESSDENIED;
        node_->clsid = clsid;
        file_->Touch();
        return S_OK;
    }
    HRESULT SetStateBits(DWORD, DWORD) override { return STG_E_UNIMPLEMENTEDFUNCTION; }
    HRESULT Stat(STATSTG* stat, DWORD) override {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (!stat) return STG_E_INVALIDPOINTER;
        *stat = {};
        stat->type = STGTY_STORAGE;
        stat->grfMode = mode_;
        stat->clsid = node_->clsid;
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override { return AnyOf(riid, {&IID_IStorage}); }

private:
    HRESULT Live() const { return file_->generation() == generation_ ? S_OK : STG_E_REVERTED; }

    HRESULT Changeable(const OLECHAR* wide, std::string& name) const {
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        if (HRESULT hr = ElementName(wide, name); FAILED(hr)) return hr;
        return Writes(mode_) ? S_OK : STG_E_ACCESSDENIED;
    }

    HRESULT Hand(std::shared_ptr<StorageNode> node, DWORD mode, IUnknown** out) {
        if (node->is_storage) {
            *out = MakeStorage(file_, std::move(node), mode).Detach();
        } else {
            auto stream = MakeCom<StreamObject>(file_, std::move(node), mode);
            *out = stream.Detach();
        }
        return S_OK;
    }

    HRESULT Create(const OLECHAR* wide, DWORD mode, bool storage, IUnknown** out) {
        if (!out) return STG_E_INVALIDPOINTER;
        *out = nullptr;
        std::string name;
        if (HRESULT hr = Changeable(wide, name); FAILED(hr)) return hr;
        if (HRESULT hr = CheckChildMode(mode_, mode); FAILED(hr)) return hr;
        if (node_->children.count(name) && !(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
        auto node = std::make_shared<StorageNode>();
        node->is_storage = storage;
        node_->children[name] = node;
        file_->Touch();
        return Hand(std::move(node), mode, out);
    }

    HRESULT Open(const OLECHAR* wide, DWORD mode, bool storage, IUnknown** out) {
        if (!out) return STG_E_INVALIDPOINTER;
        *out = nullptr;
        if (HRESULT hr = Live(); FAILED(hr)) return hr;
        std::string name;
        if (HRESULT hr = ElementName(wide, name); FAILED(hr)) return hr;
        if (HRESULT hr = CheckChildMode(mode_, mode); FAILED(hr)) return hr;
        auto found = node_->children.find(name);
        if (found == node_->children.end() || found->second->is_storage != storage)
            return STG_E_FILENOTFOUND;
        return Hand(found->second, mode, out);
    }

    static HRESULT CopyChildren(const StorageNode& from, IStorage* target) {
        const DWORD mode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE;
        for (const auto& [name, child] : from.children) {
            std::wstring wide = mapi::Utf8ToWide(name);
            HRESULT hr = S_OK;
            if (child->is_storage) {
                ComPtr<IStorage> storage;
                hr = target->CreateStorage(wide.c_str(), mode, 0, 0, &storage);
                if (SUCCEEDED(hr)) hr = storage->SetClass(child->clsid);
                if (SUCCEEDED(hr)) hr = CopyChildren(*child, storage.Get());
            } else {
                ComPtr<IStream> stream;
                hr = target->CreateStream(wide.c_str(), mode, 0, 0, &stream);
                if (SUCCEEDED(hr))
                    hr = stream->Write(child->bytes.data(), static_cast<ULONG>(child->bytes.size()),
                                       nullptr);
            }
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }

    std::shared_ptr<FileState> file_;
    std::shared_ptr<StorageNode> node_;
    DWORD mode_;
    unsigned generation_;
};

}  // namespace

ComPtr<IStorage> MakeStorage(std::shared_ptr<FileState> file, std::shared_ptr<StorageNode> node,
                             DWORD mode) {
    return ComPtr<IStorage>(MakeCom<StorageObject>(std::move(file), std::move(node), mode));
}

}  // namespace orvella::platform::ole
