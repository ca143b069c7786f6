// Choosing stores and telling their kinds apart: the default store, the stores a user may pick
// for topic folders, Exchange, HTTP-mail and IMAP stores, offline and cached mode.
#include <algorithm>
#include <cstring>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

constexpr BYTE kPersonalProvider[16] = {0x4E, 0x49, 0x54, 0x41, 0xF9, 0xBF, 0xB8, 0x01,
                                        0x00, 0xAA, 0x00, 0x37, 0xD9, 0x6E, 0x00, 0x00};
constexpr BYTE kPublicProvider[16] = {0x78, 0xB2, 0xFA, 0x70, 0xAF, 0xF7, 0x11, 0xCD,
                                      0x9B, 0xC8, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A};
constexpr BYTE kExchangeProvider[16] = {0x54, 0x94, 0xA1, 0xC0, 0x29, 0x7F, 0x10, 0x1B,
                                        0xA5, 0x87, 0x08, 0x00, 0x2B, 0x2A, 0x25, 0x17};

// The property sets HTTP-mail and IMAP accounts mark their stores with.
GUID kAccountSet = {0x29F3AB56, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
GUID kImapSet = {0x29F3AB55, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
GUID kHttpSet = {0x29F3AB60, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};

bool IsProvider(const SPropValue& value, const BYTE (&provider)[16]) {
    return PROP_TYPE(value.ulPropTag) == PT_BINARY && value.Value.bin.cb == 16 &&
           std::memcmp(value.Value.bin.lpb, provider, 16) == 0;
}

MAPINAMEID NumericName(GUID& set, LONG id) {
    MAPINAMEID name = {};
    name.lpguid = &set;
    name.ulKind = MNID_ID;
    name.Kind.lID = id;
    return name;
}

}  // namespace

EntryId COutlookContext::GetDefaultDatastoreEID() {
    ComPtr<IMAPITable> stores;
    CheckMapi(session_->GetMsgStoresTable(0, &stores), session_.Get(),
              "GetDefaultDatastoreEID:GetMSgStoresTable failed");
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DEFAULT_STORE}};
    SPropValue isDefault = {};
    isDefault.ulPropTag = PR_DEFAULT_STORE;
    isDefault.Value.b = TRUE;
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty.relop = RELOP_EQ;
    restriction.res.resProperty.ulPropTag = PR_DEFAULT_STORE;
    restriction.res.resProperty.lpProp = &isDefault;
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(stores.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                             &restriction, nullptr, 0, &rows),
              stores.Get(), "GetDefaultDatastoreEID:HrQueryAllRows failed on stores table");
    if (rows->cRows == 0 || rows->aRow[0].lpProps[0].ulPropTag != PR_ENTRYID)
        FailProgram("GetDefaultDatastoreEID:Default store not found");
    return EntryId(rows->aRow[0].lpProps[0].Value.bin);
}

void COutlookContext::GetDatastoreList(std::vector<std::string>& names,
                                       std::vector<EntryId>& entryIds) {
    ComPtr<IMAPITable> stores;
    CheckMapi(session_->GetMsgStoresTable(0, &stores), session_.Get(),
              "GetDatastoreList:GetMSgStoresTable failed");
    SizedSPropTagArray(4, columns) = {
        4, {PR_ENTRYID, PR_DISPLAY_NAME_A, PR_DEFAULT_STORE, PR_MDB_PROVIDER}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(stores.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              stores.Get(), "GetDatastoreList:HrQueryAllRows failed on stores table");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag != PR_ENTRYID || props[1].ulPropTag != PR_DISPLAY_NAME_A) continue;
        EntryId id(props[0].Value.bin);
        if (IsProvider(props[3], kPersonalProvider) &&
            (IsHotmailDatastore(id) == 0 || IsIMAPDatastore(id) == 0))
            continue;
        if (IsProvider(props[3], kPublicProvider)) continue;
        std::string name = props[1].Value.lpszA;
        if (props[2].ulPropTag == PR_DEFAULT_STORE && props[2].Value.b) name += " (Primary)";
        names.push_back(name);
        entryIds.push_back(id);
    }
}

bool COutlookContext::IsExchangeMode() {
    try {
        MapiBuffer<SPropValue> provider;
        CheckMapi(HrGetOneProp(mailStore_.Get(), PR_MDB_PROVIDER, &provider), mailStore_.Get(),
                  "IsExchangeMode: Unable to obtain PR_MDB_PROVIDER");
        return IsProvider(*provider, kExchangeProvider);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
        return false;
    }
}

bool COutlookContext::HasNamedStoreProps(const EntryId& storeId, const char* failure,
                                         const MAPINAMEID* names, const ULONG* types, ULONG count) {
    ComPtr<IMsgStore> store;
    CheckMapi(
        session_->OpenMsgStore(0, storeId.cb(), storeId.get(), nullptr, MAPI_BEST_ACCESS, &store),
        session_.Get(), "OpenMsgStore failed");
    std::vector<LPMAPINAMEID> pointers;
    for (ULONG i = 0; i < count; ++i) pointers.push_back(const_cast<LPMAPINAMEID>(&names[i]));
    MapiBuffer<SPropTagArray> tags;
    CheckMapi(store->GetIDsFromNames(count, pointers.data(), 0, &tags), store.Get(), failure);
    if (std::all_of(tags->aulPropTag, tags->aulPropTag + count,
                    [](ULONG tag) { return PROP_ID(tag) == 0; }))
        return false;
    for (ULONG i = 0; i < count; ++i)
        tags->aulPropTag[i] = PROP_TAG(types[i], PROP_ID(tags->aulPropTag[i]));
    ULONG valueCount = 0;
    MapiBuffer<SPropValue> values;
    store->GetProps(tags.Get(), 0, &valueCount, &values);
    if (!values) return false;
    for (ULONG i = 0; i < valueCount; ++i)
        if (PROP_TYPE(values[i].ulPropTag) == PT_ERROR) return false;
    return true;
}

int COutlookContext::IsHotmailDatastore(const EntryId& storeId) {
    const MAPINAMEID names[] = {NumericName(kAccountSet, 0xA000), NumericName(kHttpSet, 0xA100)};
    const ULONG types[] = {PT_LONG, PT_STRING8};
    return HasNamedStoreProps(storeId, "IsHotmailDatastore: unable to get named ids", names, types,
                              2)
               ? 0
               : 1;
}

int COutlookContext::IsIMAPDatastore(const EntryId& storeId) {
    const MAPINAMEID names[] = {NumericName(kAccountSet, 0xA000), NumericName(kImapSet, 0xA070),
                                NumericName(kImapSet, 0xA072)};
    const ULONG types[] = {PT_LONG, PT_STRING8, PT_BINARY};
    return HasNamedStoreProps(storeId, "IsIMAPDatastore: unable to get named ids", names, types, 3)
               ? 0
               : 1;
}

LONG COutlookContext::ExchangeConnectionMode() {
    Outlook::OlExchangeConnectionMode mode = Outlook::olNoExchange;
    if (!nameSpace_ || FAILED(nameSpace_->get_ExchangeConnectionMode(&mode))) return -1;
    return mode;
}

bool COutlookContext::IsOffline() {
    VARIANT_BOOL offline = VARIANT_FALSE;
    auto namespaceOffline = [&] {
        return nameSpace_ && SUCCEEDED(nameSpace_->get_Offline(&offline)) && offline;
    };
    if (outlookVersion_ == "9") {
        MapiBuffer<SPropValue> value;
        return SUCCEEDED(HrGetOneProp(mailStore_.Get(), PR_STORE_OFFLINE, &value)) &&
               value->Value.b;
    }
    if (outlookVersion_ == "10") return namespaceOffline();
    if (outlookVersion_ == "11") {
        LONG mode = ExchangeConnectionMode();
        if (mode == 100 || mode == 200 || mode == 300 || mode == 400) return true;
        return mode == 0 && namespaceOffline();
    }
    return false;
}

bool COutlookContext::IsCachedMode() {
    if (outlookVersion_ != "11") return false;
    LONG mode = ExchangeConnectionMode();
    if (mode == 200 || mode == 400 || mode == 500 || mode == 600 || mode == 700) return true;
    return mode == 0 ? exchangeMode_ : false;
}

bool COutlookContext::IsSameStore(const EntryId& a, const EntryId& b) {
    ULONG result = FALSE;
    return SUCCEEDED(session_->CompareEntryIDs(a.cb(), a.get(), b.cb(), b.get(), 0, &result)) &&
           result;
}
