// Shared pieces of the compound-file tests: paths as wide names, whole-file reads, a structure
// walk through libgsf, and a logged-on profile with a default store.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "imessage.h"
#include "mapi_ptr.h"
#include "mapix.h"
#include "temp_home.h"

// An address list of n entries on the stack, as SizedSPropTagArray is for tags.
#define SizedADRLIST(n, name) \
    struct _ADRLIST_##name {  \
        ULONG cEntries;       \
        ADRENTRY aEntries[n]; \
    } name

namespace orvella::testing {

std::wstring Wide(const std::filesystem::path& path);
std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes);

// Every element of a compound file read by libgsf itself: "a/b" paths, streams with their
// bytes as a string, storages with "<storage>".
std::map<std::string, std::string> GsfElements(const std::filesystem::path& path);

// A fresh home with a profile "Outlook" of one default store, logged on.
class StoreFixture {
public:
    StoreFixture();
    ~StoreFixture();
    const std::filesystem::path& home() const { return home_.path(); }
    IMsgStore* store() const { return store_.Get(); }
    platform::mapi::ComPtr<IMAPIFolder> Inbox() const;
    IMAPISession* session() const { return session_.Get(); }

private:
    TempHome home_;
    platform::mapi::ComPtr<IMAPISession> session_;
    platform::mapi::ComPtr<IMsgStore> store_;
};

// Creates a compound file at `path` and a message on it.
struct FileMessageHandle {
    platform::mapi::ComPtr<IStorage> storage;
    platform::mapi::ComPtr<IMessage> message;
    LPMSGSESS session = nullptr;
    FileMessageHandle() = default;
    FileMessageHandle(const FileMessageHandle&) = delete;
    FileMessageHandle& operator=(const FileMessageHandle&) = delete;
    ~FileMessageHandle();
};
void CreateMessageFile(const std::filesystem::path& path, FileMessageHandle& out);
void OpenMessageFile(const std::filesystem::path& path, FileMessageHandle& out);

// One property read as text for comparisons ("<missing>" when absent).
std::string PropText(IMAPIProp* object, ULONG tag);

}  // namespace orvella::testing
