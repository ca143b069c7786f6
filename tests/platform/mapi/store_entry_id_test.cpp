// Entry ids name one object for the life of a store: once the object is deleted its entry id
// opens nothing, however many objects are created after it, also after the store was reopened.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "durability_fixture.h"

namespace orvella::testing {
namespace {

struct Case {
    const char* what;
    bool folder;  // else a message
    bool reopen;  // the store is closed and reopened between the deletion and the creation
};

class StoreEntryIdTest : public DurabilityTest {
protected:
    std::vector<BYTE> CreateObject(bool folder, const std::string& name) {
        if (!folder) return SaveMessage({Text(PR_SUBJECT_A, name.c_str())});
        ComPtr<IMAPIFolder> created;
        EXPECT_EQ(inbox_->CreateFolder(FOLDER_GENERIC, const_cast<char*>(name.c_str()), nullptr,
                                       nullptr, 0, &created),
                  S_OK);
        return EntryIdOf(created.Get());
    }

    void DeleteObject(bool folder, std::vector<BYTE>& eid) {
        if (folder) {
            ASSERT_EQ(inbox_->DeleteFolder(static_cast<ULONG>(eid.size()),
                                           reinterpret_cast<LPENTRYID>(eid.data()), 0, nullptr, 0),
                      S_OK);
            return;
        }
        SBinary bin = {static_cast<ULONG>(eid.size()), eid.data()};
        ENTRYLIST list = {1, &bin};
        ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    }
};

TEST_F(StoreEntryIdTest, DeletedObjectsEntryIdNeverNamesANewerOne) {
    const Case cases[] = {
        {"message", false, false},
        {"message, store reopened", false, true},
        {"folder", true, false},
        {"folder, store reopened", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<BYTE> deleted = CreateObject(c.folder, std::string("deleted ") + c.what);
        DeleteObject(c.folder, deleted);
        if (c.reopen) {
            CloseStore();
            Logon();
        }
        std::vector<BYTE> newer = CreateObject(c.folder, std::string("newer ") + c.what);
        EXPECT_EQ(OpenResult(deleted), MAPI_E_NOT_FOUND);
        EXPECT_FALSE(SameEntry(deleted, newer));
    }
}

TEST_F(StoreEntryIdTest, OpenEntryHandsOutOnlyTheInterfaceAskedFor) {
    std::vector<BYTE> message = CreateObject(false, "a message");
    std::vector<BYTE> folder = CreateObject(true, "a folder");
    struct Open {
        const char* what;
        std::vector<BYTE>* eid;  // null: the root folder
        const IID* iface;
        HRESULT result;
    } cases[] = {
        {"message as IMessage", &message, &IID_IMessage, S_OK},
        {"message as IMAPIProp", &message, &IID_IMAPIProp, S_OK},
        {"message as any", &message, nullptr, S_OK},
        {"message as IMAPIFolder", &message, &IID_IMAPIFolder, MAPI_E_INTERFACE_NOT_SUPPORTED},
        {"folder as IMAPIFolder", &folder, &IID_IMAPIFolder, S_OK},
        {"folder as IMessage", &folder, &IID_IMessage, MAPI_E_INTERFACE_NOT_SUPPORTED},
        {"root as IMessage", nullptr, &IID_IMessage, MAPI_E_INTERFACE_NOT_SUPPORTED},
    };
    for (const Open& c : cases) {
        ComPtr<IUnknown> opened;
        ULONG type = 0;
        const ULONG cb = c.eid ? static_cast<ULONG>(c.eid->size()) : 0;
        LPENTRYID id = c.eid ? reinterpret_cast<LPENTRYID>(c.eid->data()) : nullptr;
        EXPECT_EQ(store_->OpenEntry(cb, id, c.iface, 0, &type, &opened), c.result) << c.what;
        EXPECT_EQ(static_cast<bool>(opened), c.result == S_OK) << c.what;
    }
}

}  // namespace
}  // namespace orvella::testing
