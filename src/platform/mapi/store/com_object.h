// Reference counting and QueryInterface for the embedded store's COM objects, and MakeCom, the
// one place that creates them.
#pragma once

#include <atomic>
#include <initializer_list>
#include <utility>

#include "mapi_ptr.h"
#include "mapicode.h"
#include "unknwn.h"

namespace orvella::platform::mapi::store {

// Base of every provider object: Interface is the most derived MAPI interface the object
// implements (IMessage, IMAPIFolder, IMAPITable ...). Every interface of MAPI's single
// inheritance chains shares one pointer, so QueryInterface hands out `this` for any IID the
// object lists in Supports. The count is atomic: references may move between threads.
template <class Interface>
class ComObject : public Interface {
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT QueryInterface(REFIID riid, void** ppvObject) override {
        if (!ppvObject) return E_POINTER;
        if (riid == IID_IUnknown || Supports(riid)) {
            AddRef();
            *ppvObject = static_cast<Interface*>(this);
            return S_OK;
        }
        *ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override {
        ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~ComObject() = default;
    // Whether the object answers to riid (IID_IUnknown is always answered).
    virtual bool Supports(REFIID riid) const = 0;

    static bool AnyOf(REFIID riid, std::initializer_list<const IID*> iids) {
        for (const IID* iid : iids)
            if (riid == *iid) return true;
        return false;
    }

private:
    std::atomic<ULONG> references_{1};
};

// Creates a provider object; the pointer holds its first reference.
template <class T, class... Args>
ComPtr<T> MakeCom(Args&&... args) {
    ComPtr<T> object;
    object.Attach(new T(std::forward<Args>(args)...));
    return object;
}

// Hands a new reference to a MAPI out-parameter (an LPUNKNOWN*, LPMAPITABLE* ...).
template <class Out, class T>
HRESULT ReturnObject(const ComPtr<T>& object, Out** out) {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    object->AddRef();
    *out = static_cast<Out*>(object.Get());
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
