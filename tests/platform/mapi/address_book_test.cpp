// The address book and the status table of a session: ambiguous name resolution, mail users,
// the add-in's own call sequences, profiles without a directory, and profile.db upgrades.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <span>
#include <string>
#include <vector>

#include "ascii_case.h"
#include "db/sqlite_db.h"
#include "directory.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "temp_home.h"

using orvella::platform::AsciiLower;

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
using orvella::testing::TempHome;
namespace store = orvella::platform::mapi::store;

using Bytes = std::vector<BYTE>;
using Strings = std::vector<std::string>;

// A restriction with the values it points to.
struct Res {
    SRestriction root = {};
    std::vector<SRestriction> children;
    std::vector<SPropValue> values = std::vector<SPropValue>(4);
};

void AnrInto(SRestriction& r, SPropValue& value, const char* text, ULONG relop = RELOP_EQ) {
    value = {};
    value.ulPropTag = PR_ANR_A;
    value.Value.lpszA = const_cast<char*>(text);
    r = {};
    r.rt = RES_PROPERTY;
    r.res.resProperty = {relop, PR_ANR_A, &value};
}

// The first column of each row, as text.
Strings Names(const RowSetPtr& rows) {
    Strings names;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue& v = rows->aRow[i].lpProps[0];
        names.push_back(v.ulPropTag == PR_DISPLAY_NAME_A ? v.Value.lpszA : "?");
    }
    return names;
}

Bytes Bin(const SPropValue& value) {
    return {value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb};
}

// The code of the StoreFailure `work` throws; S_OK when it throws none.
template <class Work>
HRESULT FailureOf(Work&& work) {
    try {
        work();
    } catch (const store::StoreFailure& failure) {
        return failure.code();
    }
    return S_OK;
}

// The add-in's steps, as the Exchange-aware start-up and scoring call them.
class AddIn {
public:
    explicit AddIn(IMAPISession* session) : session_(session) {}

    // InitAddressBook: the default directory, dropped when it is "Contacts".
    HRESULT InitAddressBook() {
        ComPtr<IAddrBook> book;
        if (HRESULT hr = session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &book); FAILED(hr))
            return hr;
        ULONG cb = 0;
        MapiBuffer<ENTRYID> id;
        if (HRESULT hr = book->GetDefaultDir(&cb, &id); FAILED(hr)) return hr;
        ULONG type = 0;
        ComPtr<IABContainer> opened;
        if (HRESULT hr = book->OpenEntry(cb, id.Get(), nullptr, 0, &type, opened.PutUnknown());
            FAILED(hr))
            return hr;
        MapiBuffer<SPropValue> name;
        if (FAILED(HrGetOneProp(opened.Get(), PR_DISPLAY_NAME_A, &name)) ||
            AsciiLower(name->Value.lpszA) == "contacts")
            return S_OK;
        container_ = opened;
        return S_OK;
    }
    bool has_container() const { return container_.Get() != nullptr; }

    // ResolveEmailAddressFromAB: 0 known, 1 unknown, E_FAIL without a container.
    HRESULT Resolve(const std::string& address) {
        if (!container_) return E_FAIL;
        if (address.empty()) return 1;
        RowSetPtr rows;
        const HRESULT hr = Query(address, {PR_ENTRYID}, rows);
        if (hr == MAPI_E_NOT_FOUND || hr == MAPI_E_TOO_COMPLEX || hr == MAPI_E_TABLE_TOO_BIG)
            return 1;
        if (FAILED(hr)) return hr;
        return rows->cRows > 0 ? 0 : 1;
    }

    // GetEmailAliases, steps 1 to 4.
    Strings Aliases(const std::string& address) {
        Strings aliases;
        const std::size_t at = address.find('@');
        const std::size_t dot = address.rfind('.');
        const bool smtp = at != std::string::npos && at > 0 && dot != std::string::npos &&
                          dot >= at + 2 && dot + 2 < address.size();
        RowSetPtr rows;
        if (FAILED(Query(smtp ? "smtp:" + address : address,
                         {PR_EMS_AB_PROXY_ADDRESSES_A, PR_ENTRYID}, rows)))
            return aliases;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SPropValue* props = rows->aRow[i].lpProps;
            if (props[0].ulPropTag == PR_EMS_AB_PROXY_ADDRESSES_A)
                for (ULONG j = 0; j < props[0].Value.MVszA.cValues; ++j) {
                    const std::string proxy = props[0].Value.MVszA.lppszA[j];
                    if (proxy.size() >= 5 && AsciiLower(proxy.substr(0, 5)) == "smtp:")
                        aliases.push_back(proxy.substr(5));
                }
            if (!smtp || props[1].ulPropTag != PR_ENTRYID) continue;
            ComPtr<IAddrBook> book;
            EXPECT_EQ(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &book), S_OK);
            ComPtr<IMailUser> user;
            ULONG type = 0;
            EXPECT_EQ(book->OpenEntry(props[1].Value.bin.cb,
                                      reinterpret_cast<LPENTRYID>(props[1].Value.bin.lpb), nullptr,
                                      0, &type, user.PutUnknown()),
                      S_OK);
            ULONG count = 0;
            MapiBuffer<SPropValue> all;
            EXPECT_EQ(user->GetProps(nullptr, 0, &count, &all), S_OK);
            if (LPSPropValue native = PpropFindProp(all.Get(), count, PR_EMAIL_ADDRESS_A))
                aliases.push_back(native->Value.lpszA);
        }
        return aliases;
    }

    // GetDefaultExchangeUserAddress.
    std::string DefaultExchangeUserAddress() {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(session_->GetStatusTable(0, &table), S_OK);
        SizedSPropTagArray(1, columns) = {1, {PR_IDENTITY_ENTRYID}};
        SRestriction exists = {};
        exists.rt = RES_EXIST;
        exists.res.resExist.ulPropTag = PR_IDENTITY_ENTRYID;
        RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &exists,
                                 nullptr, 0, &rows),
                  S_OK);
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SBinary& id = rows->aRow[i].lpProps[0].Value.bin;
            ComPtr<IMAPIProp> entry;
            ULONG type = 0;
            EXPECT_EQ(session_->OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, 0,
                                          &type, entry.PutUnknown()),
                      S_OK);
            SizedSPropTagArray(2, tags) = {2, {PR_ADDRTYPE_A, PR_EMAIL_ADDRESS_A}};
            ULONG count = 0;
            MapiBuffer<SPropValue> values;
            EXPECT_EQ(entry->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, &values),
                      S_OK);
            if (values[0].ulPropTag == PR_ADDRTYPE_A &&
                std::string(values[0].Value.lpszA) == "EX" &&
                values[1].ulPropTag == PR_EMAIL_ADDRESS_A)
                return AsciiLower(values[1].Value.lpszA);
        }
        return "";
    }

private:
    HRESULT Query(const std::string& text, std::vector<ULONG> tags, RowSetPtr& rows) {
        ComPtr<IMAPITable> table;
        if (HRESULT hr = container_->GetContentsTable(0, &table); FAILED(hr)) return hr;
        Res r;
        AnrInto(r.root, r.values[0], text.c_str());
        SizedSPropTagArray(2, columns) = {static_cast<ULONG>(tags.size()), {tags[0], tags.back()}};
        return HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &r.root,
                              nullptr, 0, &rows);
    }

    IMAPISession* session_;
    ComPtr<IABContainer> container_;
};

class AddressBookTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(MAPIInitialize(nullptr), S_OK); }
    void TearDown() override {
        session_.Reset();
        MAPIUninitialize();
    }

    void CreateProfile(store::StoreKind kind) {
        store::StoreSetup setup{"Mailbox", kind, true, false};
        store::CreateProfile("Outlook", std::span(&setup, 1));
    }

    // An Exchange-like profile with its user and three colleagues.
    void CreateExchangeProfile() {
        CreateProfile(store::StoreKind::Exchange);
        store::AddDirectoryEntry("Outlook", {"Pat Doe", "pat@orvella.test", "", {}}, true);
        store::AddDirectoryEntry("Outlook", {"Ann Lee",
                                             "ann.lee@example.org",
                                             "annl",
                                             {"smtp:ann@example.com", "X500:/o=Old/cn=annlee"}});
        store::AddDirectoryEntry("Outlook",
                                 {"Bob Stone", "bob@example.org", "", {"robert@example.net"}});
        store::AddDirectoryEntry("Outlook", {"Annette Byrne", "annette@example.org", "", {}});
    }

    void Logon() {
        session_.Reset();
        ASSERT_EQ(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_),
                  S_OK);
    }

    ComPtr<IABContainer> DefaultDir() {
        ComPtr<IAddrBook> book;
        EXPECT_EQ(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &book), S_OK);
        ULONG cb = 0;
        MapiBuffer<ENTRYID> id;
        EXPECT_EQ(book->GetDefaultDir(&cb, &id), S_OK);
        ComPtr<IABContainer> container;
        ULONG type = 0;
        EXPECT_EQ(book->OpenEntry(cb, id.Get(), nullptr, 0, &type, container.PutUnknown()), S_OK);
        EXPECT_EQ(type, ULONG{MAPI_ABCONT});
        return container;
    }

    // The display names (table order) of the default directory's rows satisfying `r`.
    HRESULT Rows(const SRestriction* r, RowSetPtr& rows,
                 std::vector<ULONG> columns = {PR_DISPLAY_NAME_A, PR_ENTRYID}) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(DefaultDir()->GetContentsTable(0, &table), S_OK);
        std::vector<ULONG> tags(1 + columns.size());
        tags[0] = static_cast<ULONG>(columns.size());
        std::copy(columns.begin(), columns.end(), tags.begin() + 1);
        return HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(tags.data()),
                              const_cast<LPSRestriction>(r), nullptr, 0, &rows);
    }

    Strings Anr(const char* text) {
        Res r;
        AnrInto(r.root, r.values[0], text);
        RowSetPtr rows;
        EXPECT_EQ(Rows(&r.root, rows), S_OK) << text;
        return rows ? Names(rows) : Strings{};
    }

    // The entry id of the one entry `text` resolves to.
    Bytes EntryIdOf(const char* text) {
        Res r;
        AnrInto(r.root, r.values[0], text);
        RowSetPtr rows;
        EXPECT_EQ(Rows(&r.root, rows), S_OK);
        if (!rows || rows->cRows != 1) {
            ADD_FAILURE() << "\"" << text << "\" does not resolve to one entry";
            return {};
        }
        return Bin(rows->aRow[0].lpProps[1]);
    }

    TempHome home_;
    ComPtr<IMAPISession> session_;
};

TEST_F(AddressBookTest, AmbiguousNameResolutionMatchesPrefixesOfNamesAliasesAndAddresses) {
    CreateExchangeProfile();
    Logon();
    const struct {
        const char* text;
        Strings names;
    } cases[] = {
        {"Ann", {"Ann Lee", "Annette Byrne"}},
        {"ann lee", {"Ann Lee"}},
        {"ANNL", {"Ann Lee"}},
        {"bob@EXAMPLE.org", {"Bob Stone"}},
        {"robert@example.net", {"Bob Stone"}},
        {"smtp:robert@example.net", {"Bob Stone"}},
        {"SMTP:ann@example.com", {"Ann Lee"}},
        {"smtp:bob@", {"Bob Stone"}},
        {"/o=Old", {"Ann Lee"}},
        {"/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=bob", {"Bob Stone"}},
        {"  pat@orvella.test  ", {"Pat Doe"}},
        {"lee", {}},
        {"carol", {}},
        {"", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(Anr(c.text), c.names) << "\"" << c.text << "\"";
}

TEST_F(AddressBookTest, AnrMatchingMoreThanAHundredEntriesIsTableTooBig) {
    CreateProfile(store::StoreKind::Exchange);
    for (int i = 1; i <= 100; ++i) {
        const std::string n = std::to_string(i);
        store::AddDirectoryEntry("Outlook", {"Member " + n, "member" + n + "@example.org", "", {}});
    }
    Logon();
    EXPECT_EQ(Anr("member").size(), 100u);

    store::AddDirectoryEntry("Outlook", {"Member 101", "member101@example.org", "", {}});
    Res r;
    AnrInto(r.root, r.values[0], "member");
    RowSetPtr rows;
    EXPECT_EQ(Rows(&r.root, rows), MAPI_E_TABLE_TOO_BIG);
    EXPECT_EQ(Anr("Member 10"), (Strings{"Member 10", "Member 100", "Member 101"}));
}

TEST_F(AddressBookTest, AnrCombinesUnderAndAndOrButNotOtherwise) {
    CreateExchangeProfile();
    Logon();
    Res both;  // ANR "ann" and an SMTP address starting with "annette"
    both.children.resize(2);
    AnrInto(both.children[0], both.values[0], "ann");
    both.values[1] = {};
    both.values[1].ulPropTag = PR_SMTP_ADDRESS_A;
    both.values[1].Value.lpszA = const_cast<char*>("annette");
    both.children[1].rt = RES_CONTENT;
    both.children[1].res.resContent = {FL_PREFIX, PR_SMTP_ADDRESS_A, &both.values[1]};
    both.root.rt = RES_AND;
    both.root.res.resAnd = {2, both.children.data()};

    Res either;  // ANR "bob" or ANR "pat"
    either.children.resize(2);
    AnrInto(either.children[0], either.values[0], "bob");
    AnrInto(either.children[1], either.values[1], "pat");
    either.root.rt = RES_OR;
    either.root.res.resOr = {2, either.children.data()};

    Res negated;
    negated.children.resize(1);
    AnrInto(negated.children[0], negated.values[0], "bob");
    negated.root.rt = RES_NOT;
    negated.root.res.resNot.lpRes = negated.children.data();

    Res other_relop;
    AnrInto(other_relop.root, other_relop.values[0], "bob", RELOP_GE);

    Res exists;
    exists.root.rt = RES_EXIST;
    exists.root.res.resExist.ulPropTag = PR_ANR_A;

    const struct {
        const char* what;
        const SRestriction* r;
        HRESULT result;
        Strings names;
    } cases[] = {
        {"and", &both.root, S_OK, {"Annette Byrne"}},
        {"or", &either.root, S_OK, {"Pat Doe", "Bob Stone"}},
        {"not", &negated.root, MAPI_E_TOO_COMPLEX, {}},
        {"relop", &other_relop.root, MAPI_E_TOO_COMPLEX, {}},
        {"exist", &exists.root, MAPI_E_TOO_COMPLEX, {}},
    };
    for (const auto& c : cases) {
        RowSetPtr rows;
        EXPECT_EQ(Rows(c.r, rows), c.result) << c.what;
        if (c.result == S_OK) {
            EXPECT_EQ(Names(rows), c.names) << c.what;
        }
    }
}

TEST_F(AddressBookTest, FindRowResolvesAnrFromTheCursor) {
    CreateExchangeProfile();
    Logon();
    ComPtr<IMAPITable> table;
    ASSERT_EQ(DefaultDir()->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_DISPLAY_NAME_A}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    Res r;
    AnrInto(r.root, r.values[0], "robert");
    ASSERT_EQ(table->FindRow(&r.root, BOOKMARK_BEGINNING, 0), S_OK);
    RowSetPtr rows;
    ASSERT_EQ(table->QueryRows(1, 0, &rows), S_OK);
    EXPECT_EQ(Names(rows), Strings{"Bob Stone"});
    EXPECT_EQ(table->FindRow(&r.root, BOOKMARK_CURRENT, 0), MAPI_E_NOT_FOUND);
}

TEST_F(AddressBookTest, MailUsersCarryTheirDirectoryValues) {
    CreateExchangeProfile();
    Logon();
    const Bytes id = EntryIdOf("annl");

    ComPtr<IAddrBook> book;
    ASSERT_EQ(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &book), S_OK);
    ComPtr<IMailUser> user;
    ULONG type = 0;
    ASSERT_EQ(book->OpenEntry(static_cast<ULONG>(id.size()),
                              reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(id.data())), nullptr, 0,
                              &type, user.PutUnknown()),
              S_OK);
    EXPECT_EQ(type, ULONG{MAPI_MAILUSER});

    SizedSPropTagArray(9, tags) = {
        9,
        {PR_DISPLAY_NAME_A, PR_ADDRTYPE_A, PR_EMAIL_ADDRESS_A, PR_ACCOUNT_A, PR_SMTP_ADDRESS_A,
         PR_OBJECT_TYPE, PR_DISPLAY_TYPE, PR_EMS_AB_PROXY_ADDRESSES_A, PR_SUBJECT_A}};
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    ASSERT_EQ(user->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, &values),
              MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(count, 9u);
    EXPECT_STREQ(values[0].Value.lpszA, "Ann Lee");
    EXPECT_STREQ(values[1].Value.lpszA, "EX");
    EXPECT_STREQ(values[2].Value.lpszA,
                 "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=annl");
    EXPECT_STREQ(values[3].Value.lpszA, "annl");
    EXPECT_STREQ(values[4].Value.lpszA, "ann.lee@example.org");
    EXPECT_EQ(values[5].Value.ul, ULONG{MAPI_MAILUSER});
    EXPECT_EQ(values[6].Value.ul, ULONG{DT_MAILUSER});
    ASSERT_EQ(values[7].ulPropTag, ULONG{PR_EMS_AB_PROXY_ADDRESSES_A});
    Strings proxies(values[7].Value.MVszA.lppszA,
                    values[7].Value.MVszA.lppszA + values[7].Value.MVszA.cValues);
    EXPECT_EQ(proxies, (Strings{"SMTP:ann.lee@example.org", "smtp:ann@example.com",
                                "X500:/o=Old/cn=annlee"}));
    EXPECT_EQ(values[8].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_SUBJECT_A)));
    EXPECT_EQ(values[8].Value.err, MAPI_E_NOT_FOUND);

    SPropValue rename = {};
    rename.ulPropTag = PR_DISPLAY_NAME_A;
    rename.Value.lpszA = const_cast<char*>("Someone Else");
    EXPECT_EQ(user->SetProps(1, &rename, nullptr), MAPI_E_NO_ACCESS);
}

TEST_F(AddressBookTest, TheAddInsCallSequencesFindTheDirectoryAndTheUser) {
    CreateExchangeProfile();
    Logon();
    AddIn addin(session_.Get());
    ASSERT_EQ(addin.InitAddressBook(), S_OK);
    ASSERT_TRUE(addin.has_container());

    const struct {
        const char* address;
        HRESULT known;
    } resolved[] = {
        {"bob@example.org", 0}, {"ann@example.com", 0}, {"carol@example.org", 1}, {"", 1}};
    for (const auto& c : resolved) EXPECT_EQ(addin.Resolve(c.address), c.known) << c.address;

    EXPECT_EQ(addin.Aliases("ann.lee@example.org"),
              (Strings{"ann.lee@example.org", "ann@example.com",
                       "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=annl"}));
    EXPECT_EQ(addin.Aliases("annl"), (Strings{"ann.lee@example.org", "ann@example.com"}));
    EXPECT_EQ(addin.Aliases("nobody@example.org"), Strings{});

    EXPECT_EQ(addin.DefaultExchangeUserAddress(),
              "/o=orvella/ou=exchange administrative group/cn=recipients/cn=pat");
}

TEST_F(AddressBookTest, TheIdentityRowsPointToTheUsersOwnEntry) {
    CreateExchangeProfile();
    Logon();
    ComPtr<IMAPITable> table;
    ASSERT_EQ(session_->GetStatusTable(0, &table), S_OK);
    SizedSPropTagArray(4, columns) = {
        4, {PR_RESOURCE_TYPE, PR_DISPLAY_NAME_A, PR_IDENTITY_DISPLAY_A, PR_IDENTITY_ENTRYID}};
    RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    Strings described;
    Bytes identity;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* p = rows->aRow[i].lpProps;
        described.push_back(std::to_string(p[0].Value.ul) + " " + p[1].Value.lpszA +
                            (p[2].ulPropTag == PR_IDENTITY_DISPLAY_A
                                 ? std::string(" as ") + p[2].Value.lpszA
                                 : ""));
        if (p[3].ulPropTag == PR_IDENTITY_ENTRYID) identity = Bin(p[3]);
    }
    EXPECT_EQ(described, (Strings{"39 MAPI Subsystem as Pat Doe", "34 MAPI Address Book",
                                  "35 Exchange-like Directory", "33 Mailbox",
                                  "36 Exchange-like Transport as Pat Doe"}));

    const Bytes listed = EntryIdOf("pat");
    ULONG same = 0;
    ASSERT_EQ(session_->CompareEntryIDs(
                  static_cast<ULONG>(identity.size()), reinterpret_cast<LPENTRYID>(identity.data()),
                  static_cast<ULONG>(listed.size()),
                  reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(listed.data())), 0, &same),
              S_OK);
    EXPECT_EQ(same, 1u);
}

TEST_F(AddressBookTest, AProfileWithoutADirectoryOffersOnlyContactsAndNoIdentity) {
    CreateProfile(store::StoreKind::Personal);
    Logon();
    MapiBuffer<SPropValue> name;
    ASSERT_EQ(HrGetOneProp(DefaultDir().Get(), PR_DISPLAY_NAME_A, &name), S_OK);
    EXPECT_STREQ(name->Value.lpszA, "Contacts");
    RowSetPtr rows;
    ASSERT_EQ(Rows(nullptr, rows), S_OK);
    EXPECT_EQ(rows->cRows, 0u);

    AddIn addin(session_.Get());
    ASSERT_EQ(addin.InitAddressBook(), S_OK);
    EXPECT_FALSE(addin.has_container());
    EXPECT_EQ(addin.Resolve("bob@example.org"), E_FAIL);
    EXPECT_EQ(addin.DefaultExchangeUserAddress(), "");

    ComPtr<IAddrBook> book;
    ASSERT_EQ(session_->OpenAddressBook(0, nullptr, AB_NO_DIALOG, &book), S_OK);
    RowSetPtr path;
    ASSERT_EQ(book->GetSearchPath(0, &path), S_OK);
    ASSERT_EQ(path->cRows, 1u);
    EXPECT_STREQ(path->aRow[0].lpProps[1].Value.lpszA, "Contacts");
    EXPECT_EQ(FailureOf([] {
                  store::AddDirectoryEntry("Outlook", {"Bob Stone", "bob@example.org", "", {}});
              }),
              MAPI_E_NO_SUPPORT);
}

TEST_F(AddressBookTest, EntriesAndTheirIdsLastAcrossSessions) {
    CreateExchangeProfile();
    Logon();
    const Bytes bob = EntryIdOf("bob");

    store::AddDirectoryEntry("Outlook", {"Bobby Tables", "bobby@example.org", "", {}});
    Logon();
    EXPECT_EQ(Anr("bob"), (Strings{"Bob Stone", "Bobby Tables"}));
    EXPECT_EQ(EntryIdOf("bob@"), bob);

    store::RemoveDirectoryEntry("Outlook", "BOB@example.org");
    Logon();
    EXPECT_EQ(Anr("bob"), Strings{"Bobby Tables"});
    ComPtr<IMAPIProp> gone;
    ULONG type = 0;
    EXPECT_EQ(session_->OpenEntry(static_cast<ULONG>(bob.size()),
                                  reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(bob.data())),
                                  nullptr, 0, &type, gone.PutUnknown()),
              MAPI_E_NOT_FOUND);
}

TEST_F(AddressBookTest, DirectoryChangesAreCheckedBeforeTheyAreStored) {
    CreateExchangeProfile();
    const struct {
        const char* what;
        store::DirectoryEntrySetup setup;
        bool is_user;
        HRESULT code;
    } cases[] = {
        {"taken address", {"Robert", "BOB@example.org", "rob", {}}, false, MAPI_E_COLLISION},
        {"taken alias", {"Bob Other", "bob@example.net", "", {}}, false, MAPI_E_COLLISION},
        {"second user", {"Kim", "kim@example.org", "", {}}, true, MAPI_E_COLLISION},
        {"not an address", {"Kim", "kim.example.org", "", {}}, false, MAPI_E_INVALID_PARAMETER},
        {"no name", {"", "kim@example.org", "", {}}, false, MAPI_E_INVALID_PARAMETER},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FailureOf([&] { store::AddDirectoryEntry("Outlook", c.setup, c.is_user); }),
                  c.code)
            << c.what;
    const struct {
        const char* address;
        HRESULT code;
    } removals[] = {{"pat@orvella.test", MAPI_E_NO_ACCESS}, {"kim@example.org", MAPI_E_NOT_FOUND}};
    for (const auto& c : removals)
        EXPECT_EQ(FailureOf([&] { store::RemoveDirectoryEntry("Outlook", c.address); }), c.code)
            << c.address;
    EXPECT_EQ(store::DirectoryEntries("Outlook").size(), 4u);
}

TEST_F(AddressBookTest, AnOlderProfileDatabaseIsUpgradedOnFirstUse) {
    CreateProfile(store::StoreKind::Exchange);
    const auto file = store::ProfileDirectory("Outlook") / "profile.db";
    auto version = [&] {
        store::Database db(file, false);
        auto& read = db.Cached("PRAGMA user_version");
        read.Step();
        return read.Int(0);
    };
    {
        // A profile written before directories existed: its stores table alone.
        store::Database db(file, false);
        db.Exec("DROP TABLE IF EXISTS directory; PRAGMA user_version = 0");
    }
    Logon();
    EXPECT_EQ(Anr("anyone"), Strings{});
    EXPECT_EQ(version(), 1);
    store::AddDirectoryEntry("Outlook", {"Ann Lee", "ann@example.org", "", {}});
    Logon();
    EXPECT_EQ(Anr("ann"), Strings{"Ann Lee"});

    {
        store::Database db(file, false);
        db.Exec("PRAGMA user_version = 7");
    }
    EXPECT_EQ(FailureOf([] { store::DirectoryEntries("Outlook"); }), MAPI_E_VERSION);
}

}  // namespace
