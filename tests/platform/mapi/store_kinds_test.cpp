// Stores of every kind in one profile: the provider each names, the marks that tell an IMAP or
// HTTP mail account's personal folders apart, and the offline flag.
#include <gtest/gtest.h>

#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "table_test_rows.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
using orvella::platform::mapi::testing::ValueText;
namespace store = orvella::platform::mapi::store;

// The property sets the marks live in: the account set, the IMAP set and the HTTP mail set.
constexpr GUID kAccountMarks = {
    0x29F3AB56, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
constexpr GUID kImapMarks = {
    0x29F3AB55, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
constexpr GUID kHttpMarks = {
    0x29F3AB60, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};

struct Mark {
    const GUID* set;
    LONG lid;
    ULONG type;
};
constexpr Mark kMarks[] = {{&kAccountMarks, 0xA000, PT_LONG},
                           {&kImapMarks, 0xA070, PT_STRING8},
                           {&kImapMarks, 0xA072, PT_BINARY},
                           {&kHttpMarks, 0xA100, PT_STRING8}};

// The store's marks as text, one per kMarks entry: the value, or "-" when the store lacks it.
std::string MarksOf(IMsgStore* msg_store) {
    std::vector<MAPINAMEID> names;
    for (const Mark& mark : kMarks) {
        MAPINAMEID& name = names.emplace_back();
        name.lpguid = const_cast<LPGUID>(mark.set);
        name.ulKind = MNID_ID;
        name.Kind.lID = mark.lid;
    }
    std::vector<LPMAPINAMEID> pointers;
    for (MAPINAMEID& name : names) pointers.push_back(&name);
    MapiBuffer<SPropTagArray> ids;
    // Without MAPI_CREATE: looking must not add the names to a store that lacks them.
    HRESULT hr =
        msg_store->GetIDsFromNames(static_cast<ULONG>(pointers.size()), pointers.data(), 0, &ids);
    EXPECT_TRUE(hr == S_OK || hr == MAPI_W_ERRORS_RETURNED);
    std::string text;
    for (std::size_t i = 0; i < std::size(kMarks); ++i) {
        if (!text.empty()) text += ' ';
        MapiBuffer<SPropValue> value;
        const ULONG id = ids->aulPropTag[i];
        if (PROP_TYPE(id) == PT_ERROR ||
            HrGetOneProp(msg_store, PROP_TAG(kMarks[i].type, PROP_ID(id)), &value) != S_OK)
            text += '-';
        else
            text += ValueText(*value);
    }
    return text;
}

TEST(StoreKindTest, EachKindCarriesItsProviderAndMarks) {
    orvella::testing::TempHome home;
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
    const store::StoreSetup setups[] = {
        {"Mailbox", store::StoreKind::Exchange, true, false},
        {"Archive", store::StoreKind::Personal, false, false},
        {"IMAP Mail", store::StoreKind::Imap, false, false},
        {"Web Mail", store::StoreKind::Http, false, true},
        {"Public Folders", store::StoreKind::Public, false, false},
        {"Offline Copy", store::StoreKind::Exchange, false, true},
    };
    store::CreateProfile("Accounts", setups);
    {
        ComPtr<IMAPISession> session;
        ASSERT_EQ(MAPILogonEx(0, const_cast<char*>("Accounts"), nullptr, MAPI_EXTENDED, &session),
                  S_OK);
        ComPtr<IMAPITable> table;
        ASSERT_EQ(session->GetMsgStoresTable(0, &table), S_OK);
        SizedSPropTagArray(4, columns) = {
            4, {PR_ENTRYID, PR_DISPLAY_NAME_A, PR_MDB_PROVIDER, PR_DEFAULT_STORE}};
        RowSetPtr rows;
        ASSERT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                                 nullptr, 0, &rows),
                  S_OK);
        std::vector<std::string> seen;
        for (ULONG r = 0; r < rows->cRows; ++r) {
            const SPropValue* row = rows->aRow[r].lpProps;
            ComPtr<IMsgStore> msg_store;
            ASSERT_EQ(session->OpenMsgStore(0, row[0].Value.bin.cb,
                                            reinterpret_cast<LPENTRYID>(row[0].Value.bin.lpb),
                                            nullptr, 0, &msg_store),
                      S_OK);
            // What the store itself says must agree with the stores table.
            MapiBuffer<SPropValue> provider, offline;
            ASSERT_EQ(HrGetOneProp(msg_store.Get(), PR_MDB_PROVIDER, &provider), S_OK);
            EXPECT_EQ(ValueText(*provider), ValueText(row[2]));
            std::string line = ValueText(row[1]) + "|" + ValueText(row[2]) + "|" +
                               (row[3].Value.b ? "default" : "-") + "|";
            if (HrGetOneProp(msg_store.Get(), PR_STORE_OFFLINE, &offline) == S_OK)
                line += offline->Value.b ? "offline" : "online";
            else
                line += "-";
            seen.push_back(line + "|" + MarksOf(msg_store.Get()));
        }
        const std::string personal = "B:4e495441f9bfb80100aa0037d96e0000";
        const std::string exchange = "B:5494a1c0297f101ba58708002b2a2517";
        const std::string public_folders = "B:78b2fa70aff711cd9bc800aa002fc45a";
        EXPECT_EQ(seen, (std::vector<std::string>{
                            "S:Mailbox|" + exchange + "|default|-|- - - -",
                            "S:Archive|" + personal + "|-|-|- - - -",
                            "S:IMAP Mail|" + personal + "|-|-|L:1 S:IMAP Mail B:01000000 -",
                            "S:Web Mail|" + personal + "|-|offline|L:1 - - S:Web Mail",
                            "S:Public Folders|" + public_folders + "|-|-|- - - -",
                            "S:Offline Copy|" + exchange + "|-|offline|- - - -",
                        }));
    }
    MAPIUninitialize();
}

}  // namespace
