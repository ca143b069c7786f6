// A logged-on store with a mail directory beside it: tests write message files, import them
// through the real importer and read back what the store holds, as the add-in reads it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "mail_import.h"
#include "store_fixture.h"

namespace orvella::testing {

class ImportTest : public StoreTest {
protected:
    // Writes `bytes` to <home>/mail/<relative>, creating directories; returns the path.
    std::filesystem::path WriteFile(const std::string& relative, const std::string& bytes);
    std::filesystem::path MailDir() const { return home_.path() / "mail"; }

    host::mail::ImportReport Import(const std::vector<std::filesystem::path>& paths,
                                    const host::mail::ImportOptions& options = {});

    // The folder at a path below the top of the store ("Inbox", "projects/alpha"); fails the
    // test when it is missing.
    platform::mapi::ComPtr<IMAPIFolder> FolderAt(const std::string& path);
    // The messages of a folder in the order they were saved.
    std::vector<platform::mapi::ComPtr<IMessage>> Messages(IMAPIFolder* folder);
    std::vector<platform::mapi::ComPtr<IMessage>> Messages(const std::string& path) {
        return Messages(FolderAt(path).Get());
    }
    ULONG CountIn(const std::string& path);
};

// One property of a message as text: strings as they are, numbers in decimal, times as
// "2001-12-07T18:06:42Z", binaries as their byte count ("41 bytes"), "(none)" when missing.
std::string PropText(IMessage* message, ULONG tag);

// The recipient rows as "TO|name|email|addrtype|smtp" (CC, BCC), in table order.
std::vector<std::string> RecipientTexts(IMessage* message);

// A string or binary value read through OpenProperty as a stream, whatever its size.
std::string StreamedValue(IMessage* message, ULONG tag);

}  // namespace orvella::testing
