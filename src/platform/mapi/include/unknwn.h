// IUnknown: the reference-counted root of every COM and MAPI interface.
#pragma once

#include "guiddef.h"
#include "winerror.h"

DEFINE_OLEGUID(IID_IUnknown, 0x00000000, 0, 0);

// Contract shared by every interface below: an object lives while it holds references.
// AddRef and Release return the new count (for diagnostics only) and may be called from any
// thread; Release of the last reference destroys the object. QueryInterface hands out a new
// reference on success (S_OK) and sets *ppvObject to null with E_NOINTERFACE otherwise.
class IUnknown {
public:
    virtual HRESULT QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    // Objects die through Release, never through delete on an interface pointer.
    ~IUnknown() = default;
};

typedef IUnknown* LPUNKNOWN;
