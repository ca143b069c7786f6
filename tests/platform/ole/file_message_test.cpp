// Messages on storage: every kept property type, recipients and named properties survive a
// save and a reopen; the .msg layout on disk; commits; damaged files; closed sessions.
#include <gtest/gtest.h>

#include <cstring>

#include "mapi_wide_text.h"
#include "mapiguid.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "ole_test_support.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

constexpr GUID kPropSet = {
    0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}};

SPropValue Prop(ULONG tag) {
    SPropValue v = {};
    v.ulPropTag = tag;
    return v;
}

// Named properties: (kPropSet, 0x8101), (PS_PUBLIC_STRINGS, "OV-Score"), (kPropSet, "Thread").
std::vector<ULONG> NamedIds(IMAPIProp* object, ULONG flags) {
    WCHAR score[] = L"OV-Score";
    WCHAR thread[] = L"Thread";
    MAPINAMEID names[3] = {};
    names[0].lpguid = const_cast<GUID*>(&kPropSet);
    names[0].ulKind = MNID_ID;
    names[0].Kind.lID = 0x8101;
    names[1].lpguid = const_cast<GUID*>(&PS_PUBLIC_STRINGS);
    names[1].ulKind = MNID_STRING;
    names[1].Kind.lpwstrName = score;
    names[2].lpguid = const_cast<GUID*>(&kPropSet);
    names[2].ulKind = MNID_STRING;
    names[2].Kind.lpwstrName = thread;
    LPMAPINAMEID list[3] = {&names[0], &names[1], &names[2]};
    MapiBuffer<SPropTagArray> tags;
    EXPECT_EQ(S_OK, object->GetIDsFromNames(3, list, flags, &tags));
    std::vector<ULONG> ids;
    for (ULONG i = 0; tags && i < tags->cValues; ++i) ids.push_back(PROP_ID(tags->aulPropTag[i]));
    return ids;
}

// A message with one value of every kept type, two recipients and three named properties.
void FillSample(IMessage* message) {
    static char subject[] = "Quarterly figures";
    static WCHAR wide[] = L"Gr\u00fc\u00dfe \U0001F600";
    static BYTE blob[] = {0, 1, 2, 250, 255};
    static GUID clsid = kPropSet;
    static LONG longs[] = {7, -8, 9};
    static short shorts[] = {-3, 4};
    static char a1[] = "alpha", a2[] = "";
    static LPSTR strings[] = {a1, a2};
    static WCHAR w1[] = L"\u00e9t\u00e9", w2[] = L"z";
    static LPWSTR wides[] = {w1, w2};
    static BYTE b1[] = {1}, b2[] = {2, 3};
    static SBinary bins[] = {{1, b1}, {2, b2}};
    static FILETIME times[] = {{1, 2}, {3, 4}};
    std::vector<SPropValue> values;
    auto add = [&](ULONG tag, auto set) {
        SPropValue v = Prop(tag);
        set(v.Value);
        values.push_back(v);
    };
    add(PR_SUBJECT_A, [](_PV& v) { v.lpszA = subject; });
    add(PROP_TAG(PT_UNICODE, 0x6601), [](_PV& v) { v.lpszW = wide; });
    add(PROP_TAG(PT_BINARY, 0x6602), [](_PV& v) { v.bin = {sizeof blob, blob}; });
    add(PROP_TAG(PT_CLSID, 0x6603), [](_PV& v) { v.lpguid = &clsid; });
    add(PROP_TAG(PT_I2, 0x6604), [](_PV& v) { v.i = -12; });
    add(PR_IMPORTANCE, [](_PV& v) { v.l = 2; });
    add(PROP_TAG(PT_R4, 0x6605), [](_PV& v) { v.flt = 1.5f; });
    add(PROP_TAG(PT_DOUBLE, 0x6606), [](_PV& v) { v.dbl = -2.25; });
    add(PROP_TAG(PT_CURRENCY, 0x6607), [](_PV& v) { v.cur.int64 = 123456789; });
    add(PROP_TAG(PT_APPTIME, 0x6608), [](_PV& v) { v.at = 40000.5; });
    add(PROP_TAG(PT_BOOLEAN, 0x6609), [](_PV& v) { v.b = 1; });
    add(PROP_TAG(PT_I8, 0x660A), [](_PV& v) { v.li.QuadPart = -1234567890123LL; });
    add(PR_CLIENT_SUBMIT_TIME, [](_PV& v) { v.ft = {0x89ABCDEF, 0x01D5A1B2}; });
    add(PROP_TAG(PT_MV_LONG, 0x660B), [](_PV& v) { v.MVl = {3, longs}; });
    add(PROP_TAG(PT_MV_I2, 0x660C), [](_PV& v) { v.MVi = {2, shorts}; });
    add(PROP_TAG(PT_MV_STRING8, 0x660D), [](_PV& v) { v.MVszA = {2, strings}; });
    add(PROP_TAG(PT_MV_UNICODE, 0x660E), [](_PV& v) { v.MVszW = {2, wides}; });
    add(PROP_TAG(PT_MV_BINARY, 0x660F), [](_PV& v) { v.MVbin = {2, bins}; });
    add(PROP_TAG(PT_MV_SYSTIME, 0x6610), [](_PV& v) { v.MVft = {2, times}; });
    ASSERT_EQ(S_OK, message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr));

    std::vector<ULONG> ids = NamedIds(message, MAPI_CREATE);
    ASSERT_EQ((std::vector<ULONG>{0x8000, 0x8001, 0x8002}), ids);
    static char thread[] = "thread-42";
    SPropValue named[3] = {Prop(PROP_TAG(PT_LONG, ids[0])), Prop(PROP_TAG(PT_DOUBLE, ids[1])),
                           Prop(PROP_TAG(PT_STRING8, ids[2]))};
    named[0].Value.l = 99;
    named[1].Value.dbl = 0.75;
    named[2].Value.lpszA = thread;
    ASSERT_EQ(S_OK, message->SetProps(3, named, nullptr));

    static char n1[] = "Ann Example", e1[] = "ann@example.org", n2[] = "Bob",
                e2[] = "bob@example.net";
    static char smtp[] = "SMTP";
    SPropValue r1[4] = {Prop(PR_DISPLAY_NAME_A), Prop(PR_EMAIL_ADDRESS_A), Prop(PR_ADDRTYPE_A),
                        Prop(PR_RECIPIENT_TYPE)};
    r1[0].Value.lpszA = n1;
    r1[1].Value.lpszA = e1;
    r1[2].Value.lpszA = smtp;
    r1[3].Value.l = MAPI_TO;
    SPropValue r2[4] = {r1[0], r1[1], r1[2], r1[3]};
    r2[0].Value.lpszA = n2;
    r2[1].Value.lpszA = e2;
    r2[3].Value.l = MAPI_CC;
    SizedADRLIST(2, list) = {2, {{0, 4, r1}, {0, 4, r2}}};
    ASSERT_EQ(S_OK, message->ModifyRecipients(0, reinterpret_cast<LPADRLIST>(&list)));
}

// Every value of the sample as text, for one literal comparison.
std::vector<std::string> Describe(IMessage* message) {
    std::vector<std::string> out;
    MapiBuffer<SPropValue> values;
    ULONG count = 0;
    EXPECT_EQ(S_OK, message->GetProps(nullptr, 0, &count, &values));
    for (ULONG i = 0; i < count; ++i) {
        const SPropValue& v = values[i];
        char tag[16];
        std::snprintf(tag, sizeof tag, "%08X=", static_cast<unsigned>(v.ulPropTag));
        std::string text = tag;
        switch (PROP_TYPE(v.ulPropTag)) {
            case PT_STRING8:
                text += v.Value.lpszA;
                break;
            case PT_UNICODE:
                text += platform::mapi::WideToUtf8(v.Value.lpszW);
                break;
            case PT_BINARY:
                for (ULONG b = 0; b < v.Value.bin.cb; ++b)
                    text += std::to_string(v.Value.bin.lpb[b]) + ",";
                break;
            case PT_CLSID:
                text += std::to_string(v.Value.lpguid->Data1);
                break;
            case PT_I2:
                text += std::to_string(v.Value.i);
                break;
            case PT_LONG:
                text += std::to_string(v.Value.l);
                break;
            case PT_R4:
                text += std::to_string(v.Value.flt);
                break;
            case PT_DOUBLE:
                text += std::to_string(v.Value.dbl);
                break;
            case PT_CURRENCY:
                text += std::to_string(v.Value.cur.int64);
                break;
            case PT_APPTIME:
                text += std::to_string(v.Value.at);
                break;
            case PT_BOOLEAN:
                text += std::to_string(v.Value.b);
                break;
            case PT_I8:
                text += std::to_string(v.Value.li.QuadPart);
                break;
            case PT_SYSTIME:
                text += std::to_string(v.Value.ft.dwHighDateTime) + ":" +
                        std::to_string(v.Value.ft.dwLowDateTime);
                break;
            case PT_MV_LONG:
                for (ULONG j = 0; j < v.Value.MVl.cValues; ++j)
                    text += std::to_string(v.Value.MVl.lpl[j]) + ",";
                break;
            case PT_MV_I2:
                for (ULONG j = 0; j < v.Value.MVi.cValues; ++j)
                    text += std::to_string(v.Value.MVi.lpi[j]) + ",";
                break;
            case PT_MV_STRING8:
                for (ULONG j = 0; j < v.Value.MVszA.cValues; ++j)
                    text += std::string("[") + v.Value.MVszA.lppszA[j] + "]";
                break;
            case PT_MV_UNICODE:
                for (ULONG j = 0; j < v.Value.MVszW.cValues; ++j)
                    text += "[" + platform::mapi::WideToUtf8(v.Value.MVszW.lppszW[j]) + "]";
                break;
            case PT_MV_BINARY:
                for (ULONG j = 0; j < v.Value.MVbin.cValues; ++j)
                    text += std::to_string(v.Value.MVbin.lpbin[j].cb) + ",";
                break;
            case PT_MV_SYSTIME:
                for (ULONG j = 0; j < v.Value.MVft.cValues; ++j)
                    text += std::to_string(v.Value.MVft.lpft[j].dwHighDateTime) + ",";
                break;
            default:
                text += "?";
                break;
        }
        out.push_back(text);
    }
    return out;
}

std::vector<std::string> RecipientRows(IMessage* message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(S_OK, message->GetRecipientTable(0, &table));
    SizedSPropTagArray(4, columns) = {
        4, {PR_ROWID, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A, PR_RECIPIENT_TYPE}};
    RowSetPtr rows;
    EXPECT_EQ(S_OK, HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                   nullptr, nullptr, 0, &rows));
    std::vector<std::string> out;
    for (ULONG i = 0; rows && i < rows->cRows; ++i) {
        const SPropValue* v = rows->aRow[i].lpProps;
        out.push_back(std::to_string(v[0].Value.l) + " " + v[1].Value.lpszA + " <" +
                      v[2].Value.lpszA + "> " + std::to_string(v[3].Value.l));
    }
    return out;
}

const std::vector<std::string> kSampleValues = {
    "00170003=2",
    "0037001E=Quarterly figures",
    "00390040=30777778:2309737967",
    "6601001F=Grüße 😀",
    "66020102=0,1,2,250,255,",
    "66030048=287454020",
    "66040002=-12",
    "66050004=1.500000",
    "66060005=-2.250000",
    "66070006=123456789",
    "66080007=40000.500000",
    "6609000B=1",
    "660A0014=-1234567890123",
    "660B1003=7,-8,9,",
    "660C1002=-3,4,",
    "660D101E=[alpha][]",
    "660E101F=[été][z]",
    "660F1102=1,2,",
    "66101040=2,4,",
    "80000003=99",
    "80010005=0.750000",
    "8002001E=thread-42",
};

const std::vector<std::string> kSampleRecipients = {
    "0 Ann Example <ann@example.org> 1",
    "1 Bob <bob@example.net> 2",
};

TEST(FileMessageTest, EveryPropertyTypeRecipientsAndNamesSurviveSaveAndReopen) {
    TempHome home;
    const auto path = home.path() / "sample.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        FillSample(file.message.Get());
        EXPECT_EQ(kSampleValues, Describe(file.message.Get()));
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    FileMessageHandle file;
    OpenMessageFile(path, file);
    EXPECT_EQ(kSampleValues, Describe(file.message.Get()));
    EXPECT_EQ(kSampleRecipients, RecipientRows(file.message.Get()));
    EXPECT_EQ((std::vector<ULONG>{0x8000, 0x8001, 0x8002}), NamedIds(file.message.Get(), 0));

    SizedSPropTagArray(3, tags) = {
        3, {PROP_TAG(PT_LONG, 0x8002), PROP_TAG(PT_LONG, 0x8000), PROP_TAG(PT_LONG, 0x8009)}};
    LPSPropTagArray asked = reinterpret_cast<LPSPropTagArray>(&tags);
    ULONG count = 0;
    MapiBuffer<LPMAPINAMEID> names;
    ASSERT_EQ(MAPI_W_ERRORS_RETURNED,
              file.message->GetNamesFromIDs(&asked, nullptr, 0, &count, &names));
    ASSERT_EQ(3u, count);
    EXPECT_EQ(MNID_STRING, names[0]->ulKind);
    EXPECT_EQ("Thread", platform::mapi::WideToUtf8(names[0]->Kind.lpwstrName));
    EXPECT_TRUE(*names[0]->lpguid == kPropSet);
    EXPECT_EQ(MNID_ID, names[1]->ulKind);
    EXPECT_EQ(0x8101, names[1]->Kind.lID);
    EXPECT_EQ(nullptr, names[2]);
}

TEST(FileMessageTest, FileHoldsTheMsgLayout) {
    TempHome home;
    const auto path = home.path() / "sample.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        FillSample(file.message.Get());
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    auto elements = GsfElements(path);
    EXPECT_EQ("Quarterly figures", elements["__substg1.0_0037001E"]);
    EXPECT_EQ(std::string("G\0r\0\xFC\0\xDF\0e\0 \0\x3D\xD8\x00\xDE", 16),
              elements["__substg1.0_6601001F"]);
    EXPECT_EQ(std::string("\x06\0\0\0\x01\0\0\0", 8), elements["__substg1.0_660D101E"]);
    EXPECT_EQ(std::string("alpha\0", 6), elements["__substg1.0_660D101E-00000000"]);
    // 32-byte header, then 22 entries of 16 bytes.
    EXPECT_EQ(32u + 22 * 16, elements["__properties_version1.0"].size());
    EXPECT_EQ(std::string("\x02\0\0\0", 4), elements["__properties_version1.0"].substr(16, 4));
    EXPECT_EQ("<storage>", elements["__recip_version1.0_#00000000"]);
    EXPECT_EQ("bob@example.net", elements["__recip_version1.0_#00000001/__substg1.0_3003001E"]);
    EXPECT_EQ(24u, elements["__nameid_version1.0/__substg1.0_00030102"].size());
    EXPECT_EQ(16u, elements["__nameid_version1.0/__substg1.0_00020102"].size());
    EXPECT_EQ(0u, elements.count("__recip_version1.0_#00000002"));
}

TEST(FileMessageTest, RemovedPropertiesAndRecipientsLeaveTheFileOnTheNextSave) {
    TempHome home;
    const auto path = home.path() / "sample.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        FillSample(file.message.Get());
        ASSERT_EQ(S_OK, file.message->SaveChanges(KEEP_OPEN_READWRITE));
        SizedSPropTagArray(2, gone) = {2, {PR_SUBJECT_A, PROP_TAG(PT_MV_STRING8, 0x660D)}};
        ASSERT_EQ(S_OK,
                  file.message->DeleteProps(reinterpret_cast<LPSPropTagArray>(&gone), nullptr));
        SPropValue row = Prop(PR_ROWID);
        row.Value.l = 0;
        SizedADRLIST(1, remove) = {1, {{0, 1, &row}}};
        ASSERT_EQ(S_OK, file.message->ModifyRecipients(MODRECIP_REMOVE,
                                                       reinterpret_cast<LPADRLIST>(&remove)));
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
    }
    auto elements = GsfElements(path);
    EXPECT_EQ(0u, elements.count("__substg1.0_0037001E"));
    EXPECT_EQ(0u, elements.count("__substg1.0_660D101E-00000000"));
    EXPECT_EQ(0u, elements.count("__recip_version1.0_#00000001"));
    FileMessageHandle file;
    OpenMessageFile(path, file);
    EXPECT_EQ("<missing>", PropText(file.message.Get(), PR_SUBJECT_A));
    EXPECT_EQ((std::vector<std::string>{"1 Bob <bob@example.net> 2"}),
              RecipientRows(file.message.Get()));
}

TEST(FileMessageTest, SaveWithoutStorageCommitWritesNothingUntilTheCallerCommits) {
    TempHome home;
    const auto path = home.path() / "held.msg";
    ComPtr<IStorage> storage;
    ASSERT_EQ(S_OK, StgCreateDocfile(
                        Wide(path).c_str(),
                        STGM_TRANSACTED | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE, 0,
                        &storage));
    ComPtr<IMessage> message;
    ASSERT_EQ(S_OK,
              OpenIMsgOnIStg(nullptr, MAPIAllocateBuffer, MAPIAllocateMore, MAPIFreeBuffer, nullptr,
                             nullptr, storage.Get(), nullptr, 0, IMSG_NO_ISTG_COMMIT, &message));
    char subject[] = "held";
    SPropValue value = Prop(PR_SUBJECT_A);
    value.Value.lpszA = subject;
    ASSERT_EQ(S_OK, message->SetProps(1, &value, nullptr));
    ASSERT_EQ(S_OK, message->SaveChanges(0));
    EXPECT_TRUE(GsfElements(path).empty());
    ASSERT_EQ(S_OK, storage->Commit(STGC_DEFAULT));
    EXPECT_EQ("held", GsfElements(path)["__substg1.0_0037001E"]);
}

TEST(FileMessageTest, ReadOnlyAndClosedMessagesRefuseWork) {
    TempHome home;
    const auto path = home.path() / "sample.msg";
    {
        FileMessageHandle file;
        CreateMessageFile(path, file);
        FillSample(file.message.Get());
        ASSERT_EQ(S_OK, file.message->SaveChanges(0));
        SPropValue value = Prop(PR_IMPORTANCE);
        EXPECT_EQ(MAPI_E_NO_ACCESS, file.message->SetProps(1, &value, nullptr));
    }
    FileMessageHandle file;
    OpenMessageFile(path, file);
    SPropValue value = Prop(PR_IMPORTANCE);
    EXPECT_EQ(MAPI_E_NO_ACCESS, file.message->SetProps(1, &value, nullptr));
    EXPECT_EQ(MAPI_E_NO_ACCESS, file.message->SaveChanges(0));
    CloseIMsgSession(file.session);
    file.session = nullptr;
    EXPECT_EQ("<missing>", PropText(file.message.Get(), PR_SUBJECT_A));
    MapiBuffer<SPropValue> values;
    ULONG count = 0;
    EXPECT_EQ(MAPI_E_INVALID_OBJECT, file.message->GetProps(nullptr, 0, &count, &values));
}

TEST(FileMessageTest, DamagedMessageStreamsAreReportedAsCorrupt) {
    TempHome home;
    struct Case {
        const char* name;
        std::string properties;  // the property stream's bytes
    } cases[] = {
        {"short-header", std::string(20, '\0')},
        {"ragged-entries", std::string(32 + 7, '\0')},
        // An entry for a string whose value stream is missing.
        {"missing-value",
         std::string(32, '\0') + std::string("\x1E\x00\x37\x00\x06\0\0\0\x05\0\0\0\0\0\0\0", 16)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto path = home.path() / (std::string(c.name) + ".msg");
        {
            ComPtr<IStorage> storage;
            ASSERT_EQ(S_OK, StgCreateDocfile(Wide(path).c_str(),
                                             STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE, 0,
                                             &storage));
            ComPtr<IStream> stream;
            ASSERT_EQ(S_OK,
                      storage->CreateStream(L"__properties_version1.0",
                                            STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream));
            ASSERT_EQ(S_OK, stream->Write(c.properties.data(),
                                          static_cast<ULONG>(c.properties.size()), nullptr));
        }
        const auto before = FileBytes(path);
        ComPtr<IStorage> storage;
        ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr,
                                       STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, &storage));
        ComPtr<IMessage> message;
        EXPECT_EQ(MAPI_E_CORRUPT_DATA,
                  OpenIMsgOnIStg(nullptr, MAPIAllocateBuffer, MAPIAllocateMore, MAPIFreeBuffer,
                                 nullptr, nullptr, storage.Get(), nullptr, 0, 0, &message));
        EXPECT_FALSE(message);
        storage.Reset();
        EXPECT_EQ(before, FileBytes(path));
    }
}

}  // namespace
}  // namespace orvella::testing
