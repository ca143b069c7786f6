// The directory of an Exchange-like profile: whether it knows an address, and the other
// addresses (aliases) of the person who has it.
#include <strings.h>
#include <cctype>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

// "@" after the first character, a "." two or more characters after it, and two or more
// characters after the last ".".
bool HasEmailForm(const std::string& address) {
    const size_t at = address.find('@');
    if (at == std::string::npos || at < 1) return false;
    if (address.find('.', at + 2) == std::string::npos) return false;
    return address.size() - address.rfind('.') - 1 >= 2;
}

// The directory's rows for an ambiguous name, with columns. MAPI_E_NOT_FOUND and
// MAPI_E_TOO_COMPLEX (and tooBig when given) come back as no rows.
HRESULT QueryByName(IABContainer* directory, const std::string& name, LPSPropTagArray columns,
                    HRESULT tooBig, RowSetPtr& rows) {
    ComPtr<IMAPITable> table;
    HRESULT hr = directory->GetContentsTable(0, &table);
    if (FAILED(hr)) return hr;
    SPropValue value = {};
    value.ulPropTag = PR_ANR_A;
    value.Value.lpszA = const_cast<LPSTR>(name.c_str());
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {RELOP_EQ, PR_ANR_A, &value};
    hr = HrQueryAllRows(table.Get(), columns, &restriction, nullptr, 0, &rows);
    if (hr == MAPI_E_NOT_FOUND || hr == MAPI_E_TOO_COMPLEX || (tooBig != S_OK && hr == tooBig)) {
        rows.Reset();
        return S_OK;
    }
    return hr;
}

}  // namespace

void COutlookContext::InitAddressBook() {
    if (!exchangeMode_) return;
    ComPtr<IAddrBook> addressBook;
    CheckMapi(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &addressBook), session_.Get(),
              "InitAddressBook: Unable to open address book");
    ULONG cb = 0;
    MapiBuffer<ENTRYID> entryId;
    CheckMapi(addressBook->GetDefaultDir(&cb, &entryId),
              "InitAddressBook: Unable to get default address book");
    ComPtr<IABContainer> container;
    ULONG type = 0;
    CheckMapi(addressBook->OpenEntry(cb, entryId.Get(), nullptr, 0, &type, container.PutUnknown()),
              "InitAddressBook: Unable to open default address book");
    // The user's own contacts are no directory.
    MapiBuffer<SPropValue> name;
    if (FAILED(HrGetOneProp(container.Get(), PR_DISPLAY_NAME_A, &name)) ||
        strcasecmp(name->Value.lpszA, "Contacts") == 0)
        return;
    directory_ = container;
}

HRESULT COutlookContext::ResolveEmailAddressFromAB(const std::string& address) {
    if (!directory_) return E_FAIL;
    if (address.empty()) return 1;
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    RowSetPtr rows;
    CheckMapi(QueryByName(directory_.Get(), address, reinterpret_cast<LPSPropTagArray>(&columns),
                          MAPI_E_TABLE_TOO_BIG, rows),
              "ResolveEmailAddressFromAB: HrQueryAllRows failed for " + address);
    return rows && rows->cRows > 0 ? 0 : 1;
}

std::vector<std::string> COutlookContext::GetEmailAliases(const std::string& address) {
    std::vector<std::string> aliases;
    if (!directory_) return aliases;
    const bool smtp = HasEmailForm(address);
    const std::string name = smtp ? "smtp:" + address : address;
    SizedSPropTagArray(2, columns) = {2, {PR_EMS_AB_PROXY_ADDRESSES_A, PR_ENTRYID}};
    RowSetPtr rows;
    CheckMapi(QueryByName(directory_.Get(), name, reinterpret_cast<LPSPropTagArray>(&columns), S_OK,
                          rows),
              "GetEmailAliases: HrQueryAllRows failed");
    if (!rows) return aliases;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag == PR_EMS_AB_PROXY_ADDRESSES_A) {
            const SLPSTRArray& proxies = props[0].Value.MVszA;
            for (ULONG p = 0; p < proxies.cValues; ++p) {
                std::string proxy = proxies.lppszA[p] ? proxies.lppszA[p] : "";
                std::string type = proxy.substr(0, 5);
                for (char& c : type)
                    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                if (type == "SMTP:") aliases.push_back(proxy.substr(5));
            }
        }
        if (!smtp || props[1].ulPropTag != PR_ENTRYID) continue;
        // The directory's own (native) address of the person.
        ComPtr<IAddrBook> addressBook;
        CheckMapi(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &addressBook), session_.Get(),
                  "GetEmailAliases: Unable to open address book");
        ComPtr<IMAPIProp> entry;
        ULONG type = 0;
        CheckMapi(addressBook->OpenEntry(props[1].Value.bin.cb,
                                         reinterpret_cast<LPENTRYID>(props[1].Value.bin.lpb),
                                         nullptr, 0, &type, entry.PutUnknown()),
                  "GetEmailAliases: Unable to open address entry");
        ULONG count = 0;
        MapiBuffer<SPropValue> all;
        CheckMapi(entry->GetProps(nullptr, 0, &count, &all), entry.Get(),
                  "GetEmailAliases: could not get properties");
        for (ULONG p = 0; p < count; ++p) {
            if (all.Get()[p].ulPropTag == PR_EMAIL_ADDRESS_A) {
                aliases.emplace_back(all.Get()[p].Value.lpszA);
                break;
            }
        }
    }
    return aliases;
}
