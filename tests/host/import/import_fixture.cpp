// The import test fixture: files on disk, the importer, and readers of what it stored.
#include "import_fixture.h"

#include <strings.h>

#include <cstdio>
#include <ctime>
#include <fstream>

#include "mapi_ptr.h"
#include "mapiutil.h"

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

std::filesystem::path ImportTest::WriteFile(const std::string& relative, const std::string& bytes) {
    const std::filesystem::path path = MailDir() / relative;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

host::mail::ImportReport ImportTest::Import(const std::vector<std::filesystem::path>& paths,
                                            const host::mail::ImportOptions& options) {
    return host::mail::ImportMail(store_.Get(), paths, options);
}

namespace {

ComPtr<IMAPIFolder> OpenFolder(IMsgStore* store, const SBinary& id) {
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    EXPECT_EQ(store->OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, MAPI_MODIFY,
                               &type, folder.PutUnknown()),
              S_OK);
    return folder;
}

}  // namespace

ComPtr<IMAPIFolder> ImportTest::FolderAt(const std::string& path) {
    MapiBuffer<SPropValue> top;
    EXPECT_EQ(HrGetOneProp(store_.Get(), PR_IPM_SUBTREE_ENTRYID, &top), S_OK);
    ComPtr<IMAPIFolder> folder = OpenFolder(store_.Get(), top->Value.bin);
    size_t at = 0;
    while (folder && at < path.size()) {
        const size_t end = std::min(path.find('/', at), path.size());
        const std::string name = path.substr(at, end - at);
        at = end + 1;
        ComPtr<IMAPITable> table;
        EXPECT_EQ(folder->GetHierarchyTable(0, &table), S_OK);
        SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_A, PR_ENTRYID}};
        RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                                 nullptr, 0, &rows),
                  S_OK);
        ComPtr<IMAPIFolder> child;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SPropValue* props = rows->aRow[i].lpProps;
            if (strcasecmp(props[0].Value.lpszA, name.c_str()) == 0) {
                child = OpenFolder(store_.Get(), props[1].Value.bin);
            }
        }
        EXPECT_TRUE(child) << "no folder " << name << " in " << path;
        folder = child;
    }
    return folder;
}

std::vector<ComPtr<IMessage>> ImportTest::Messages(IMAPIFolder* folder) {
    std::vector<ComPtr<IMessage>> messages;
    if (!folder) return messages;
    ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SBinary& id = rows->aRow[i].lpProps[0].Value.bin;
        std::vector<BYTE> eid(id.lpb, id.lpb + id.cb);
        messages.push_back(Open(eid, 0));
    }
    return messages;
}

ULONG ImportTest::CountIn(const std::string& path) {
    ComPtr<IMAPIFolder> folder = FolderAt(path);
    if (!folder) return 0;
    MapiBuffer<SPropValue> count;
    EXPECT_EQ(HrGetOneProp(folder.Get(), PR_CONTENT_COUNT, &count), S_OK);
    return count ? count->Value.ul : 0;
}

std::string PropText(IMessage* message, ULONG tag) {
    MapiBuffer<SPropValue> value;
    if (HrGetOneProp(message, tag, &value) != S_OK) return "(none)";
    switch (PROP_TYPE(tag)) {
        case PT_STRING8:
            return value->Value.lpszA;
        case PT_LONG:
            return std::to_string(value->Value.l);
        case PT_BINARY:
            return std::to_string(value->Value.bin.cb) + " bytes";
        case PT_SYSTIME: {
            const std::uint64_t ticks = (std::uint64_t{value->Value.ft.dwHighDateTime} << 32) |
                                        value->Value.ft.dwLowDateTime;
            const std::time_t seconds =
                static_cast<std::time_t>(ticks / 10'000'000) - 11'644'473'600;
            std::tm utc = {};
            gmtime_r(&seconds, &utc);
            char text[32];
            std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
            return text;
        }
        default:
            return "(type " + std::to_string(PROP_TYPE(tag)) + ")";
    }
}

std::vector<std::string> RecipientTexts(IMessage* message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message->GetRecipientTable(0, &table), S_OK);
    SizedSPropTagArray(5, columns) = {5,
                                      {PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A,
                                       PR_ADDRTYPE_A, PR_SMTP_ADDRESS_A}};
    RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    std::vector<std::string> texts;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        const LONG type = props[0].Value.l;
        std::string text = type == MAPI_TO ? "TO" : type == MAPI_CC ? "CC" : "BCC";
        for (int c = 1; c < 5; ++c) {
            text += "|";
            if (PROP_TYPE(props[c].ulPropTag) == PT_STRING8) text += props[c].Value.lpszA;
        }
        texts.push_back(text);
    }
    return texts;
}

std::string StreamedValue(IMessage* message, ULONG tag) {
    ComPtr<IStream> stream;
    EXPECT_EQ(message->OpenProperty(tag, &IID_IStream, 0, 0, stream.PutUnknown()), S_OK);
    std::string bytes;
    if (!stream) return bytes;
    char buffer[8192];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(buffer, sizeof buffer, &read)) && read > 0) {
        bytes.append(buffer, read);
    }
    return bytes;
}

}  // namespace orvella::testing
