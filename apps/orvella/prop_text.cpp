// Formatting of MAPI property values and names for the command line.
#include "prop_text.h"

#include <cstdio>
#include <cstring>

#include "hex.h"
#include "mapi_names.h"
#include "mapi_ptr.h"
#include "mapi_wide_text.h"
#include "mapiguid.h"
#include "winbase.h"

namespace orvella::cli {
namespace {

using nlohmann::json;

std::string Hex(const SBinary& bin) {
    return platform::HexEncode({bin.lpb, bin.cb});
}

std::string TimeJson(const FILETIME& time) {
    SYSTEMTIME t = {};
    if (!FileTimeToSystemTime(&time, &t)) return "invalid time";
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", t.wYear, t.wMonth, t.wDay,
                  t.wHour, t.wMinute, t.wSecond);
    return text;
}

template <class Item, class Each>
json List(ULONG count, const Item* items, Each each) {
    json list = json::array();
    for (ULONG i = 0; i < count; ++i) list.push_back(each(items[i]));
    return list;
}

std::string Escaped(const std::string& text, size_t limit) {
    std::string shown;
    for (const char c : text) {
        if (shown.size() >= limit) {
            return shown + "... (" + std::to_string(text.size()) + " characters)";
        }
        if (c == '\n') {
            shown += "\\n";
        } else if (c == '\r') {
            shown += "\\r";
        } else if (c == '\t') {
            shown += "\\t";
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(c));
            shown += code;
        } else {
            shown += c;
        }
    }
    return shown;
}

struct PropertySet {
    const GUID* guid;
    const char* name;
};

constexpr PropertySet kPropertySets[] = {
    {&PS_PUBLIC_STRINGS, "PS_PUBLIC_STRINGS"},
    {&PS_MAPI, "PS_MAPI"},
    {&PS_INTERNET_HEADERS, "PS_INTERNET_HEADERS"},
    {&PSETID_Address, "PSETID_Address"},
    {&PSETID_Common, "PSETID_Common"},
    {&PSETID_Appointment, "PSETID_Appointment"},
    {&PSETID_Task, "PSETID_Task"},
    {&PSETID_Log, "PSETID_Log"},
    {&PSETID_Note, "PSETID_Note"},
};

std::string SetName(const GUID* guid) {
    if (!guid) return "?";
    for (const PropertySet& set : kPropertySets) {
        if (std::memcmp(set.guid, guid, sizeof(GUID)) == 0) return set.name;
    }
    char text[48];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(guid->Data1), guid->Data2, guid->Data3, guid->Data4[0],
                  guid->Data4[1], guid->Data4[2], guid->Data4[3], guid->Data4[4], guid->Data4[5],
                  guid->Data4[6], guid->Data4[7]);
    return text;
}

std::string NamedPropertyName(const MAPINAMEID& name) {
    std::string text = SetName(name.lpguid) + ":";
    if (name.ulKind == MNID_ID) {
        char id[16];
        std::snprintf(id, sizeof id, "0x%04X", static_cast<unsigned>(name.Kind.lID));
        return text + id;
    }
    return name.Kind.lpwstrName ? text + platform::mapi::WideToUtf8(name.Kind.lpwstrName) : text;
}

std::string TagHex(ULONG tag) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(tag));
    return text;
}

}  // namespace

json ValueJson(const SPropValue& value) {
    switch (PROP_TYPE(value.ulPropTag)) {
        case PT_I2:
            return value.Value.i;
        case PT_LONG:
            return value.Value.l;
        case PT_R4:
            return value.Value.flt;
        case PT_DOUBLE:
        case PT_APPTIME:
            return value.Value.dbl;
        case PT_CURRENCY:
        case PT_I8:
            return value.Value.li.QuadPart;
        case PT_BOOLEAN:
            return value.Value.b != 0;
        case PT_SYSTIME:
            return TimeJson(value.Value.ft);
        case PT_STRING8:
            return value.Value.lpszA ? value.Value.lpszA : "";
        case PT_BINARY:
            return Hex(value.Value.bin);
        case PT_CLSID:
            return SetName(value.Value.lpguid);
        case PT_ERROR:
            return {{"error", platform::mapi::ResultCodeName(value.Value.err)}};
        case PT_MV_LONG:
            return List(value.Value.MVl.cValues, value.Value.MVl.lpl,
                        [](LONG v) { return json(v); });
        case PT_MV_STRING8:
            return List(value.Value.MVszA.cValues, value.Value.MVszA.lppszA,
                        [](LPSTR v) { return json(v ? v : ""); });
        case PT_MV_BINARY:
            return List(value.Value.MVbin.cValues, value.Value.MVbin.lpbin,
                        [](const SBinary& v) { return Hex(v); });
        case PT_MV_SYSTIME:
            return List(value.Value.MVft.cValues, value.Value.MVft.lpft,
                        [](const FILETIME& v) { return TimeJson(v); });
        case PT_MV_I8:
            return List(value.Value.MVli.cValues, value.Value.MVli.lpli,
                        [](const LARGE_INTEGER& v) { return json(v.QuadPart); });
        case PT_MV_DOUBLE:
            return List(value.Value.MVdbl.cValues, value.Value.MVdbl.lpdbl,
                        [](double v) { return json(v); });
        default:
            return {{"unshown", platform::mapi::PropTypeName(PROP_TYPE(value.ulPropTag))}};
    }
}

std::string ValueText(const SPropValue& value, size_t limit) {
    const json shown = ValueJson(value);
    if (shown.is_string()) return Escaped(shown.get<std::string>(), limit);
    if (shown.is_object() && shown.contains("error")) {
        return "<" + shown["error"].get<std::string>() + ">";
    }
    return Escaped(shown.dump(-1, ' ', false, json::error_handler_t::replace), limit);
}

std::string ShortTimeText(const FILETIME& time) {
    return TimeJson(time).replace(10, 1, " ").substr(0, 16);
}

std::vector<std::string> PropertyNames(IMAPIProp* object, const std::vector<ULONG>& tags) {
    std::vector<std::string> names;
    std::vector<ULONG> named;
    for (const ULONG tag : tags) {
        const char* declared = platform::mapi::PropTagName(tag);
        names.push_back(declared ? declared : TagHex(tag));
        if (PROP_ID(tag) >= 0x8000) named.push_back(tag);
    }
    if (named.empty()) return names;

    std::vector<ULONG> request(named.size() + 1);
    request[0] = static_cast<ULONG>(named.size());
    std::copy(named.begin(), named.end(), request.begin() + 1);
    auto* request_tags = reinterpret_cast<LPSPropTagArray>(request.data());
    ULONG count = 0;
    platform::mapi::MapiBuffer<LPMAPINAMEID> found;
    if (FAILED(object->GetNamesFromIDs(&request_tags, nullptr, 0, &count, &found))) return names;
    for (size_t i = 0, n = 0; i < tags.size() && n < count; ++i) {
        if (PROP_ID(tags[i]) < 0x8000) continue;
        if (const MAPINAMEID* name = found[n++]) names[i] = NamedPropertyName(*name);
    }
    return names;
}

void PrintJson(const json& document) {
    std::puts(document.dump(2, ' ', false, json::error_handler_t::replace).c_str());
}

}  // namespace orvella::cli
