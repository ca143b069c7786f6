// Resolving the named properties into the tag tables, and writing a message's scoring result.
#include <string>

#include "COutlookContext.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;

namespace {

// Asks object for the ids of names and types each returned tag with types[i].
template <size_t N>
void ResolveNames(IMAPIProp* object, std::array<MAPINAMEID, N>& names, ULONG flags,
                  const char* operation, const std::array<ULONG, N>& types,
                  std::array<ULONG, N>& tags) {
    std::array<LPMAPINAMEID, N> pointers;
    for (size_t i = 0; i < N; ++i) pointers[i] = &names[i];
    MapiBuffer<SPropTagArray> ids;
    CheckMapi(object->GetIDsFromNames(N, pointers.data(), flags, &ids), object,
              std::string(operation) + ": unable to get named ids");
    for (size_t i = 0; i < N; ++i) {
        if (PROP_ID(ids->aulPropTag[i]) == 0)
            throw orvella::diag::MAPIException(
                0, std::string(operation) + ": ids from name returned 0", "", 2, kModule, __LINE__);
        tags[i] = PROP_TAG(types[i], PROP_ID(ids->aulPropTag[i]));
    }
}

}  // namespace

void COutlookContext::InitContactProps() {
    try {
        ComPtr<IMAPIFolder> contacts = GetContactsFolder();
        std::array<MAPINAMEID, CONTACT_PROP_COUNT> names{};
        std::array<ULONG, CONTACT_PROP_COUNT> types{};
        for (size_t i = 0; i < CONTACT_PROP_COUNT; ++i) {
            names[i].lpguid = const_cast<LPGUID>(&PSETID_Address);
            names[i].ulKind = MNID_ID;
            names[i].Kind.lID = kContactPropDefinitions[i].id;
            types[i] = kContactPropDefinitions[i].type;
        }
        ResolveNames(contacts.Get(), names, 0, "InitContactProps", types, contactTags_);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void COutlookContext::InitItemsProps(IMAPIFolder* folder, ItemsPropTagTable& tags) {
    try {
        std::array<std::wstring, ITEMS_PROP_COUNT> wideNames;
        std::array<MAPINAMEID, ITEMS_PROP_COUNT> names{};
        std::array<ULONG, ITEMS_PROP_COUNT> types{};
        for (size_t i = 0; i < ITEMS_PROP_COUNT; ++i) {
            const char* name = kItemsPropDefinitions[i].name;
            wideNames[i].assign(name, name + std::char_traits<char>::length(name));
            names[i].lpguid = const_cast<LPGUID>(&PS_PUBLIC_STRINGS);
            names[i].ulKind = MNID_STRING;
            names[i].Kind.lpwstrName = wideNames[i].data();
            types[i] = kItemsPropDefinitions[i].type;
        }
        ResolveNames(folder, names, MAPI_CREATE, "InitItemsProps", types, tags);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

HRESULT COutlookContext::SaveMsgAttributes(IMessage* message, long score,
                                           const std::string& topicName, long threadId,
                                           long threadScore, FILETIME received) {
    const LONG day = DayKey(received);
    const LONG week = WeekKey(received);
    std::string displayDay = DisplayDay(received);
    std::string displayWeek = DisplayWeek(received);
    const ItemsPropTagTable& tags = itemsTags_;

    SPropValue values[8] = {};
    values[0].ulPropTag = tags[IP_MSG_SCORE];
    values[0].Value.l = -score;
    values[1].ulPropTag = tags[IP_TOPIC_NAME];
    values[1].Value.lpszA = const_cast<LPSTR>(topicName.c_str());
    values[2].ulPropTag = tags[IP_THREAD_ID];
    values[2].Value.l = threadId;
    values[3].ulPropTag = tags[IP_THREAD_SCORE];
    values[3].Value.l = -threadScore;
    values[4].ulPropTag = tags[IP_RECEIVED_DAY];
    values[4].Value.l = -day;
    values[5].ulPropTag = tags[IP_RECEIVED_WEEK];
    values[5].Value.l = -week;
    values[6].ulPropTag = tags[IP_DISPLAY_DAY];
    values[6].Value.lpszA = displayDay.data();
    values[7].ulPropTag = tags[IP_DISPLAY_WEEK];
    values[7].Value.lpszA = displayWeek.data();

    MapiBuffer<SPropProblemArray> problems;
    HRESULT hr = message->SetProps(8, values, &problems);
    if (hr == E_ACCESSDENIED) return hr;  // a message the user may not change
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, message, "SaveMsgAttributes::Failed set Props",
                                           problems.Get(), 2, kModule, __LINE__);
    hr = message->SaveChanges(KEEP_OPEN_READWRITE);
    if (hr == MAPI_E_OBJECT_DELETED) return E_FAIL;
    CheckMapi(hr, message, "SaveMsgAttributes::Failed SaveChanges");
    return S_OK;
}
