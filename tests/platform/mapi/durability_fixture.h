// What the store's durability tests share: closing the store before another process writes it,
// a session and folder of a writer's own, the store check, and every row of a folder.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "store_database.h"
#include "store_fixture.h"

namespace orvella::testing {

// The names every durability test uses.
using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;
namespace store = platform::mapi::store;

// Logs on to the default profile with a session of its own and opens a folder through it
// read-write, as another thread or process would. The HRESULT of the first step that failed.
HRESULT OpenOwnFolder(std::vector<BYTE> folder_eid, ComPtr<IMAPISession>& session,
                      ComPtr<IMAPIFolder>& folder);

// Every row of a folder's contents table with these columns, restricted when a restriction is
// given.
HRESULT ReadAllRows(IMAPIFolder* folder, std::span<const ULONG> columns, RowSetPtr& rows,
                    SRestriction* restriction = nullptr);

// The text of a string column, empty when the row lacks it.
std::string TextOf(const SPropValue& value);

class DurabilityTest : public StoreTest {
protected:
    // Releases every object of the fixture's session, so that this process holds no store file
    // open and may fork a child that writes it; Logon() opens them again.
    void CloseStore();
    // The default store's file.
    std::filesystem::path StoreFile();
    // The store file as this process has it open (opened when needed).
    std::shared_ptr<store::StoreDatabase> OpenStoreFile();
    // The problems the store file's check finds; empty when it is sound.
    std::vector<std::string> CheckStore();
    // What opening an entry id through the session returns (the object is not kept).
    HRESULT OpenResult(std::vector<BYTE> eid);
    // Whether the session's CompareEntryIDs takes two entry ids for the same object.
    bool SameEntry(std::vector<BYTE> one, std::vector<BYTE> other);
};

}  // namespace orvella::testing
