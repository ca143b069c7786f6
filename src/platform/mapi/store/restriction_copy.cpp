// Deep copies of restrictions and sort orders into MAPI buffers.
#include "restriction_copy.h"

#include <cstring>

#include "mapiutil.h"

namespace orvella::platform::mapi::store {
namespace {

constexpr int kMaxDepth = 64;

// Copies the parts of one restriction tree into buffers linked to the tree's root buffer.
class RestrictionCopier {
public:
    explicit RestrictionCopier(void* root) : root_(root) {}

    HRESULT Copy(const SRestriction& from, SRestriction& to, int depth) {
        if (depth > kMaxDepth) return MAPI_E_TOO_COMPLEX;
        to = from;
        switch (from.rt) {
            case RES_AND:
                return Children(from.res.resAnd.cRes, from.res.resAnd.lpRes, to.res.resAnd.lpRes,
                                depth);
            case RES_OR:
                return Children(from.res.resOr.cRes, from.res.resOr.lpRes, to.res.resOr.lpRes,
                                depth);
            case RES_NOT:
                return Children(1, from.res.resNot.lpRes, to.res.resNot.lpRes, depth);
            case RES_SUBRESTRICTION:
                return Children(1, from.res.resSub.lpRes, to.res.resSub.lpRes, depth);
            case RES_CONTENT:
                return Values(1, from.res.resContent.lpProp, to.res.resContent.lpProp);
            case RES_PROPERTY:
                return Values(1, from.res.resProperty.lpProp, to.res.resProperty.lpProp);
            case RES_COMMENT: {
                const SCommentRestriction& comment = from.res.resComment;
                HRESULT hr = Values(comment.cValues, comment.lpProp, to.res.resComment.lpProp);
                if (FAILED(hr)) return hr;
                return Children(1, comment.lpRes, to.res.resComment.lpRes, depth);
            }
            default:  // no pointers: compare-props, bitmask, size, exist; unknown types
                return S_OK;
        }
    }

private:
    template <class T>
    HRESULT Allocate(ULONG count, T*& out) {
        void* block = nullptr;
        SCODE sc = MAPIAllocateMore(static_cast<ULONG>(sizeof(T) * count), root_, &block);
        if (FAILED(sc)) return sc;
        out = static_cast<T*>(block);
        return S_OK;
    }

    HRESULT Children(ULONG count, const SRestriction* from, LPSRestriction& to, int depth) {
        to = nullptr;
        if (from == nullptr || count == 0) return S_OK;
        HRESULT hr = Allocate(count, to);
        for (ULONG i = 0; SUCCEEDED(hr) && i < count; ++i) hr = Copy(from[i], to[i], depth + 1);
        return hr;
    }

    HRESULT Values(ULONG count, const SPropValue* from, LPSPropValue& to) {
        to = nullptr;
        if (from == nullptr || count == 0) return S_OK;
        HRESULT hr = Allocate(count, to);
        for (ULONG i = 0; SUCCEEDED(hr) && i < count; ++i) {
            hr = PropCopyMore(&to[i], const_cast<LPSPropValue>(&from[i]), MAPIAllocateMore, root_);
        }
        return hr;
    }

    void* root_;
};

}  // namespace

HRESULT CopyRestriction(const SRestriction& source, MapiBuffer<SRestriction>& copy) {
    copy.Reset();
    void* block = nullptr;
    SCODE sc = MAPIAllocateBuffer(sizeof(SRestriction), &block);
    if (FAILED(sc)) return sc;
    MapiBuffer<SRestriction> root(static_cast<LPSRestriction>(block));
    HRESULT hr = RestrictionCopier(block).Copy(source, *root, 0);
    if (FAILED(hr)) return hr;
    copy = std::move(root);
    return S_OK;
}

HRESULT CopySortOrderSet(const SSortOrderSet& source, MapiBuffer<SSortOrderSet>& copy) {
    copy.Reset();
    void* block = nullptr;
    const ULONG size = static_cast<ULONG>(CbSSortOrderSet(&source));
    SCODE sc = MAPIAllocateBuffer(size, &block);
    if (FAILED(sc)) return sc;
    std::memcpy(block, &source, size);
    copy.Reset(static_cast<LPSSortOrderSet>(block));
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
