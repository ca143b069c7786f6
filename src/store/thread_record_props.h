// Small helpers of the thread-record operations: property values, writing a set of values and
// opening a record read-write, each raising the operation's own failure.
#pragma once

#include <source_location>
#include <string>
#include <vector>

#include "entry_id.h"
#include "mapi_ptr.h"
#include "mapi_values.h"
#include "mapiguid.h"
#include "store_failures.h"
#include "winbase.h"

namespace thread_records {

using orvella::platform::mapi::LongValue;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::TextValue;
using orvella::platform::mapi::TimeValue;

// SetProps of values on object; a failure raises MAPIException with message and the problems.
inline void SetPropsOrFail(IMAPIProp* object, std::vector<SPropValue>& values,
                           const std::string& message,
                           std::source_location where = std::source_location::current()) {
    MapiBuffer<SPropProblemArray> problems;
    HRESULT hr = object->SetProps(static_cast<ULONG>(values.size()), values.data(), &problems);
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, object, message, problems.Get(), 2,
                                           store_failures::kModule, static_cast<int>(where.line()));
}

// The message entryId names, opened read-write through container (a store or a folder).
template <class Container>
orvella::platform::mapi::ComPtr<IMessage> OpenRecord(
    Container* container, const EntryId& entryId, const std::string& failure,
    std::source_location where = std::source_location::current()) {
    orvella::platform::mapi::ComPtr<IMessage> record;
    ULONG type = 0;
    store_failures::CheckMapi(container->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage,
                                                   MAPI_MODIFY, &type, record.PutUnknown()),
                              container, failure, where);
    return record;
}

inline SPropValue BoolValue(ULONG tag, bool value) {
    SPropValue prop = {};
    prop.ulPropTag = tag;
    prop.Value.b = value ? 1 : 0;
    return prop;
}

// The current time as the platform's clock gives it.
inline FILETIME NowFileTime() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return now;
}

}  // namespace thread_records
