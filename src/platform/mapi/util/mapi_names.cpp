// Name tables generated at configure time from the declarations, so that a new tag or code
// declared in a header is named everywhere without a second list to keep in step.
#include "mapi_names.h"

#include <cstdio>
#include <unordered_map>

#include "mapicode.h"
#include "mapitags.h"

namespace orvella::platform::mapi {
namespace {

struct NameEntry {
    ULONG value;
    const char* name;
};

constexpr NameEntry kTagNames[] = {
#include "mapi_tag_names.inc"
};

constexpr NameEntry kCodeNames[] = {
    {static_cast<ULONG>(S_OK), "S_OK"},
#include "mapi_code_names.inc"
};

constexpr NameEntry kTypeNames[] = {
    {PT_NULL, "PT_NULL"},       {PT_I2, "PT_I2"},           {PT_LONG, "PT_LONG"},
    {PT_R4, "PT_R4"},           {PT_DOUBLE, "PT_DOUBLE"},   {PT_CURRENCY, "PT_CURRENCY"},
    {PT_APPTIME, "PT_APPTIME"}, {PT_ERROR, "PT_ERROR"},     {PT_BOOLEAN, "PT_BOOLEAN"},
    {PT_OBJECT, "PT_OBJECT"},   {PT_I8, "PT_I8"},           {PT_STRING8, "PT_STRING8"},
    {PT_UNICODE, "PT_UNICODE"}, {PT_SYSTIME, "PT_SYSTIME"}, {PT_CLSID, "PT_CLSID"},
    {PT_BINARY, "PT_BINARY"},
};

// The first name declared for a value wins: later aliases of the same value are not canonical.
template <size_t N>
std::unordered_map<ULONG, const char*> Index(const NameEntry (&entries)[N]) {
    std::unordered_map<ULONG, const char*> index;
    for (const NameEntry& entry : entries) index.emplace(entry.value, entry.name);
    return index;
}

const char* Find(const std::unordered_map<ULONG, const char*>& index, ULONG value) {
    auto found = index.find(value);
    return found == index.end() ? nullptr : found->second;
}

std::string Hex(const char* prefix, ULONG value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%s0x%0*X", prefix, digits, static_cast<unsigned>(value));
    return text;
}

}  // namespace

const char* PropTagName(ULONG tag) {
    static const auto index = Index(kTagNames);
    return Find(index, tag);
}

std::string ResultCodeName(HRESULT code) {
    static const auto index = Index(kCodeNames);
    const char* name = Find(index, static_cast<ULONG>(code));
    return name ? name : Hex("", static_cast<ULONG>(code), 8);
}

std::string PropTypeName(ULONG type) {
    static const auto index = Index(kTypeNames);
    const char* name = Find(index, type & ~MV_FLAG);
    if (!name) return Hex("PT_", type, 4);
    if (!(type & MV_FLAG)) return name;
    return std::string("PT_MV_") + (name + 3);
}

}  // namespace orvella::platform::mapi
