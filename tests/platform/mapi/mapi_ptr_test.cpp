// The owners of MAPI references and buffers: references are counted exactly, and what an
// owner holds is released when it goes, is reset, or is refilled through an out-parameter.
#include <gtest/gtest.h>

#include <utility>

#include "mapi_ptr.h"
#include "mapiguid.h"
#include "mapitags.h"
#include "test_objects.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::testing::CountedObject;
using orvella::platform::mapi::testing::PropertyBag;

// Stands for a provider call that hands out a new reference through a T** out-parameter.
template <class T>
HRESULT HandOut(T* object, T** out) {
    object->AddRef();
    *out = object;
    return S_OK;
}

// Stands for OpenEntry: the object comes back through an LPUNKNOWN*.
HRESULT OpenAsUnknown(IMAPIProp* object, LPUNKNOWN* out) {
    object->AddRef();
    *out = object;
    return S_OK;
}

TEST(ComPtr, CopiesAndMovesCountReferencesExactly) {
    CountedObject object;  // starts with the creator's reference
    {
        ComPtr<IUnknown> first(&object);
        EXPECT_EQ(object.References(), 2u);
        ComPtr<IUnknown> copy = first;
        EXPECT_EQ(object.References(), 3u);
        ComPtr<IUnknown> moved = std::move(copy);
        EXPECT_EQ(object.References(), 3u);
        EXPECT_FALSE(copy);
        first = nullptr;
        EXPECT_EQ(object.References(), 2u);
        first = moved;
        EXPECT_EQ(object.References(), 3u);
        first = first;
        EXPECT_EQ(object.References(), 3u);
    }
    EXPECT_EQ(object.References(), 1u);
}

TEST(ComPtr, AttachTakesOverAndDetachHandsBackAReference) {
    CountedObject object;
    object.AddRef();  // the reference an out-parameter would have returned
    ComPtr<IUnknown> held;
    held.Attach(&object);
    EXPECT_EQ(object.References(), 2u);
    IUnknown* raw = held.Detach();
    EXPECT_FALSE(held);
    EXPECT_EQ(object.References(), 2u);
    raw->Release();
    EXPECT_EQ(object.References(), 1u);
}

TEST(ComPtr, OutParametersReleaseWhatWasHeldFirst) {
    CountedObject first;
    CountedObject second;
    ComPtr<IUnknown> held;
    ASSERT_EQ(HandOut<IUnknown>(&first, &held), S_OK);
    EXPECT_EQ(first.References(), 2u);
    ASSERT_EQ(HandOut<IUnknown>(&second, held.Put()), S_OK);
    EXPECT_EQ(first.References(), 1u);
    EXPECT_EQ(second.References(), 2u);
    EXPECT_EQ(held.Get(), &second);
}

TEST(ComPtr, UnknownOutParameterYieldsTheRequestedInterface) {
    PropertyBag bag;
    ComPtr<IMAPIProp> prop;
    ASSERT_EQ(OpenAsUnknown(&bag, prop.PutUnknown()), S_OK);
    ASSERT_EQ(prop.Get(), static_cast<IMAPIProp*>(&bag));

    SPropValue flags = {};
    flags.ulPropTag = PR_MESSAGE_FLAGS;
    flags.Value.l = 5;
    EXPECT_EQ(HrSetOneProp(prop.Get(), &flags), S_OK);
}

TEST(ComPtr, AsQueriesForAnotherInterface) {
    CountedObject object;
    ComPtr<IUnknown> held(&object);
    ComPtr<IUnknown> same;
    EXPECT_EQ(held.As(IID_IUnknown, same), S_OK);
    EXPECT_EQ(object.References(), 3u);
    ComPtr<IMAPIProp> other;
    EXPECT_EQ(held.As(IID_IMAPIProp, other), static_cast<HRESULT>(0x80004002));
    EXPECT_FALSE(other);
    ComPtr<IUnknown> empty;
    EXPECT_EQ(empty.As(IID_IUnknown, same), static_cast<HRESULT>(0x80004003));
}

TEST(MapiOwners, BuffersAreOwnedByExactlyOneOwner) {
    LPVOID block = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(sizeof(SPropValue), &block), S_OK);
    MapiBuffer<SPropValue> first(static_cast<LPSPropValue>(block));
    first->ulPropTag = PR_MESSAGE_FLAGS;
    MapiBuffer<SPropValue> second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second[0].ulPropTag, 0x0E070003u);
    LPSPropValue raw = second.Detach();
    EXPECT_FALSE(second);
    second.Reset(raw);
    EXPECT_EQ(second.Get(), raw);
    ASSERT_EQ(MAPIAllocateBuffer(8, reinterpret_cast<LPVOID*>(second.Put())), S_OK);
    EXPECT_NE(second.Get(), nullptr);  // under a leak checker: the first buffer was freed
}

}  // namespace
