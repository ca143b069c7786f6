// Helpers the store operation tests share on top of StoreTest: entry ids, saving into any folder,
// subfolders, the rows of a table as text, and the order the store documents for sorted tables.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"
#include "mapix.h"
#include "store_fixture.h"

namespace orvella::testing {

// Property values that own what they point to (strings, bytes, arrays) for as long as the
// arena lives, so that tests can build messages and restrictions of every type.
class ValueArena {
public:
    SPropValue Long(ULONG tag, LONG value);
    SPropValue Bool(ULONG tag, bool value);
    SPropValue I8(ULONG tag, LONGLONG value);
    SPropValue Double(ULONG tag, double value);
    SPropValue Time(ULONG tag, ULONGLONG filetime);
    SPropValue Text(ULONG tag, std::string text);
    SPropValue Unicode(ULONG tag, std::wstring text);
    SPropValue Binary(ULONG tag, std::vector<BYTE> bytes);
    SPropValue Guid(ULONG tag, const GUID& guid);
    SPropValue TextList(ULONG tag, std::vector<std::string> texts);  // PT_MV_STRING8
    SPropValue LongList(ULONG tag, std::vector<LONG> values);        // PT_MV_LONG

private:
    std::deque<std::string> texts_;
    std::deque<std::wstring> wide_;
    std::deque<std::vector<BYTE>> bytes_;
    std::deque<GUID> guids_;
    std::deque<std::vector<LPSTR>> text_lists_;
    std::deque<std::vector<LONG>> long_lists_;
};

// OpenEntry on `opener` (a session, store or folder) with `id`; the result, and the object in
// `out` when it succeeded.
template <class Opener>
HRESULT OpenEntryOn(Opener* opener, EntryId id, ULONG flags,
                    platform::mapi::ComPtr<IUnknown>& out) {
    ULONG type = 0;
    return opener->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                             nullptr, flags, &type, out.PutUnknown());
}

// The value of a PT_LONG property of an object, or -1 when it has none.
LONG LongOf(IMAPIProp* object, ULONG tag);

// A tag array holding `tags`.
platform::mapi::MapiBuffer<SPropTagArray> TagArray(const std::vector<ULONG>& tags);

// Every row of the table with these columns (HrQueryAllRows).
platform::mapi::RowSetPtr AllRows(IMAPITable* table, const std::vector<ULONG>& columns);

// Every row of the table with these columns, each as "L:1|S:text|E(1000):8004010F".
std::vector<std::string> TableTexts(IMAPITable* table, std::vector<ULONG> columns);
// The rows of a folder's contents table (MAPI_ASSOCIATED in flags: the associated one) or of its
// hierarchy table (CONVENIENT_DEPTH in flags: every level) as TableTexts.
std::vector<std::string> ContentsTexts(IMAPIFolder* folder, std::vector<ULONG> columns,
                                       ULONG flags = 0);
std::vector<std::string> HierarchyTexts(IMAPIFolder* folder, std::vector<ULONG> columns,
                                        ULONG flags = 0);

struct SortKey {
    ULONG tag;
    ULONG order;  // TABLE_SORT_ASCEND or TABLE_SORT_DESCEND
};

// A sort order set of these keys, without categories.
platform::mapi::MapiBuffer<SSortOrderSet> SortOrder(const std::vector<SortKey>& keys);

// The positions of `rows` in the order a table sorted by `sort` gives them: by each key's value
// with CompareProps, a row lacking the value (or holding PT_ERROR) before every value, each key
// reversed for TABLE_SORT_DESCEND, ties in the rows' given order. `columns` says which column of
// a row holds each sort key.
std::vector<std::size_t> SortedPositions(std::span<const SRow> rows, const SSortOrderSet& sort,
                                         std::span<const std::size_t> columns);

}  // namespace orvella::testing
