// Value builders, row readers and owning restrictions for the table tests.
#include "table_test_rows.h"

#include <cstdio>

namespace orvella::platform::mapi::testing {

SPropValue StringProp(ULONG tag, const char* text) {
    SPropValue prop = {};
    prop.ulPropTag = tag;
    prop.Value.lpszA = const_cast<char*>(text);
    return prop;
}

std::string ValueText(const SPropValue& value) {
    char text[32];
    switch (PROP_TYPE(value.ulPropTag)) {
        case PT_LONG:
            return "L:" + std::to_string(value.Value.l);
        case PT_STRING8:
            return std::string("S:") + (value.Value.lpszA ? value.Value.lpszA : "(null)");
        case PT_BINARY: {
            std::string hex = "B:";
            for (ULONG i = 0; i < value.Value.bin.cb; ++i) {
                std::snprintf(text, sizeof(text), "%02x", value.Value.bin.lpb[i]);
                hex += text;
            }
            return hex;
        }
        case PT_ERROR:
            std::snprintf(text, sizeof(text), "E(%04X):%08X", PROP_ID(value.ulPropTag),
                          static_cast<unsigned>(value.Value.err));
            return text;
        default:
            std::snprintf(text, sizeof(text), "T:%08X", value.ulPropTag);
            return text;
    }
}

std::string RowText(const SRow& row) {
    std::string text;
    for (ULONG i = 0; i < row.cValues; ++i) {
        if (i > 0) text += '|';
        text += ValueText(row.lpProps[i]);
    }
    return text;
}

std::vector<std::string> RowTexts(const SRowSet* rows) {
    std::vector<std::string> texts;
    for (ULONG i = 0; rows != nullptr && i < rows->cRows; ++i)
        texts.push_back(RowText(rows->aRow[i]));
    return texts;
}

std::vector<LONG> RowIds(const SRowSet* rows) {
    std::vector<LONG> ids;
    for (ULONG i = 0; rows != nullptr && i < rows->cRows; ++i) {
        LONG id = -1;
        for (ULONG c = 0; c < rows->aRow[i].cValues; ++c) {
            if (rows->aRow[i].lpProps[c].ulPropTag == kId) id = rows->aRow[i].lpProps[c].Value.l;
        }
        ids.push_back(id);
    }
    return ids;
}

SRestriction Restrictions::Property(ULONG relop, SPropValue value) {
    SRestriction r = {};
    r.rt = RES_PROPERTY;
    r.res.resProperty = {relop, value.ulPropTag, Keep(value)};
    return r;
}

SRestriction Restrictions::Content(ULONG fuzzy_level, SPropValue value) {
    SRestriction r = {RES_CONTENT, {}};
    r.res.resContent = {fuzzy_level, value.ulPropTag, Keep(value)};
    return r;
}

SRestriction Restrictions::Exist(ULONG tag) {
    SRestriction r = {};
    r.rt = RES_EXIST;
    r.res.resExist = {0, tag, 0};
    return r;
}

SRestriction Restrictions::Not(SRestriction inner) {
    SRestriction r = {};
    r.rt = RES_NOT;
    r.res.resNot = {0, Keep({inner}).lpRes};
    return r;
}

SRestriction Restrictions::And(std::vector<SRestriction> parts) {
    SRestriction r = {};
    r.rt = RES_AND;
    r.res.resAnd = Keep(std::move(parts));
    return r;
}

SRestriction Restrictions::Or(std::vector<SRestriction> parts) {
    const SAndRestriction kept = Keep(std::move(parts));
    SRestriction r = {};
    r.rt = RES_OR;
    r.res.resOr = {kept.cRes, kept.lpRes};
    return r;
}

LPSPropValue Restrictions::Keep(SPropValue value) {
    values_.push_back(value);
    return &values_.back();
}

SAndRestriction Restrictions::Keep(std::vector<SRestriction> parts) {
    parts_.push_back(std::move(parts));
    return {static_cast<ULONG>(parts_.back().size()), parts_.back().data()};
}

}  // namespace orvella::platform::mapi::testing
