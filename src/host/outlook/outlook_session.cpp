// The logged-on session behind one simulated Outlook application, and the MAPI property access
// its objects share.
#include <strings.h>

#include <stdexcept>

#include "hex.h"
#include "mapi_names.h"
#include "mapiutil.h"
#include "objidl.h"
#include "outlook_objects.h"
#include "profile.h"

namespace orvella::host::outlook {
namespace {

using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

std::runtime_error LogonFailure(const std::string& profile, const std::string& why) {
    return std::runtime_error("cannot log on to profile \"" + profile + "\": " + why);
}

ComPtr<IMsgStore> OpenDefaultStore(IMAPISession* session, const std::string& profile) {
    ComPtr<IMAPITable> table;
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DEFAULT_STORE}};
    RowSetPtr rows;
    HRESULT hr = session->GetMsgStoresTable(0, &table);
    if (SUCCEEDED(hr))
        hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                            nullptr, 0, &rows);
    if (FAILED(hr))
        throw LogonFailure(profile, std::string("listing its stores failed with ") +
                                        platform::mapi::ResultCodeName(hr));
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag != PR_ENTRYID || props[1].ulPropTag != PR_DEFAULT_STORE ||
            !props[1].Value.b)
            continue;
        ComPtr<IMsgStore> store;
        const SBinary& id = props[0].Value.bin;
        hr = session->OpenMsgStore(0, id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr,
                                   MDB_WRITE, &store);
        if (FAILED(hr))
            throw LogonFailure(profile, std::string("opening its default store failed with ") +
                                            platform::mapi::ResultCodeName(hr));
        return store;
    }
    throw LogonFailure(profile, "it has no default store");
}

}  // namespace

OutlookSession::OutlookSession(const std::string& profile)
    : profile_(profile.empty() ? platform::mapi::store::DefaultProfileName() : profile) {
    MAPIINIT_0 init = {MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS};
    if (FAILED(MAPIInitialize(&init))) throw LogonFailure(profile_, "MAPIInitialize failed");
    try {
        const FLAGS flags = MAPI_EXTENDED | (profile.empty() ? MAPI_USE_DEFAULT : 0);
        const HRESULT hr =
            MAPILogonEx(0, const_cast<char*>(profile_.c_str()), nullptr, flags, &session_);
        if (hr == MAPI_E_LOGON_FAILED) throw LogonFailure(profile_, "there is no such profile");
        if (FAILED(hr))
            throw LogonFailure(profile_, std::string("MAPILogonEx failed with ") +
                                             platform::mapi::ResultCodeName(hr));
        store_ = OpenDefaultStore(session_.Get(), profile_);
    } catch (...) {
        session_.Reset();
        MAPIUninitialize();
        throw;
    }
}

OutlookSession::~OutlookSession() {
    store_.Reset();
    session_.Reset();
    MAPIUninitialize();
}

HRESULT OutlookSession::OpenStore(const VARIANT& store_id_hex, ComPtr<IMsgStore>& store) const {
    if (IsMissing(store_id_hex)) {
        store = store_;
        return S_OK;
    }
    if (store_id_hex.vt != VT_BSTR) return DISP_E_TYPEMISMATCH;
    auto id = HexId(store_id_hex.bstrVal);
    if (!id) return E_INVALIDARG;
    return session_->OpenMsgStore(0, static_cast<ULONG>(id->size()),
                                  reinterpret_cast<LPENTRYID>(id->data()), nullptr, MDB_WRITE,
                                  &store);
}

void OutlookSession::SetDisplayListener(std::function<void(const DisplayedItem&)> listener) {
    std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void OutlookSession::Displayed(const DisplayedItem& item) {
    std::function<void(const DisplayedItem&)> listener;
    {
        std::lock_guard lock(mutex_);
        displayed_.push_back(item);
        listener = listener_;
    }
    if (listener) listener(item);
}

std::vector<DisplayedItem> OutlookSession::DisplayedItems() const {
    std::lock_guard lock(mutex_);
    return displayed_;
}

HRESULT ReadText(IMAPIProp* object, ULONG tag, std::string& text) {
    MapiBuffer<SPropValue> value;
    HRESULT hr = HrGetOneProp(object, tag, &value);
    if (SUCCEEDED(hr)) {
        text = value->Value.lpszA ? value->Value.lpszA : "";
        return S_OK;
    }
    if (hr != MAPI_E_NOT_ENOUGH_MEMORY) return hr;
    // Too large for GetProps: read it through its stream.
    ComPtr<IStream> stream;
    hr = object->OpenProperty(tag, &IID_IStream, 0, 0, stream.PutUnknown());
    if (FAILED(hr)) return hr;
    std::string bytes;
    char buffer[65536];
    ULONG read = 0;
    while (SUCCEEDED(hr = stream->Read(buffer, sizeof buffer, &read)) && read > 0)
        bytes.append(buffer, read);
    if (FAILED(hr)) return hr;
    text = std::move(bytes);
    return S_OK;
}

HRESULT ReadTextOrEmpty(IMAPIProp* object, ULONG tag, std::string& text) {
    const HRESULT hr = ReadText(object, tag, text);
    if (hr != MAPI_E_NOT_FOUND) return hr;
    text.clear();
    return S_OK;
}

HRESULT ReadBinary(IMAPIProp* object, ULONG tag, std::vector<BYTE>& bytes) {
    MapiBuffer<SPropValue> value;
    const HRESULT hr = HrGetOneProp(object, tag, &value);
    if (FAILED(hr)) return hr;
    bytes.assign(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
    return S_OK;
}

HRESULT ReadBinaryHex(IMAPIProp* object, ULONG tag, std::string& hex) {
    std::vector<BYTE> bytes;
    const HRESULT hr = ReadBinary(object, tag, bytes);
    if (SUCCEEDED(hr)) hex = platform::HexEncode(bytes);
    return hr;
}

HRESULT WriteText(IMAPIProp* object, ULONG tag, const std::string& text) {
    SPropValue value = TextValue(tag, text);
    return HrSetOneProp(object, &value);
}

HRESULT EntryIdAt(const SRowSet& rows, const VARIANT& index, ULONG name_tag, LONG first,
                  std::vector<BYTE>& entry_id) {
    if (index.vt != VT_I4 && index.vt != VT_BSTR) return DISP_E_TYPEMISMATCH;
    for (ULONG i = 0; i < rows.cRows; ++i) {
        const SPropValue* props = rows.aRow[i].lpProps;
        const bool named = index.vt == VT_I4
                               ? first + static_cast<LONG>(i) == index.lVal
                               : props[1].ulPropTag == name_tag &&
                                     strcasecmp(props[1].Value.lpszA, index.bstrVal.c_str()) == 0;
        if (!named) continue;
        if (props[0].ulPropTag != PR_ENTRYID) return DISP_E_BADINDEX;
        entry_id.assign(props[0].Value.bin.lpb, props[0].Value.bin.lpb + props[0].Value.bin.cb);
        return S_OK;
    }
    return DISP_E_BADINDEX;
}

std::optional<std::vector<BYTE>> HexId(const std::string& hex) {
    auto bytes = platform::HexDecode(hex);
    if (!bytes || bytes->empty()) return std::nullopt;
    return bytes;
}

std::optional<LONG> VariantNumber(const VARIANT& value) {
    if (value.vt != VT_I4) return std::nullopt;
    return value.lVal;
}

}  // namespace orvella::host::outlook
