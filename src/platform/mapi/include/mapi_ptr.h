// Owners for what MAPI hands out, so that no caller releases or frees by hand: COM references,
// MAPI buffers, row sets and address lists. One owner object is used by one thread at a time.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "mapidefs.h"
#include "mapiutil.h"
#include "mapix.h"

namespace orvella::platform::mapi {

// One reference to a COM object; copying adds a reference, destruction releases it.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Shares p: adds a reference of its own. Use Attach to take over a reference instead.
    explicit ComPtr(T* p) : p_(p) { AddRefIfAny(); }
    ComPtr(const ComPtr& other) : p_(other.p_) { AddRefIfAny(); }
    ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    ComPtr(const ComPtr<U>& other) : p_(other.Get()) {
        AddRefIfAny();
    }
    ~ComPtr() { Reset(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(p_, other.p_);
        return *this;
    }

    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    explicit operator bool() const { return p_ != nullptr; }

    // Releases the held reference, if any.
    void Reset() {
        if (T* p = std::exchange(p_, nullptr)) p->Release();
    }
    // Takes over a reference the caller owns (one an out-parameter returned).
    void Attach(T* p) {
        Reset();
        p_ = p;
    }
    // Hands the reference to the caller, who must release it.
    [[nodiscard]] T* Detach() { return std::exchange(p_, nullptr); }

    // For T** out-parameters: releases what is held and lets the callee store a new reference.
    T** Put() {
        Reset();
        return &p_;
    }
    T** operator&() { return Put(); }

    // For the LPUNKNOWN* out-parameters of OpenEntry and OpenProperty: the object returned is
    // taken as a T, the interface the call asked for.
    class UnknownOut {
    public:
        explicit UnknownOut(ComPtr& owner) : owner_(owner) {}
        UnknownOut(const UnknownOut&) = delete;
        UnknownOut& operator=(const UnknownOut&) = delete;
        ~UnknownOut() { owner_.Attach(static_cast<T*>(raw_)); }
        operator LPUNKNOWN*() { return &raw_; }

    private:
        ComPtr& owner_;
        IUnknown* raw_ = nullptr;
    };
    UnknownOut PutUnknown() {
        Reset();
        return UnknownOut(*this);
    }

    // QueryInterface into another owner; the result is QueryInterface's.
    template <class U>
    HRESULT As(REFIID iid, ComPtr<U>& out) const {
        out.Reset();
        if (!p_) return E_POINTER;
        void* raw = nullptr;
        HRESULT hr = p_->QueryInterface(iid, &raw);
        if (SUCCEEDED(hr)) out.Attach(static_cast<U*>(raw));
        return hr;
    }

private:
    void AddRefIfAny() {
        if (p_) p_->AddRef();
    }

    T* p_ = nullptr;
};

// Sole owner of one MAPI allocation, freed by Free when the owner goes or is reset.
template <class T, void (*Free)(T*)>
class MapiOwner {
public:
    MapiOwner() = default;
    explicit MapiOwner(T* p) : p_(p) {}
    MapiOwner(const MapiOwner&) = delete;
    MapiOwner& operator=(const MapiOwner&) = delete;
    MapiOwner(MapiOwner&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    MapiOwner& operator=(MapiOwner&& other) noexcept {
        Reset(std::exchange(other.p_, nullptr));
        return *this;
    }
    ~MapiOwner() { Reset(); }

    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    T& operator[](std::size_t i) const { return p_[i]; }
    explicit operator bool() const { return p_ != nullptr; }

    void Reset(T* p = nullptr) {
        if (T* old = std::exchange(p_, p)) Free(old);
    }
    // Hands the allocation to the caller, who must free it.
    [[nodiscard]] T* Detach() { return std::exchange(p_, nullptr); }

    // For T** out-parameters: frees what is held and lets the callee store a new allocation.
    T** Put() {
        Reset();
        return &p_;
    }
    T** operator&() { return Put(); }

private:
    T* p_ = nullptr;
};

namespace detail {
template <class T>
void FreeMapiBuffer(T* p) {
    MAPIFreeBuffer(const_cast<std::remove_cv_t<T>*>(p));
}
}  // namespace detail

// A buffer from MAPIAllocateBuffer (and everything MAPIAllocateMore linked to it).
template <class T>
using MapiBuffer = MapiOwner<T, &detail::FreeMapiBuffer<T>>;

// A row set from QueryRows or HrQueryAllRows, freed with its rows.
using RowSetPtr = MapiOwner<SRowSet, &FreeProws>;

// An address list, freed with its entries.
using AdrListPtr = MapiOwner<ADRLIST, &FreePadrlist>;

}  // namespace orvella::platform::mapi
