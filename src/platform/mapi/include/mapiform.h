// The forms manager: form registrations (form information objects), the form containers
// (libraries) that hold them, and the manager that resolves a message class to its form.
#pragma once

#include "mapidefs.h"
#include "mapiguid.h"
#include "mapix.h"

// Values marked "unconfirmed" below are not stated in the public MAPI reference; they are the
// values MAPI clients are known to pass, kept here so that code built against either header
// agrees. Everything else is as documented.

class IMAPIFormInfo;
class IMAPIFormContainer;
class IMAPIFormMgr;
typedef IMAPIFormInfo* LPMAPIFORMINFO;
typedef IMAPIFormContainer* LPMAPIFORMCONTAINER;
typedef IMAPIFormMgr* LPMAPIFORMMGR;

// Form servers and their sites are not offered on this platform; they stay opaque.
class IMAPIMessageSite;
class IMAPIViewContext;
typedef IMAPIMessageSite* LPMAPIMESSAGESITE;
typedef IMAPIViewContext* LPMAPIVIEWCONTEXT;
struct _SMAPIFormPropArray;
struct _SMAPIVerbArray;
typedef struct _SMAPIFormPropArray* LPMAPIFORMPROPARRAY;
typedef struct _SMAPIVerbArray* LPMAPIVERBARRAY;

// Interface identifiers (unconfirmed).
DEFINE_OLEGUID(IID_IMAPIFormMgr, 0x00020322, 0, 0);
DEFINE_OLEGUID(IID_IMAPIFormInfo, 0x00020324, 0, 0);
DEFINE_OLEGUID(IID_IMAPIFormContainer, 0x0002032E, 0, 0);

// ---------------------------------------------------------------------------------------------
// Properties of a form information object.

#define PR_FORM_VERSION PROP_TAG(PT_TSTRING, 0x3301)
#define PR_FORM_VERSION_A PROP_TAG(PT_STRING8, 0x3301)
#define PR_FORM_CLSID PROP_TAG(PT_CLSID, 0x3302)
#define PR_FORM_CONTACT_NAME PROP_TAG(PT_TSTRING, 0x3303)
#define PR_FORM_CONTACT_NAME_A PROP_TAG(PT_STRING8, 0x3303)
#define PR_FORM_CATEGORY PROP_TAG(PT_TSTRING, 0x3304)
#define PR_FORM_CATEGORY_A PROP_TAG(PT_STRING8, 0x3304)
#define PR_FORM_CATEGORY_SUB PROP_TAG(PT_TSTRING, 0x3305)
#define PR_FORM_CATEGORY_SUB_A PROP_TAG(PT_STRING8, 0x3305)
#define PR_FORM_HOST_MAP PROP_TAG(PT_MV_LONG, 0x3306)
#define PR_FORM_HIDDEN PROP_TAG(PT_BOOLEAN, 0x3307)
#define PR_FORM_DESIGNER_NAME PROP_TAG(PT_TSTRING, 0x3308)
#define PR_FORM_DESIGNER_NAME_A PROP_TAG(PT_STRING8, 0x3308)
#define PR_FORM_DESIGNER_GUID PROP_TAG(PT_CLSID, 0x3309)
#define PR_FORM_MESSAGE_BEHAVIOR PROP_TAG(PT_LONG, 0x330A)

// ---------------------------------------------------------------------------------------------
// Flags and handles.

// The form libraries OpenFormContainer opens (unconfirmed: the same numbers as the object
// model's form registries, with 1 for the local library).
typedef ULONG HFRMREG;
#define HFRMREG_DEFAULT ((HFRMREG)0)
#define HFRMREG_LOCAL ((HFRMREG)1)
#define HFRMREG_PERSONAL ((HFRMREG)2)
#define HFRMREG_FOLDER ((HFRMREG)3)

// MAPIFORM_EXACTMATCH (ResolveMessageClass, LoadForm) comes with mapix.h.

// InstallForm.
#define MAPIFORM_INSTALL_DIALOG MAPI_DIALOG
#define MAPIFORM_INSTALL_OVERWRITEONCONFLICT ((ULONG)0x00000010)  // unconfirmed

// CalcFormPropSet (unconfirmed).
#define FORMPROPSET_UNION ((ULONG)0x00000000)
#define FORMPROPSET_INTERSECTION ((ULONG)0x00000001)

// SelectFormContainer (unconfirmed).
#define MAPIFORM_SELECT_ALL_REGISTRIES ((ULONG)0x00000000)
#define MAPIFORM_SELECT_FOLDER_REGISTRY_ONLY ((ULONG)0x00000001)
#define MAPIFORM_SELECT_NON_FOLDER_REGISTRY_ONLY ((ULONG)0x00000002)

// ---------------------------------------------------------------------------------------------
// Arrays.

// Message class names are always 8-bit strings.
typedef struct {
    ULONG cValues;
    LPCSTR aMessageClass[MAPI_DIM];
} SMessageClassArray, *LPSMESSAGECLASSARRAY;

typedef struct {
    ULONG cForms;
    LPMAPIFORMINFO aFormInfo[MAPI_DIM];
} SMAPIFormInfoArray, *LPSMAPIFORMINFOARRAY;
typedef LPSMAPIFORMINFOARRAY LPMAPIFORMINFOARRAY;

// ---------------------------------------------------------------------------------------------
// Interfaces.

// One registered form, described by its properties (PR_MESSAGE_CLASS_A, PR_DISPLAY_NAME_A,
// PR_FORM_VERSION_A, PR_FORM_HIDDEN ...), read with GetProps. The properties are read-only.
class IMAPIFormInfo : public IMAPIProp {
public:
    virtual HRESULT CalcFormPropSet(ULONG ulFlags, LPMAPIFORMPROPARRAY* ppFormPropArray) = 0;
    virtual HRESULT CalcVerbSet(ULONG ulFlags, LPMAPIVERBARRAY* ppMAPIVerbArray) = 0;
    virtual HRESULT MakeIconFromBinary(ULONG nPropID, HICON* phicon) = 0;
    virtual HRESULT SaveForm(LPCSTR szFileName) = 0;
    virtual HRESULT OpenFormContainer(LPMAPIFORMCONTAINER* ppformcontainer) = 0;
};

// One form library: installs, removes and resolves the forms registered in it.
// InstallForm reads a form configuration file (.cfg); MAPI_E_EXTENDED_ERROR, with the reason in
// GetLastError, when the file is missing, unreadable or invalid. RemoveForm and
// ResolveMessageClass give MAPI_E_NOT_FOUND for a class not registered here.
class IMAPIFormContainer : public IUnknown {
public:
    virtual HRESULT InstallForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCSTR szCfgPathName) = 0;
    virtual HRESULT RemoveForm(LPCSTR szMessageClass) = 0;
    virtual HRESULT ResolveMessageClass(LPCSTR szMessageClass, ULONG ulFlags,
                                        LPMAPIFORMINFO* ppforminfo) = 0;
    virtual HRESULT ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY pMsgClassArray,
                                                  ULONG ulFlags,
                                                  LPSMAPIFORMINFOARRAY* ppfrminfoarray) = 0;
    virtual HRESULT CalcFormPropSet(ULONG ulFlags, LPMAPIFORMPROPARRAY* ppResults) = 0;
    virtual HRESULT GetDisplay(ULONG ulFlags, LPSTR* pszDisplayName) = 0;
    virtual HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
};

// The session's form libraries as one: resolves a message class across the containers a
// folder sees and opens a container by its HFRMREG.
class IMAPIFormMgr : public IUnknown {
public:
    virtual HRESULT LoadForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCSTR lpszMessageClass,
                             ULONG ulMessageStatus, ULONG ulMessageFlags, LPMAPIFOLDER pFolderFocus,
                             LPMAPIMESSAGESITE pMessageSite, LPMESSAGE pmsg,
                             LPMAPIVIEWCONTEXT pViewContext, REFIID riid, LPVOID* ppvObj) = 0;
    virtual HRESULT ResolveMessageClass(LPCSTR szMsgClass, ULONG ulFlags, LPMAPIFOLDER pFolderFocus,
                                        LPMAPIFORMINFO* ppResult) = 0;
    virtual HRESULT ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY pMsgClasses, ULONG ulFlags,
                                                  LPMAPIFOLDER pFolderFocus,
                                                  LPSMAPIFORMINFOARRAY* pfrminfoarray) = 0;
    virtual HRESULT CalcFormPropSet(LPSMAPIFORMINFOARRAY pfrminfoarray, ULONG ulFlags,
                                    LPMAPIFORMPROPARRAY* ppResults) = 0;
    virtual HRESULT CreateForm(ULONG_PTR ulUIParam, ULONG ulFlags,
                               LPMAPIFORMINFO pfrminfoToActivate, REFIID refiidToAsk,
                               LPVOID* ppvObj) = 0;
    virtual HRESULT SelectForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCSTR pszTitle,
                               LPMAPIFOLDER pfld, LPMAPIFORMINFO* ppfrminfoReturned) = 0;
    virtual HRESULT SelectMultipleForms(ULONG_PTR ulUIParam, ULONG ulFlags, LPCSTR pszTitle,
                                        LPMAPIFOLDER pfld, LPSMAPIFORMINFOARRAY pfrminfoarray,
                                        LPSMAPIFORMINFOARRAY* ppfrminfoarray) = 0;
    virtual HRESULT SelectFormContainer(ULONG_PTR ulUIParam, ULONG ulFlags,
                                        LPMAPIFORMCONTAINER* lppfcnt) = 0;
    virtual HRESULT OpenFormContainer(HFRMREG hfrmreg, LPUNKNOWN lpunk,
                                      LPMAPIFORMCONTAINER* lppfcnt) = 0;
    virtual HRESULT PrepareForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPMAPIFORMINFO pfrmiInfo) = 0;
    virtual HRESULT IsInConflict(ULONG ulMessageFlags, ULONG ulMessageStatus, LPCSTR szMessageClass,
                                 LPMAPIFOLDER pFolderFocus) = 0;
    virtual HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
};

// Opens the forms manager of a logged-on session (*ppmgr, one reference; it holds a reference
// to the session). MAPI_E_INVALID_PARAMETER for a null argument.
HRESULT MAPIOpenFormMgr(LPMAPISESSION pSession, LPMAPIFORMMGR* ppmgr);
