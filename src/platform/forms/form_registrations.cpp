// Registrations as associated messages: found through a restricted associated-contents table.
#include "form_registrations.h"

#include "mapiform.h"
#include "mapitags.h"
#include "mapiutil.h"

namespace orvella::platform::forms {
namespace {

using mapi::ComPtr;
using mapi::RowSetPtr;

// The form properties a registration keeps, besides its class.
constexpr ULONG kFormTags[] = {PR_DISPLAY_NAME_A,      PR_FORM_VERSION_A,      PR_FORM_CATEGORY_A,
                               PR_FORM_CATEGORY_SUB_A, PR_FORM_CONTACT_NAME_A, PR_FORM_HIDDEN,
                               PR_FORM_CLSID};
constexpr ULONG kFormTagCount = std::size(kFormTags);

SPropValue Value(ULONG tag) {
    SPropValue value = {};
    value.ulPropTag = tag;
    return value;
}

void AddText(std::vector<SPropValue>& values, ULONG tag, const std::optional<std::string>& text) {
    if (!text) return;
    values.push_back(Value(tag));
    values.back().Value.lpszA = const_cast<char*>(text->c_str());
}

// The registration's values; they point into `form`, which must outlive them.
std::vector<SPropValue> RegistrationValues(const FormDescription& form) {
    std::vector<SPropValue> values;
    values.push_back(Value(PR_MESSAGE_CLASS_A));
    values.back().Value.lpszA = const_cast<char*>(kRegistrationClass);
    values.push_back(Value(PR_SUBJECT_A));
    values.back().Value.lpszA = const_cast<char*>(form.message_class.c_str());
    AddText(values, PR_DISPLAY_NAME_A, form.display_name);
    AddText(values, PR_FORM_VERSION_A, form.version);
    AddText(values, PR_FORM_CATEGORY_A, form.category);
    AddText(values, PR_FORM_CATEGORY_SUB_A, form.subcategory);
    AddText(values, PR_FORM_CONTACT_NAME_A, form.contact);
    if (form.hidden) {
        values.push_back(Value(PR_FORM_HIDDEN));
        values.back().Value.b = *form.hidden ? 1 : 0;
    }
    if (form.clsid) {
        values.push_back(Value(PR_FORM_CLSID));
        values.back().Value.lpguid = const_cast<LPGUID>(&*form.clsid);
    }
    return values;
}

LPENTRYID AsEntryId(std::vector<BYTE>& bytes) {
    return reinterpret_cast<LPENTRYID>(bytes.data());
}

}  // namespace

std::vector<std::string> ClassAndBases(const std::string& message_class, bool exact) {
    std::vector<std::string> classes{message_class};
    if (exact) return classes;
    for (auto dot = message_class.rfind('.'); dot != std::string::npos && dot > 0;
         dot = message_class.rfind('.', dot - 1))
        classes.push_back(message_class.substr(0, dot));
    return classes;
}

HRESULT Registrations::Find(const std::string& message_class, std::vector<BYTE>& entry_id) const {
    ComPtr<IMAPITable> table;
    HRESULT hr = folder_->GetContentsTable(MAPI_ASSOCIATED, &table);
    if (FAILED(hr)) return hr;

    SPropValue registration = Value(PR_MESSAGE_CLASS_A);
    registration.Value.lpszA = const_cast<char*>(kRegistrationClass);
    SPropValue subject = Value(PR_SUBJECT_A);
    subject.Value.lpszA = const_cast<char*>(message_class.c_str());
    SRestriction parts[2] = {};
    parts[0].rt = RES_PROPERTY;
    parts[0].res.resProperty = {RELOP_EQ, PR_MESSAGE_CLASS_A, &registration};
    parts[1].rt = RES_CONTENT;
    parts[1].res.resContent = {FL_FULLSTRING | FL_IGNORECASE, PR_SUBJECT_A, &subject};
    SRestriction both = {};
    both.rt = RES_AND;
    both.res.resAnd = {2, parts};

    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    RowSetPtr rows;
    hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &both, nullptr, 0,
                        &rows);
    if (FAILED(hr)) return hr;
    if (rows->cRows == 0 || rows->aRow[0].lpProps[0].ulPropTag != PR_ENTRYID)
        return MAPI_E_NOT_FOUND;
    const SBinary& eid = rows->aRow[0].lpProps[0].Value.bin;
    entry_id.assign(eid.lpb, eid.lpb + eid.cb);
    return S_OK;
}

HRESULT Registrations::Read(std::vector<BYTE>& entry_id, ULONG* count, LPSPropValue* values) const {
    ComPtr<IMessage> message;
    ULONG type = 0;
    HRESULT hr = folder_->OpenEntry(static_cast<ULONG>(entry_id.size()), AsEntryId(entry_id),
                                    nullptr, 0, &type, message.PutUnknown());
    if (FAILED(hr)) return hr;
    SizedSPropTagArray(kFormTagCount + 1, tags) = {kFormTagCount + 1, {PR_SUBJECT_A}};
    std::copy(std::begin(kFormTags), std::end(kFormTags), tags.aulPropTag + 1);
    hr = message->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, count, values);
    if (FAILED(hr)) return hr;
    (*values)[0].ulPropTag = PR_MESSAGE_CLASS_A;
    return S_OK;
}

HRESULT Registrations::Write(const FormDescription& form) const {
    ComPtr<IMessage> message;
    std::vector<BYTE> existing;
    HRESULT hr = Find(form.message_class, existing);
    if (hr == MAPI_E_NOT_FOUND) {
        hr = folder_->CreateMessage(nullptr, MAPI_ASSOCIATED, &message);
    } else if (SUCCEEDED(hr)) {
        ULONG type = 0;
        hr = folder_->OpenEntry(static_cast<ULONG>(existing.size()), AsEntryId(existing), nullptr,
                                MAPI_MODIFY, &type, message.PutUnknown());
        SizedSPropTagArray(kFormTagCount, old) = {kFormTagCount, {}};
        std::copy(std::begin(kFormTags), std::end(kFormTags), old.aulPropTag);
        if (SUCCEEDED(hr))
            hr = message->DeleteProps(reinterpret_cast<LPSPropTagArray>(&old), nullptr);
    }
    if (FAILED(hr)) return hr;
    std::vector<SPropValue> values = RegistrationValues(form);
    hr = message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr);
    if (FAILED(hr)) return hr;
    return message->SaveChanges(0);
}

HRESULT Registrations::Remove(std::vector<BYTE>& entry_id) const {
    SBinary eid = {static_cast<ULONG>(entry_id.size()), entry_id.data()};
    ENTRYLIST list = {1, &eid};
    return folder_->DeleteMessages(&list, 0, nullptr, 0);
}

}  // namespace orvella::platform::forms
