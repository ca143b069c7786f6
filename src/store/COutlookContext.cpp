// COutlookContext construction and teardown: install directory, Outlook version, MAPI logon,
// the mail and application stores and the standard folders.
#include "COutlookContext.h"

#include <cstdio>

#include "mapiutil.h"
#include "registry_values.h"
#include "resource.h"
#include "store_failures.h"
#include "winuser.h"

using namespace store_failures;

namespace {

constexpr char kCurVerKey[] = "Outlook.Application\\CurVer";
constexpr char kCurVerPrefix[] = "Outlook.Application.";

// "{53242DC8-F20A-4382-8649-F1728E185100}"
std::string ClassIdText(const CLSID& id) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(id.Data1), id.Data2, id.Data3, id.Data4[0], id.Data4[1],
                  id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5], id.Data4[6], id.Data4[7]);
    return text;
}

std::optional<std::string> ReadClassesRootDefault(const std::string& subKey) {
    RegKey key;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, subKey.c_str(), 0, KEY_READ, key.put()) != ERROR_SUCCESS)
        return std::nullopt;
    return ReadRegString(key.get(), nullptr);
}

}  // namespace

COutlookContext::COutlookContext(_NameSpace* nameSpace, const CLSID& classId)
    : nameSpace_(nameSpace) {
    ReadSettings(classId);
    ReadOutlookVersion();
    LogOn();
    exchangeMode_ = IsExchangeMode();
    FindStandardFolders();
    LoadContactFolders();
    InitAddressBook();
    subtreeEID_ = GetSubtreeEID(mailStore_.Get());
    appSubtreeEID_ = GetSubtreeEID(appStore_.Get());
    threadFolderEID_ = inboxEID_;
    LoadIdentity();
    CompileThreadPattern();
}

COutlookContext::~COutlookContext() {
    try {
        UnregisterMAPIAdvise();
        SaveStatistics();
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
    // The stores and the session go before MAPI itself.
    appStore_.Reset();
    mailStore_.Reset();
    session_.Reset();
    nameSpace_.Reset();
}

COutlookContext::MapiRuntime::~MapiRuntime() {
    if (initialized) MAPIUninitialize();
}

void COutlookContext::ReadSettings(const CLSID& classId) {
    RegKey settings;
    RegCreateKeyExA(HKEY_CURRENT_USER, orvella::res::LoadResString(IDS_SETTINGS_KEY).c_str(), 0,
                    nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, settings.put(),
                    nullptr);
    std::optional<std::string> home;
    if (settings) home = ReadRegString(settings.get(), "HomeDir");
    if (!home) {
        // The directory the add-in's module was registered from.
        std::string server =
            ReadClassesRootDefault("CLSID\\" + ClassIdText(classId) + "\\InprocServer32")
                .value_or("");
        size_t slash = server.rfind('\\');
        home = slash == std::string::npos ? std::string() : server.substr(0, slash);
    }
    installDirectory_ = *home;
    UseInstallDirectoryForLog(installDirectory_);
    if (installDirectory_.empty())
        FailProgram("Could not find install directory",
                    "Orvella for Outlook could not find the install directory for the "
                    "application");

    viewsDirectory_ = installDirectory_;
    for (char& c : viewsDirectory_)
        if (c == '\\') c = '/';
    viewsDirectory_ += "/Views";
    if (!settings) return;
    showContactsAsAddressBook_ =
        ReadRegDword(settings.get(), "ShowContactFolderAsAddressbook").value_or(0) != 0;
    topicFolderHome_ = ReadRegString(settings.get(), "TopicFolderHome").value_or("");
    std::string location = ReadRegString(settings.get(), "TopicFolderLocation").value_or("");
    if (!location.empty()) topicFolderLocation_ = location;
    topicFolderLocation_ = ValidateTopicFolderLocation(topicFolderLocation_);
}

void COutlookContext::ReadOutlookVersion() {
    std::string current = ReadClassesRootDefault(kCurVerKey).value_or("");
    const size_t prefix = sizeof kCurVerPrefix - 1;
    if (current.compare(0, prefix, kCurVerPrefix) == 0) outlookVersion_ = current.substr(prefix);
    if (outlookVersion_.empty()) FailProgram("Could not find Outlook version");
}

void COutlookContext::LogOn() {
    MAPIINIT_0 init = {MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS};
    CheckMapi(MAPIInitialize(&init), "MAPIInitialize failed");
    mapi_.initialized = true;
    CheckMapi(MAPILogonEx(0, nullptr, nullptr, MAPI_LOGON_UI | MAPI_EXTENDED | MAPI_USE_DEFAULT,
                          &session_),
              "MAPILogonEx failed");

    RegKey settings;
    RegOpenKeyExA(HKEY_CURRENT_USER, orvella::res::LoadResString(IDS_SETTINGS_KEY).c_str(), 0,
                  KEY_ALL_ACCESS, settings.put());
    if (settings) {
        if (auto stored = ReadRegBinary(settings.get(), "Datastore"))
            datastoreEID_ = EntryId(*stored);
    }
    if (datastoreEID_.empty()) datastoreEID_ = GetDefaultDatastoreEID();
    if (datastoreEID_.empty()) FailProgram("Unable to obtain active datastore");
    CheckMapi(session_->OpenMsgStore(0, datastoreEID_.cb(), datastoreEID_.get(), nullptr, MDB_WRITE,
                                     &mailStore_),
              session_.Get(), "OpenMsgStore failed");
    OpenAppStore(settings.get());
}

void COutlookContext::OpenAppStore(HKEY settings) {
    std::optional<std::vector<BYTE>> stored;
    if (settings) stored = ReadRegBinary(settings, "AppDatastore");
    if (!stored || stored->empty()) {
        appStore_ = mailStore_;
        appDatastoreEID_ = datastoreEID_;
        return;
    }
    EntryId wanted(*stored);
    if (SUCCEEDED(
            session_->OpenMsgStore(0, wanted.cb(), wanted.get(), nullptr, MDB_WRITE, &appStore_))) {
        appDatastoreEID_ = wanted;
        return;
    }
    // The configured store is gone: topic folders go to the mail store until the user chooses
    // another one.
    appStore_ = mailStore_;
    appDatastoreEID_ = datastoreEID_;
    RegDeleteValueA(settings, "AppDatastore");
    MessageBoxA(nullptr, orvella::res::LoadResString(IDS_APP_DATASTORE_FAILED).c_str(),
                orvella::res::LoadResString(IDS_PRODUCT_NAME).c_str(), MB_OK);
}

void COutlookContext::FindStandardFolders() {
    ULONG cb = 0;
    orvella::platform::mapi::MapiBuffer<ENTRYID> inbox;
    CheckMapi(mailStore_->GetReceiveFolder(const_cast<LPTSTR>("IPM.Note"), 0, &cb, &inbox, nullptr),
              mailStore_.Get(), "GetReceiveFolder failed");
    inboxEID_ = EntryId(cb, reinterpret_cast<const BYTE*>(inbox.Get()));

    auto storeEntryId = [&](ULONG tag, const char* failure) {
        orvella::platform::mapi::MapiBuffer<SPropValue> value;
        CheckMapi(HrGetOneProp(mailStore_.Get(), tag, &value), mailStore_.Get(), failure);
        return EntryId(value->Value.bin);
    };
    wastebasketEID_ =
        storeEntryId(PR_IPM_WASTEBASKET_ENTRYID, "Could not get PR_IPM_WASTEBASKET_ENTRYID");
    sentItemsEID_ = storeEntryId(PR_IPM_SENTMAIL_ENTRYID, "Could not get PR_IPM_SENTMAIL_ENTRYID");

    ComPtr<IMAPIFolder> inboxFolder = GetInboxFolder();
    orvella::platform::mapi::MapiBuffer<SPropValue> contacts;
    CheckMapi(HrGetOneProp(inboxFolder.Get(), PR_IPM_CONTACT_ENTRYID, &contacts), inboxFolder.Get(),
              "Failed get prop of contacts eid");
    contactsEID_ = EntryId(contacts->Value.bin);
}
