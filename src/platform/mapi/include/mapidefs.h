// MAPI's data types (entry ids, property values, rows, restrictions, names, errors), the flags
// of the object interfaces, and through its sub-headers the interfaces themselves.
#pragma once

// Counts are 32-bit (ULONG) everywhere, as MAPI lays them out.

#include <cstddef>

#include "guiddef.h"
#include "mapicode.h"
#include "objidl.h"
#include "unknwn.h"
#include "windef.h"
#include "winerror.h"
#include "wtypes.h"

// Size of the trailing arrays of the variable-length structures below; allocate with the
// CbNew... macros or declare with the Sized... macros for a real count.
#ifndef MAPI_DIM
#define MAPI_DIM 1
#endif

typedef ULONG FLAGS;

// ---------------------------------------------------------------------------------------------
// Flags shared by many methods.

#define MAPI_MODIFY ((ULONG)0x00000001)
#define MAPI_ACCESS_MODIFY ((ULONG)0x00000001)
#define MAPI_ACCESS_READ ((ULONG)0x00000002)
#define MAPI_ACCESS_DELETE ((ULONG)0x00000004)
#define MAPI_ACCESS_CREATE_HIERARCHY ((ULONG)0x00000008)
#define MAPI_ACCESS_CREATE_CONTENTS ((ULONG)0x00000010)
#define MAPI_ACCESS_CREATE_ASSOCIATED ((ULONG)0x00000020)
#define MAPI_UNICODE ((ULONG)0x80000000)
#define MAPI_DEFERRED_ERRORS ((ULONG)0x00000008)
#define MAPI_BEST_ACCESS ((ULONG)0x00000010)
#define MAPI_ASSOCIATED ((ULONG)0x00000040)
#define MAPI_DIALOG ((ULONG)0x00000008)
#define MAPI_CREATE ((ULONG)0x00000002)  // GetIDsFromNames: create missing names
#define MAPI_NO_STRINGS ((ULONG)0x00000001)
#define MAPI_NO_IDS ((ULONG)0x00000002)
#define MAPI_MOVE ((ULONG)0x00000001)  // CopyTo, CopyProps
#define MAPI_NOREPLACE ((ULONG)0x00000002)
#define MAPI_DECLINE_OK ((ULONG)0x00000004)
#define MAPI_CACHE_ONLY ((ULONG)0x00004000)

// SaveChanges
#define KEEP_OPEN_READONLY ((ULONG)0x00000001)
#define KEEP_OPEN_READWRITE ((ULONG)0x00000002)
#define FORCE_SAVE ((ULONG)0x00000004)

// Object types (PR_OBJECT_TYPE, and the type OpenEntry reports).
#define MAPI_STORE ((ULONG)0x00000001)
#define MAPI_ADDRBOOK ((ULONG)0x00000002)
#define MAPI_FOLDER ((ULONG)0x00000003)
#define MAPI_ABCONT ((ULONG)0x00000004)
#define MAPI_MESSAGE ((ULONG)0x00000005)
#define MAPI_MAILUSER ((ULONG)0x00000006)
#define MAPI_ATTACH ((ULONG)0x00000007)
#define MAPI_DISTLIST ((ULONG)0x00000008)
#define MAPI_PROFSECT ((ULONG)0x00000009)
#define MAPI_STATUS ((ULONG)0x0000000A)
#define MAPI_SESSION ((ULONG)0x0000000B)
#define MAPI_FORMINFO ((ULONG)0x0000000C)

// ---------------------------------------------------------------------------------------------
// Identifiers.

// A provider's 16-byte unique identifier (PR_MDB_PROVIDER and the provider part of entry ids).
typedef struct _MAPIUID {
    BYTE ab[16];
} MAPIUID, *LPMAPIUID;

// An entry id: four flag bytes, then provider-defined bytes. Its length travels beside it
// (cbEntryID); ab is declared with one element as MAPI lays it out.
typedef struct _ENTRYID {
    BYTE abFlags[4];
    BYTE ab[MAPI_DIM];
} ENTRYID, *LPENTRYID;

#define CbNewENTRYID(cb) (offsetof(ENTRYID, ab) + (cb) * sizeof(BYTE))
#define CbENTRYID(cb) (offsetof(ENTRYID, ab) + (cb))
#define SizedENTRYID(cb, name) \
    struct _ENTRYID_##name {   \
        BYTE abFlags[4];       \
        BYTE ab[cb];           \
    } name

// abFlags[0] of short-term entry ids.
#define MAPI_SHORTTERM 0x80
#define MAPI_NOTRECIP 0x40
#define MAPI_THISSESSION 0x20
#define MAPI_NOW 0x10
#define MAPI_NOTRESERVED 0x08
#define MAPI_COMPOUND 0x80  // abFlags[1]

// ---------------------------------------------------------------------------------------------
// Property types. A property tag is (id << 16) | type; see mapitags.h for the tag macros.

#define PT_UNSPECIFIED ((ULONG)0)  // only in requests: "any type"
#define PT_NULL ((ULONG)1)
#define PT_I2 ((ULONG)2)
#define PT_LONG ((ULONG)3)
#define PT_R4 ((ULONG)4)
#define PT_DOUBLE ((ULONG)5)
#define PT_CURRENCY ((ULONG)6)
#define PT_APPTIME ((ULONG)7)
#define PT_ERROR ((ULONG)10)
#define PT_BOOLEAN ((ULONG)11)
#define PT_OBJECT ((ULONG)13)
#define PT_I8 ((ULONG)20)
#define PT_STRING8 ((ULONG)30)
#define PT_UNICODE ((ULONG)31)
#define PT_SYSTIME ((ULONG)64)
#define PT_CLSID ((ULONG)72)
#define PT_SVREID ((ULONG)0xFB)
#define PT_SRESTRICT ((ULONG)0xFD)
#define PT_ACTIONS ((ULONG)0xFE)
#define PT_BINARY ((ULONG)258)

#define PT_SHORT PT_I2
#define PT_I4 PT_LONG
#define PT_FLOAT PT_R4
#define PT_R8 PT_DOUBLE
#define PT_LONGLONG PT_I8
#define PT_TSTRING PT_STRING8  // 8-bit build

#define MV_FLAG ((ULONG)0x1000)
#define MV_INSTANCE ((ULONG)0x2000)
#define MVI_FLAG (MV_FLAG | MV_INSTANCE)
#define MVI_PROP(tag) ((tag) | MVI_FLAG)

#define PT_MV_I2 (MV_FLAG | PT_I2)
#define PT_MV_LONG (MV_FLAG | PT_LONG)
#define PT_MV_R4 (MV_FLAG | PT_R4)
#define PT_MV_DOUBLE (MV_FLAG | PT_DOUBLE)
#define PT_MV_CURRENCY (MV_FLAG | PT_CURRENCY)
#define PT_MV_APPTIME (MV_FLAG | PT_APPTIME)
#define PT_MV_SYSTIME (MV_FLAG | PT_SYSTIME)
#define PT_MV_STRING8 (MV_FLAG | PT_STRING8)
#define PT_MV_BINARY (MV_FLAG | PT_BINARY)
#define PT_MV_UNICODE (MV_FLAG | PT_UNICODE)
#define PT_MV_CLSID (MV_FLAG | PT_CLSID)
#define PT_MV_I8 (MV_FLAG | PT_I8)
#define PT_MV_SHORT PT_MV_I2
#define PT_MV_I4 PT_MV_LONG
#define PT_MV_FLOAT PT_MV_R4
#define PT_MV_R8 PT_MV_DOUBLE
#define PT_MV_LONGLONG PT_MV_I8
#define PT_MV_TSTRING PT_MV_STRING8

// ---------------------------------------------------------------------------------------------
// Property values.

typedef struct _SBinary {
    ULONG cb;
    LPBYTE lpb;
} SBinary, *LPSBinary;

typedef struct _SShortArray {
    ULONG cValues;
    short int* lpi;
} SShortArray;

typedef struct _SLongArray {
    ULONG cValues;
    LONG* lpl;
} SLongArray;

typedef struct _SRealArray {
    ULONG cValues;
    float* lpflt;
} SRealArray;

typedef struct _SDoubleArray {
    ULONG cValues;
    double* lpdbl;
} SDoubleArray;

typedef struct _SCurrencyArray {
    ULONG cValues;
    CURRENCY* lpcur;
} SCurrencyArray;

typedef struct _SAppTimeArray {
    ULONG cValues;
    double* lpat;
} SAppTimeArray;

typedef struct _SDateTimeArray {
    ULONG cValues;
    FILETIME* lpft;
} SDateTimeArray;

typedef struct _SBinaryArray {
    ULONG cValues;
    SBinary* lpbin;
} SBinaryArray;

typedef struct _SLPSTRArray {
    ULONG cValues;
    LPSTR* lppszA;
} SLPSTRArray;

typedef struct _SWStringArray {
    ULONG cValues;
    LPWSTR* lppszW;
} SWStringArray;

typedef struct _SGuidArray {
    ULONG cValues;
    GUID* lpguid;
} SGuidArray;

typedef struct _SLargeIntegerArray {
    ULONG cValues;
    LARGE_INTEGER* lpli;
} SLargeIntegerArray;

// A list of entry ids, as CopyMessages and DeleteMessages take it.
typedef SBinaryArray ENTRYLIST, *LPENTRYLIST;

union _PV {
    short int i;           // PT_I2
    LONG l;                // PT_LONG
    ULONG ul;              // PT_LONG
    float flt;             // PT_R4
    double dbl;            // PT_DOUBLE
    unsigned short int b;  // PT_BOOLEAN
    CURRENCY cur;          // PT_CURRENCY
    double at;             // PT_APPTIME
    FILETIME ft;           // PT_SYSTIME
    LPSTR lpszA;           // PT_STRING8
    SBinary bin;           // PT_BINARY
    LPWSTR lpszW;          // PT_UNICODE
    LPGUID lpguid;         // PT_CLSID
    LARGE_INTEGER li;      // PT_I8
    SShortArray MVi;
    SLongArray MVl;
    SRealArray MVflt;
    SDoubleArray MVdbl;
    SCurrencyArray MVcur;
    SAppTimeArray MVat;
    SDateTimeArray MVft;
    SBinaryArray MVbin;
    SLPSTRArray MVszA;
    SWStringArray MVszW;
    SGuidArray MVguid;
    SLargeIntegerArray MVli;
    SCODE err;  // PT_ERROR
    LONG x;     // PT_NULL, PT_OBJECT: no value
};

// One property: its tag and its value. A failed read comes back with type PT_ERROR and the
// failure in Value.err.
typedef struct _SPropValue {
    ULONG ulPropTag;
    ULONG dwAlignPad;
    union _PV Value;
} SPropValue, *LPSPropValue;

typedef struct _SPropTagArray {
    ULONG cValues;
    ULONG aulPropTag[MAPI_DIM];
} SPropTagArray, *LPSPropTagArray;

#define CbNewSPropTagArray(n) (offsetof(SPropTagArray, aulPropTag) + (n) * sizeof(ULONG))
#define CbSPropTagArray(p) CbNewSPropTagArray((p)->cValues)
// Declares a tag array of n tags that can be passed as (LPSPropTagArray)&name.
#define SizedSPropTagArray(n, name) \
    struct _SPropTagArray_##name {  \
        ULONG cValues;              \
        ULONG aulPropTag[n];        \
    } name

typedef struct _SPropProblem {
    ULONG ulIndex;
    ULONG ulPropTag;
    SCODE scode;
} SPropProblem, *LPSPropProblem;

// Per-property failures of SetProps, DeleteProps and the copy methods.
typedef struct _SPropProblemArray {
    ULONG cProblem;
    SPropProblem aProblem[MAPI_DIM];
} SPropProblemArray, *LPSPropProblemArray;

#define CbNewSPropProblemArray(n) \
    (offsetof(SPropProblemArray, aProblem) + (n) * sizeof(SPropProblem))
#define CbSPropProblemArray(p) CbNewSPropProblemArray((p)->cProblem)

// ---------------------------------------------------------------------------------------------
// Named properties.

#define MNID_ID 0
#define MNID_STRING 1

typedef struct _MAPINAMEID {
    LPGUID lpguid;
    ULONG ulKind;  // MNID_ID or MNID_STRING
    union {
        LONG lID;
        LPWSTR lpwstrName;
    } Kind;
} MAPINAMEID, *LPMAPINAMEID;

// ---------------------------------------------------------------------------------------------
// Extended error information (GetLastError).

#define MAPI_ERROR_VERSION 0x00000000L

typedef struct _MAPIERROR {
    ULONG ulVersion;
    LPTSTR lpszError;
    LPTSTR lpszComponent;
    ULONG ulLowLevelError;
    ULONG ulContext;
} MAPIERROR, *LPMAPIERROR;

// ---------------------------------------------------------------------------------------------
// Rows and address lists.

typedef struct _SRow {
    ULONG ulAdrEntryPad;
    ULONG cValues;
    LPSPropValue lpProps;
} SRow, *LPSRow;

// Each row's lpProps is a MAPI buffer of its own; FreeProws frees them and the set.
typedef struct _SRowSet {
    ULONG cRows;
    SRow aRow[MAPI_DIM];
} SRowSet, *LPSRowSet;

#define CbNewSRowSet(n) (offsetof(SRowSet, aRow) + (n) * sizeof(SRow))
#define CbSRowSet(p) CbNewSRowSet((p)->cRows)

typedef struct _ADRENTRY {
    ULONG ulReserved1;
    ULONG cValues;
    LPSPropValue rgPropVals;
} ADRENTRY, *LPADRENTRY;

// Each entry's rgPropVals is a MAPI buffer of its own; FreePadrlist frees them and the list.
typedef struct _ADRLIST {
    ULONG cEntries;
    ADRENTRY aEntries[MAPI_DIM];
} ADRLIST, *LPADRLIST;

#define CbNewADRLIST(n) (offsetof(ADRLIST, aEntries) + (n) * sizeof(ADRENTRY))
#define CbADRLIST(p) CbNewADRLIST((p)->cEntries)

// Recipient types (PR_RECIPIENT_TYPE).
#define MAPI_ORIG 0
#define MAPI_TO 1
#define MAPI_CC 2
#define MAPI_BCC 3
#define MAPI_P1 0x10000000
#define MAPI_SUBMITTED 0x80000000

// ResolveNames results, one per entry.
#define MAPI_UNRESOLVED ((ULONG)0x00000000)
#define MAPI_AMBIGUOUS ((ULONG)0x00000001)
#define MAPI_RESOLVED ((ULONG)0x00000002)

typedef struct _FlagList {
    ULONG cFlags;
    ULONG ulFlag[MAPI_DIM];
} FlagList, *LPFlagList;

#define CbNewFlagList(n) (offsetof(FlagList, ulFlag) + (n) * sizeof(ULONG))

// ---------------------------------------------------------------------------------------------
// Sort orders.

#define TABLE_SORT_ASCEND ((ULONG)0x00000000)
#define TABLE_SORT_DESCEND ((ULONG)0x00000001)
#define TABLE_SORT_COMBINE ((ULONG)0x00000002)
#define TABLE_SORT_CATEG_MAX ((ULONG)0x00000004)
#define TABLE_SORT_CATEG_MIN ((ULONG)0x00000008)

typedef struct _SSortOrder {
    ULONG ulPropTag;
    ULONG ulOrder;
} SSortOrder, *LPSSortOrder;

typedef struct _SSortOrderSet {
    ULONG cSorts;
    ULONG cCategories;
    ULONG cExpanded;
    SSortOrder aSort[MAPI_DIM];
} SSortOrderSet, *LPSSortOrderSet;

#define CbNewSSortOrderSet(n) (offsetof(SSortOrderSet, aSort) + (n) * sizeof(SSortOrder))
#define CbSSortOrderSet(p) CbNewSSortOrderSet((p)->cSorts)
#define SizedSSortOrderSet(n, name) \
    struct _SSortOrderSet_##name {  \
        ULONG cSorts;               \
        ULONG cCategories;          \
        ULONG cExpanded;            \
        SSortOrder aSort[n];        \
    } name

// ---------------------------------------------------------------------------------------------
// Restrictions.

#define RES_AND ((ULONG)0x00000000)
#define RES_OR ((ULONG)0x00000001)
#define RES_NOT ((ULONG)0x00000002)
#define RES_CONTENT ((ULONG)0x00000003)
#define RES_PROPERTY ((ULONG)0x00000004)
#define RES_COMPAREPROPS ((ULONG)0x00000005)
#define RES_BITMASK ((ULONG)0x00000006)
#define RES_SIZE ((ULONG)0x00000007)
#define RES_EXIST ((ULONG)0x00000008)
#define RES_SUBRESTRICTION ((ULONG)0x00000009)
#define RES_COMMENT ((ULONG)0x0000000A)

#define RELOP_LT ((ULONG)0)
#define RELOP_LE ((ULONG)1)
#define RELOP_GT ((ULONG)2)
#define RELOP_GE ((ULONG)3)
#define RELOP_EQ ((ULONG)4)
#define RELOP_NE ((ULONG)5)
#define RELOP_RE ((ULONG)6)

#define BMR_EQZ ((ULONG)0)
#define BMR_NEZ ((ULONG)1)

// Content restriction fuzzy levels: one of the first three, optionally or-ed with the rest.
#define FL_FULLSTRING ((ULONG)0x00000000)
#define FL_SUBSTRING ((ULONG)0x00000001)
#define FL_PREFIX ((ULONG)0x00000002)
#define FL_IGNORECASE ((ULONG)0x00010000)
#define FL_IGNORENONSPACE ((ULONG)0x00020000)
#define FL_LOOSE ((ULONG)0x00040000)

typedef struct _SRestriction* LPSRestriction;

typedef struct _SAndRestriction {
    ULONG cRes;
    LPSRestriction lpRes;
} SAndRestriction;

typedef struct _SOrRestriction {
    ULONG cRes;
    LPSRestriction lpRes;
} SOrRestriction;

typedef struct _SNotRestriction {
    ULONG ulReserved;
    LPSRestriction lpRes;
} SNotRestriction;

typedef struct _SContentRestriction {
    ULONG ulFuzzyLevel;
    ULONG ulPropTag;
    LPSPropValue lpProp;
} SContentRestriction;

typedef struct _SPropertyRestriction {
    ULONG relop;
    ULONG ulPropTag;
    LPSPropValue lpProp;
} SPropertyRestriction;

typedef struct _SComparePropsRestriction {
    ULONG relop;
    ULONG ulPropTag1;
    ULONG ulPropTag2;
} SComparePropsRestriction;

typedef struct _SBitMaskRestriction {
    ULONG relBMR;
    ULONG ulPropTag;
    ULONG ulMask;
} SBitMaskRestriction;

typedef struct _SSizeRestriction {
    ULONG relop;
    ULONG ulPropTag;
    ULONG cb;
} SSizeRestriction;

typedef struct _SExistRestriction {
    ULONG ulReserved1;
    ULONG ulPropTag;
    ULONG ulReserved2;
} SExistRestriction;

typedef struct _SSubRestriction {
    ULONG ulSubObject;  // PR_MESSAGE_RECIPIENTS or PR_MESSAGE_ATTACHMENTS
    LPSRestriction lpRes;
} SSubRestriction;

typedef struct _SCommentRestriction {
    ULONG cValues;
    LPSRestriction lpRes;
    LPSPropValue lpProp;
} SCommentRestriction;

typedef struct _SRestriction {
    ULONG rt;  // RES_...
    union {
        SComparePropsRestriction resCompareProps;
        SAndRestriction resAnd;
        SOrRestriction resOr;
        SNotRestriction resNot;
        SContentRestriction resContent;
        SPropertyRestriction resProperty;
        SBitMaskRestriction resBitMask;
        SSizeRestriction resSize;
        SExistRestriction resExist;
        SSubRestriction resSub;
        SCommentRestriction resComment;
    } res;
} SRestriction;

// ---------------------------------------------------------------------------------------------
// Memory allocator signatures, as providers receive them.

typedef SCODE ALLOCATEBUFFER(ULONG cbSize, LPVOID* lppBuffer);
typedef SCODE ALLOCATEMORE(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
typedef ULONG FREEBUFFER(LPVOID lpBuffer);
typedef ALLOCATEBUFFER* LPALLOCATEBUFFER;
typedef ALLOCATEMORE* LPALLOCATEMORE;
typedef FREEBUFFER* LPFREEBUFFER;

// ---------------------------------------------------------------------------------------------
// Store, folder, message and container flags.

// OpenMsgStore
#define MDB_NO_DIALOG ((ULONG)0x00000001)
#define MDB_WRITE ((ULONG)0x00000004)
#define MDB_TEMPORARY ((ULONG)0x00000020)
#define MDB_NO_MAIL ((ULONG)0x00000080)
#define MDB_ONLINE ((ULONG)0x00000100)

// StoreLogoff
#define LOGOFF_NO_WAIT ((ULONG)0x00000001)
#define LOGOFF_ORDERLY ((ULONG)0x00000002)
#define LOGOFF_PURGE ((ULONG)0x00000004)
#define LOGOFF_ABORT ((ULONG)0x00000008)
#define LOGOFF_QUIET ((ULONG)0x00000010)

// PR_STORE_SUPPORT_MASK
#define STORE_ENTRYID_UNIQUE ((ULONG)0x00000001)
#define STORE_READONLY ((ULONG)0x00000002)
#define STORE_SEARCH_OK ((ULONG)0x00000004)
#define STORE_MODIFY_OK ((ULONG)0x00000008)
#define STORE_CREATE_OK ((ULONG)0x00000010)
#define STORE_ATTACH_OK ((ULONG)0x00000020)
#define STORE_OLE_OK ((ULONG)0x00000040)
#define STORE_SUBMIT_OK ((ULONG)0x00000080)
#define STORE_NOTIFY_OK ((ULONG)0x00000100)
#define STORE_MV_PROPS_OK ((ULONG)0x00000200)
#define STORE_CATEGORIZE_OK ((ULONG)0x00000400)
#define STORE_RTF_OK ((ULONG)0x00000800)
#define STORE_RESTRICTION_OK ((ULONG)0x00001000)
#define STORE_SORT_OK ((ULONG)0x00002000)
#define STORE_PUBLIC_FOLDERS ((ULONG)0x00004000)
#define STORE_UNCOMPRESSED_RTF ((ULONG)0x00008000)
#define STORE_HTML_OK ((ULONG)0x00010000)
#define STORE_ANSI_OK ((ULONG)0x00020000)
#define STORE_UNICODE_OK ((ULONG)0x00040000)

// PR_FOLDER_TYPE and CreateFolder
#define FOLDER_ROOT ((ULONG)0x00000000)
#define FOLDER_GENERIC ((ULONG)0x00000001)
#define FOLDER_SEARCH ((ULONG)0x00000002)

// CreateFolder
#define OPEN_IF_EXISTS ((ULONG)0x00000001)

// CopyMessages, CopyFolder
#define MESSAGE_MOVE ((ULONG)0x00000001)
#define MESSAGE_DIALOG ((ULONG)0x00000002)
#define FOLDER_MOVE ((ULONG)0x00000001)
#define FOLDER_DIALOG ((ULONG)0x00000002)
#define COPY_SUBFOLDERS ((ULONG)0x00000010)

// DeleteFolder, EmptyFolder
#define DEL_MESSAGES ((ULONG)0x00000001)
#define DEL_FOLDERS ((ULONG)0x00000004)
#define DEL_ASSOCIATED ((ULONG)0x00000008)

// SetReadFlag(s)
#define SUPPRESS_RECEIPT ((ULONG)0x00000001)
#define CLEAR_READ_FLAG ((ULONG)0x00000004)
#define GENERATE_RECEIPT_ONLY ((ULONG)0x00000010)
#define CLEAR_RN_PENDING ((ULONG)0x00000020)
#define CLEAR_NRN_PENDING ((ULONG)0x00000040)

// PR_MESSAGE_FLAGS
#define MSGFLAG_READ ((ULONG)0x00000001)
#define MSGFLAG_UNMODIFIED ((ULONG)0x00000002)
#define MSGFLAG_SUBMIT ((ULONG)0x00000004)
#define MSGFLAG_UNSENT ((ULONG)0x00000008)
#define MSGFLAG_HASATTACH ((ULONG)0x00000010)
#define MSGFLAG_FROMME ((ULONG)0x00000020)
#define MSGFLAG_ASSOCIATED ((ULONG)0x00000040)
#define MSGFLAG_RESEND ((ULONG)0x00000080)
#define MSGFLAG_RN_PENDING ((ULONG)0x00000100)
#define MSGFLAG_NRN_PENDING ((ULONG)0x00000200)

// PR_IMPORTANCE, PR_PRIORITY
#define IMPORTANCE_LOW ((LONG)0)
#define IMPORTANCE_NORMAL ((LONG)1)
#define IMPORTANCE_HIGH ((LONG)2)
#define PRIO_URGENT ((LONG)1)
#define PRIO_NONURGENT ((LONG)-1)
#define PRIO_NORMAL ((LONG)0)

// ModifyRecipients
#define MODRECIP_ADD ((ULONG)0x00000002)
#define MODRECIP_MODIFY ((ULONG)0x00000004)
#define MODRECIP_REMOVE ((ULONG)0x00000008)

// SubmitMessage
#define FORCE_SUBMIT ((ULONG)0x00000001)

// PR_ATTACH_METHOD
#define NO_ATTACHMENT ((ULONG)0x00000000)
#define ATTACH_BY_VALUE ((ULONG)0x00000001)
#define ATTACH_BY_REFERENCE ((ULONG)0x00000002)
#define ATTACH_BY_REF_RESOLVE ((ULONG)0x00000003)
#define ATTACH_BY_REF_ONLY ((ULONG)0x00000004)
#define ATTACH_EMBEDDED_MSG ((ULONG)0x00000005)
#define ATTACH_OLE ((ULONG)0x00000006)

// SetSearchCriteria, GetSearchCriteria
#define STOP_SEARCH ((ULONG)0x00000001)
#define RESTART_SEARCH ((ULONG)0x00000002)
#define RECURSIVE_SEARCH ((ULONG)0x00000004)
#define SHALLOW_SEARCH ((ULONG)0x00000008)
#define SEARCH_RUNNING ((ULONG)0x00000001)
#define SEARCH_REBUILD ((ULONG)0x00000002)
#define SEARCH_RECURSIVE ((ULONG)0x00000004)
#define SEARCH_FOREGROUND ((ULONG)0x00000008)

// GetHierarchyTable
#define CONVENIENT_DEPTH ((ULONG)0x00000001)

// CreateEntry (address book)
#define CREATE_CHECK_DUP_STRICT ((ULONG)0x00000001)
#define CREATE_CHECK_DUP_LOOSE ((ULONG)0x00000002)
#define CREATE_REPLACE ((ULONG)0x00000004)

// PR_DISPLAY_TYPE
#define DT_MAILUSER ((ULONG)0x00000000)
#define DT_DISTLIST ((ULONG)0x00000001)
#define DT_FORUM ((ULONG)0x00000002)
#define DT_AGENT ((ULONG)0x00000003)
#define DT_ORGANIZATION ((ULONG)0x00000004)
#define DT_PRIVATE_DISTLIST ((ULONG)0x00000005)
#define DT_REMOTE_MAILUSER ((ULONG)0x00000006)
#define DT_FOLDER ((ULONG)0x01000000)
// PR_DISPLAY_TYPE of address-book containers.
#define DT_MODIFIABLE ((ULONG)0x00010000)
#define DT_GLOBAL ((ULONG)0x00020000)
#define DT_LOCAL ((ULONG)0x00030000)
#define DT_WAN ((ULONG)0x00040000)
#define DT_NOT_SPECIFIC ((ULONG)0x00050000)

// PR_CONTAINER_FLAGS of address-book containers.
#define AB_RECIPIENTS ((ULONG)0x00000001)
#define AB_SUBCONTAINERS ((ULONG)0x00000002)
#define AB_MODIFIABLE ((ULONG)0x00000004)
#define AB_UNMODIFIABLE ((ULONG)0x00000008)
#define AB_FIND_ON_OPEN ((ULONG)0x00000010)
#define AB_NOT_DEFAULT ((ULONG)0x00000020)

// ---------------------------------------------------------------------------------------------
// The interfaces, declared ahead so that each may name the others.

class IMAPIAdviseSink;
class IMAPIProgress;
class IMAPIProp;
class IMAPIContainer;
class IMAPIFolder;
class IMessage;
class IAttach;
class IMsgStore;
class IMAPITable;
class IMAPIStatus;
class IMailUser;
class IABContainer;
class IProfSect;

typedef IMAPIAdviseSink* LPMAPIADVISESINK;
typedef IMAPIProgress* LPMAPIPROGRESS;
typedef IMAPIProp* LPMAPIPROP;
typedef IMAPIContainer* LPMAPICONTAINER;
typedef IMAPIFolder* LPMAPIFOLDER;
typedef IMessage* LPMESSAGE;
typedef IAttach* LPATTACH;
typedef IMsgStore* LPMDB;
typedef IMAPITable* LPMAPITABLE;
typedef IMAPIStatus* LPMAPISTATUS;
typedef IMailUser* LPMAILUSER;
typedef IABContainer* LPABCONT;
typedef IProfSect* LPPROFSECT;

typedef struct _NOTIFICATION NOTIFICATION, *LPNOTIFICATION;

// The interface headers rely on everything above; include this header, not them.
#include "mapinotify.h"
#include "mapiprop.h"
#include "mapitable.h"
