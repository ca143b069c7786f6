// The declarations carry MAPI's documented values and layouts: property tags, result codes,
// flags, GUIDs, the tag macros and the sizes of the structures a provider fills.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "mapicode.h"
#include "mapidefs.h"
#include "mapiguid.h"
#include "mapitags.h"
#include "mapix.h"

namespace {

struct Named {
    const char* name;
    ULONG actual;
    ULONG expected;
};

#define NAMED(symbol, value)                         \
    Named {                                          \
#symbol, static_cast < ULONG>(symbol), value \
    }

TEST(MapiDeclarations, PropertyTagsHaveTheirDocumentedValues) {
    const Named tags[] = {
        NAMED(PR_ENTRYID, 0x0FFF0102),
        NAMED(PR_PARENT_ENTRYID, 0x0E090102),
        NAMED(PR_RECORD_KEY, 0x0FF90102),
        NAMED(PR_STORE_ENTRYID, 0x0FFB0102),
        NAMED(PR_OBJECT_TYPE, 0x0FFE0003),
        NAMED(PR_INSTANCE_KEY, 0x0FF60102),
        NAMED(PR_SUBJECT_A, 0x0037001E),
        NAMED(PR_SUBJECT_W, 0x0037001F),
        NAMED(PR_SUBJECT, 0x0037001E),
        NAMED(PR_MESSAGE_CLASS_A, 0x001A001E),
        NAMED(PR_BODY, 0x1000001E),
        NAMED(PR_DISPLAY_NAME, 0x3001001E),
        NAMED(PR_DISPLAY_NAME_A, 0x3001001E),
        NAMED(PR_CONTAINER_CLASS_A, 0x3613001E),
        NAMED(PR_CONTENT_COUNT, 0x36020003),
        NAMED(PR_CONTENT_UNREAD, 0x36030003),
        NAMED(PR_SUBFOLDERS, 0x360A000B),
        NAMED(PR_DEPTH, 0x30050003),
        NAMED(PR_FOLDER_TYPE, 0x36010003),
        NAMED(PR_MESSAGE_FLAGS, 0x0E070003),
        NAMED(PR_MESSAGE_SIZE, 0x0E080003),
        NAMED(PR_CREATION_TIME, 0x30070040),
        NAMED(PR_LAST_MODIFICATION_TIME, 0x30080040),
        NAMED(PR_MESSAGE_DELIVERY_TIME, 0x0E060040),
        NAMED(PR_CLIENT_SUBMIT_TIME, 0x00390040),
        NAMED(PR_IMPORTANCE, 0x00170003),
        NAMED(PR_PRIORITY, 0x00260003),
        NAMED(PR_SENDER_NAME_A, 0x0C1A001E),
        NAMED(PR_SENDER_EMAIL_ADDRESS_A, 0x0C1F001E),
        NAMED(PR_SENT_REPRESENTING_EMAIL_ADDRESS_A, 0x0065001E),
        NAMED(PR_DISPLAY_TO_A, 0x0E04001E),
        NAMED(PR_DISPLAY_CC_A, 0x0E03001E),
        NAMED(PR_RECIPIENT_TYPE, 0x0C150003),
        NAMED(PR_EMAIL_ADDRESS_A, 0x3003001E),
        NAMED(PR_ADDRTYPE_A, 0x3002001E),
        NAMED(PR_SMTP_ADDRESS_A, 0x39FE001E),
        NAMED(PR_ROWID, 0x30000003),
        NAMED(PR_INTERNET_MESSAGE_ID_A, 0x1035001E),
        NAMED(PR_TRANSPORT_MESSAGE_HEADERS_A, 0x007D001E),
        NAMED(PR_RECEIVED_BY_EMAIL_ADDRESS_A, 0x0076001E),
        NAMED(PR_IPM_SUBTREE_ENTRYID, 0x35E00102),
        NAMED(PR_IPM_OUTBOX_ENTRYID, 0x35E20102),
        NAMED(PR_IPM_WASTEBASKET_ENTRYID, 0x35E30102),
        NAMED(PR_IPM_SENTMAIL_ENTRYID, 0x35E40102),
        NAMED(PR_IPM_CONTACT_ENTRYID, 0x36D10102),
        NAMED(PR_IPM_DRAFTS_ENTRYID, 0x36D70102),
        NAMED(PR_MDB_PROVIDER, 0x34140102),
        NAMED(PR_DEFAULT_STORE, 0x3400000B),
        NAMED(PR_RESOURCE_FLAGS, 0x30090003),
        NAMED(PR_STORE_SUPPORT_MASK, 0x340D0003),
        NAMED(PR_STORE_OFFLINE, 0x6632000B),
        NAMED(PR_ANR_A, 0x360C001E),
        NAMED(PR_EMS_AB_PROXY_ADDRESSES_A, 0x800F101E),
        NAMED(PR_IDENTITY_ENTRYID, 0x3E010102),
        NAMED(PR_PROVIDER_DISPLAY_A, 0x3006001E),
        NAMED(PR_RESOURCE_TYPE, 0x3E030003),
        NAMED(PR_NULL, 0x00000001),
    };
    for (const Named& tag : tags) EXPECT_EQ(tag.actual, tag.expected) << tag.name;
}

TEST(MapiDeclarations, ResultCodesHaveTheirDocumentedValues) {
    const Named codes[] = {
        NAMED(MAPI_E_CALL_FAILED, 0x80004005),
        NAMED(MAPI_E_NOT_ENOUGH_MEMORY, 0x8007000E),
        NAMED(MAPI_E_INVALID_PARAMETER, 0x80070057),
        NAMED(MAPI_E_INTERFACE_NOT_SUPPORTED, 0x80004002),
        NAMED(MAPI_E_NO_ACCESS, 0x80070005),
        NAMED(MAPI_E_NO_SUPPORT, 0x80040102),
        NAMED(MAPI_E_INVALID_ENTRYID, 0x80040107),
        NAMED(MAPI_E_OBJECT_CHANGED, 0x80040109),
        NAMED(MAPI_E_OBJECT_DELETED, 0x8004010A),
        NAMED(MAPI_E_NOT_FOUND, 0x8004010F),
        NAMED(MAPI_E_TOO_COMPLEX, 0x80040117),
        NAMED(MAPI_E_EXTENDED_ERROR, 0x80040119),
        NAMED(MAPI_E_UNKNOWN_ENTRYID, 0x80040201),
        NAMED(MAPI_E_TABLE_TOO_BIG, 0x80040403),
        NAMED(MAPI_E_INVALID_BOOKMARK, 0x80040405),
        NAMED(MAPI_E_COLLISION, 0x80040604),
        NAMED(MAPI_E_AMBIGUOUS_RECIP, 0x80040700),
        NAMED(MAPI_W_ERRORS_RETURNED, 0x00040380),
        NAMED(MAPI_W_POSITION_CHANGED, 0x00040481),
        NAMED(MAPI_W_PARTIAL_COMPLETION, 0x00040680),
    };
    for (const Named& code : codes) EXPECT_EQ(code.actual, code.expected) << code.name;
    EXPECT_TRUE(FAILED(MAPI_E_NOT_FOUND));
    EXPECT_TRUE(SUCCEEDED(MAPI_W_ERRORS_RETURNED));
}

TEST(MapiDeclarations, FlagsHaveTheirDocumentedValues) {
    const Named flags[] = {
        NAMED(MAPI_MODIFY, 0x1),
        NAMED(MAPI_CREATE, 0x2),
        NAMED(MAPI_DEFERRED_ERRORS, 0x8),
        NAMED(MAPI_BEST_ACCESS, 0x10),
        NAMED(MAPI_ASSOCIATED, 0x40),
        NAMED(MAPI_UNICODE, 0x80000000),
        NAMED(MDB_WRITE, 0x4),
        NAMED(KEEP_OPEN_READONLY, 0x1),
        NAMED(KEEP_OPEN_READWRITE, 0x2),
        NAMED(FORCE_SAVE, 0x4),
        NAMED(TBL_NOADVANCE, 0x1),
        NAMED(TBL_ASYNC, 0x1),
        NAMED(TBL_BATCH, 0x2),
        NAMED(BOOKMARK_BEGINNING, 0),
        NAMED(BOOKMARK_CURRENT, 1),
        NAMED(BOOKMARK_END, 2),
        NAMED(DIR_BACKWARD, 0x1),
        NAMED(MESSAGE_MOVE, 0x1),
        NAMED(DEL_MESSAGES, 0x1),
        NAMED(DEL_FOLDERS, 0x4),
        NAMED(OPEN_IF_EXISTS, 0x1),
        NAMED(FOLDER_GENERIC, 1),
        NAMED(MNID_ID, 0),
        NAMED(MNID_STRING, 1),
        NAMED(RES_AND, 0),
        NAMED(RES_OR, 1),
        NAMED(RES_NOT, 2),
        NAMED(RES_CONTENT, 3),
        NAMED(RES_PROPERTY, 4),
        NAMED(RES_EXIST, 8),
        NAMED(RES_COMMENT, 10),
        NAMED(RELOP_EQ, 4),
        NAMED(RELOP_NE, 5),
        NAMED(RELOP_RE, 6),
        NAMED(FL_SUBSTRING, 0x1),
        NAMED(FL_PREFIX, 0x2),
        NAMED(FL_IGNORECASE, 0x10000),
        NAMED(FL_IGNORENONSPACE, 0x20000),
        NAMED(FL_LOOSE, 0x40000),
        NAMED(MAPI_TO, 1),
        NAMED(MAPI_CC, 2),
        NAMED(MAPI_BCC, 3),
        NAMED(MAPI_STORE, 1),
        NAMED(MAPI_FOLDER, 3),
        NAMED(MAPI_ABCONT, 4),
        NAMED(MAPI_MESSAGE, 5),
        NAMED(MAPI_MAILUSER, 6),
        NAMED(MAPI_DISTLIST, 8),
        NAMED(MAPI_MULTITHREAD_NOTIFICATIONS, 0x1),
        NAMED(MAPI_LOGON_UI, 0x1),
        NAMED(MAPI_NEW_SESSION, 0x2),
        NAMED(MAPI_EXTENDED, 0x20),
        NAMED(MAPI_USE_DEFAULT, 0x40),
        NAMED(MAPI_NO_MAIL, 0x8000),
        NAMED(AB_NO_DIALOG, 0x1),
        NAMED(MAPIFORM_EXACTMATCH, 0x20),
        NAMED(MODRECIP_ADD, 0x2),
        NAMED(MODRECIP_MODIFY, 0x4),
        NAMED(MODRECIP_REMOVE, 0x8),
        NAMED(MSGFLAG_READ, 0x1),
        NAMED(MSGFLAG_UNSENT, 0x8),
        NAMED(fnevCriticalError, 0x1),
        NAMED(fnevNewMail, 0x2),
        NAMED(fnevObjectCreated, 0x4),
        NAMED(fnevObjectDeleted, 0x8),
        NAMED(fnevObjectModified, 0x10),
        NAMED(fnevObjectMoved, 0x20),
        NAMED(fnevObjectCopied, 0x40),
        NAMED(fnevTableModified, 0x100),
        NAMED(STATUS_DEFAULT_STORE, 0x2),
        NAMED(PT_UNSPECIFIED, 0),
        NAMED(PT_NULL, 1),
        NAMED(PT_SHORT, 2),
        NAMED(PT_LONG, 3),
        NAMED(PT_DOUBLE, 5),
        NAMED(PT_ERROR, 10),
        NAMED(PT_BOOLEAN, 11),
        NAMED(PT_OBJECT, 13),
        NAMED(PT_I8, 20),
        NAMED(PT_STRING8, 30),
        NAMED(PT_UNICODE, 31),
        NAMED(PT_SYSTIME, 64),
        NAMED(PT_CLSID, 72),
        NAMED(PT_BINARY, 258),
        NAMED(PT_MV_LONG, 0x1003),
        NAMED(PT_MV_STRING8, 0x101E),
        NAMED(PT_MV_BINARY, 0x1102),
    };
    for (const Named& flag : flags) EXPECT_EQ(flag.actual, flag.expected) << flag.name;
}

TEST(MapiDeclarations, TagMacrosComposeAndTakeApartTags) {
    EXPECT_EQ(PROP_TAG(PT_LONG, 0x8001), 0x80010003u);
    EXPECT_EQ(PROP_ID(0x0037001Eu), 0x0037u);
    EXPECT_EQ(PROP_TYPE(0x0037001Eu), 0x001Eu);
    EXPECT_EQ(CHANGE_PROP_TYPE(PR_SUBJECT_A, PT_ERROR), 0x0037000Au);
    EXPECT_EQ(CHANGE_PROP_TYPE(0x80050003u, PT_UNSPECIFIED), 0x80050000u);
    EXPECT_EQ(MVI_PROP(PR_EMS_AB_PROXY_ADDRESSES_A), 0x800F301Eu);
}

TEST(MapiDeclarations, GuidsHaveTheirDocumentedValues) {
    struct NamedGuid {
        const char* name;
        GUID actual;
        GUID expected;
    };
    const BYTE ole[8] = {0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    auto oleGuid = [&](DWORD first) {
        GUID guid{first, 0, 0, {}};
        std::memcpy(guid.Data4, ole, sizeof ole);
        return guid;
    };
    const NamedGuid guids[] = {
        {"IID_IUnknown", IID_IUnknown, oleGuid(0x00000000)},
        {"IID_IStream", IID_IStream, oleGuid(0x0000000C)},
        {"IID_IMAPISession", IID_IMAPISession, oleGuid(0x00020300)},
        {"IID_IMAPITable", IID_IMAPITable, oleGuid(0x00020301)},
        {"IID_IMAPIAdviseSink", IID_IMAPIAdviseSink, oleGuid(0x00020302)},
        {"IID_IMAPIProp", IID_IMAPIProp, oleGuid(0x00020303)},
        {"IID_IMsgStore", IID_IMsgStore, oleGuid(0x00020306)},
        {"IID_IMessage", IID_IMessage, oleGuid(0x00020307)},
        {"IID_IMAPIContainer", IID_IMAPIContainer, oleGuid(0x0002030B)},
        {"IID_IMAPIFolder", IID_IMAPIFolder, oleGuid(0x0002030C)},
        {"IID_IABContainer", IID_IABContainer, oleGuid(0x0002030D)},
        {"PS_MAPI", PS_MAPI, oleGuid(0x00020328)},
        {"PS_PUBLIC_STRINGS", PS_PUBLIC_STRINGS, oleGuid(0x00020329)},
        {"PSETID_Address", PSETID_Address, oleGuid(0x00062004)},
        {"PSETID_Common", PSETID_Common, oleGuid(0x00062008)},
    };
    for (const NamedGuid& guid : guids) {
        EXPECT_TRUE(IsEqualGUID(guid.actual, guid.expected)) << guid.name;
    }
    EXPECT_FALSE(IsEqualIID(IID_IMAPIFolder, IID_IMessage));
    const GUID sequential = {
        0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
    EXPECT_TRUE(sequential == IID_ISequentialStream);
}

TEST(MapiDeclarations, StructuresHaveMapiLayouts) {
    const Named sizes[] = {
        {"ULONG", sizeof(ULONG), 4},
        {"LONG", sizeof(LONG), 4},
        {"HRESULT", sizeof(HRESULT), 4},
        {"BOOL", sizeof(BOOL), 4},
        {"FILETIME", sizeof(FILETIME), 8},
        {"GUID", sizeof(GUID), 16},
        {"MAPIUID", sizeof(MAPIUID), 16},
        {"LARGE_INTEGER", sizeof(LARGE_INTEGER), 8},
        {"CURRENCY", sizeof(CURRENCY), 8},
        {"ENTRYID::ab offset", offsetof(ENTRYID, ab), 4},
        {"CbNewENTRYID(20)", CbNewENTRYID(20), 24},
        {"SPropTagArray::aulPropTag offset", offsetof(SPropTagArray, aulPropTag), 4},
        {"CbNewSPropTagArray(3)", CbNewSPropTagArray(3), 16},
        {"SPropValue::Value offset", offsetof(SPropValue, Value), 8},
        {"SRow::cValues offset", offsetof(SRow, cValues), 4},
        {"SRowSet::aRow offset", offsetof(SRowSet, aRow), sizeof(void*)},
        {"SSortOrderSet::aSort offset", offsetof(SSortOrderSet, aSort), 12},
        {"SPropProblem", sizeof(SPropProblem), 12},
        {"MAPINAMEID::Kind offset", offsetof(MAPINAMEID, Kind), 2 * sizeof(void*)},
    };
    for (const Named& size : sizes) EXPECT_EQ(size.actual, size.expected) << size.name;
}

TEST(MapiDeclarations, SizedArraysCanStandInForTheirVariableLengthForms) {
    SizedSPropTagArray(3, columns) = {3, {PR_ENTRYID, PR_SUBJECT_A, PR_MESSAGE_FLAGS}};
    auto* tags = reinterpret_cast<LPSPropTagArray>(&columns);
    EXPECT_EQ(tags->cValues, 3u);
    EXPECT_EQ(tags->aulPropTag[2], 0x0E070003u);
    EXPECT_EQ(sizeof(columns), CbNewSPropTagArray(3));

    SizedSSortOrderSet(2, order) = {
        2,
        0,
        0,
        {{PR_MESSAGE_DELIVERY_TIME, TABLE_SORT_DESCEND}, {PR_SUBJECT_A, TABLE_SORT_ASCEND}}};
    auto* sort = reinterpret_cast<LPSSortOrderSet>(&order);
    EXPECT_EQ(sort->aSort[1].ulPropTag, 0x0037001Eu);
    EXPECT_EQ(sizeof(order), CbNewSSortOrderSet(2));
}

}  // namespace
