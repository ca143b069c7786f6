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

}  // namespace
}  // namespace orvella::testing
