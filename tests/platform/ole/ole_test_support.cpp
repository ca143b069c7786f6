// Helpers of the compound-file tests.
#include "ole_test_support.h"

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-utils.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <span>

#include "mapi_wide_text.h"
#include "mapiutil.h"
#include "profile.h"

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

std::wstring Wide(const std::filesystem::path& path) {
    return platform::mapi::Utf8ToWide(path.string());
}

std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

namespace {

void Walk(GsfInfile* in, const std::string& prefix, std::map<std::string, std::string>& out) {
    for (int i = 0; i < gsf_infile_num_children(in); ++i) {
        std::string name = prefix + gsf_infile_name_by_index(in, i);
        GsfInput* child = gsf_infile_child_by_index(in, i);
        if (GSF_IS_INFILE(child) && gsf_infile_num_children(GSF_INFILE(child)) >= 0) {
            out[name] = "<storage>";
            Walk(GSF_INFILE(child), name + "/", out);
        } else {
            std::string bytes(static_cast<std::size_t>(gsf_input_size(child)), '\0');
            if (!bytes.empty())
                gsf_input_read(child, bytes.size(), reinterpret_cast<guint8*>(bytes.data()));
            out[name] = bytes;
        }
        g_object_unref(child);
    }
}

}  // namespace

std::map<std::string, std::string> GsfElements(const std::filesystem::path& path) {
    gsf_init();
    std::vector<std::uint8_t> bytes = FileBytes(path);
    GsfInput* input = gsf_input_memory_new(bytes.data(), bytes.size(), FALSE);
    GsfInfile* ole = gsf_infile_msole_new(input, nullptr);
    std::map<std::string, std::string> out;
    if (ole) {
        Walk(ole, "", out);
        g_object_unref(ole);
    }
    g_object_unref(input);
    return out;
}

StoreFixture::StoreFixture() {
    const platform::mapi::store::StoreSetup setup[] = {{"Personal Folders"}};
    std::vector<platform::mapi::store::StoreSetup> stores(std::begin(setup), std::end(setup));
    stores[0].is_default = true;
    platform::mapi::store::CreateProfile("Outlook", stores);
    EXPECT_EQ(S_OK, MAPIInitialize(nullptr));
    char profile[] = "Outlook";
    EXPECT_EQ(S_OK, MAPILogonEx(0, profile, nullptr, MAPI_EXTENDED | MAPI_NEW_SESSION, &session_));
    ComPtr<IMAPITable> table;
    EXPECT_EQ(S_OK, session_->GetMsgStoresTable(0, &table));
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DEFAULT_STORE}};
    RowSetPtr rows;
    EXPECT_EQ(S_OK, HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                   nullptr, nullptr, 0, &rows));
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* values = rows->aRow[i].lpProps;
        if (values[1].ulPropTag == PR_DEFAULT_STORE && values[1].Value.b) {
            EXPECT_EQ(S_OK,
                      session_->OpenMsgStore(0, values[0].Value.bin.cb,
                                             reinterpret_cast<LPENTRYID>(values[0].Value.bin.lpb),
                                             nullptr, MDB_WRITE, &store_));
        }
    }
}

StoreFixture::~StoreFixture() {
    store_.Reset();
    if (session_) session_->Logoff(0, 0, 0);
    session_.Reset();
    MAPIUninitialize();
}

ComPtr<IMAPIFolder> StoreFixture::Inbox() const {
    ULONG cb = 0;
    MapiBuffer<ENTRYID> entry_id;
    char message_class[] = "IPM";
    EXPECT_EQ(S_OK, store_->GetReceiveFolder(message_class, 0, &cb, &entry_id, nullptr));
    ComPtr<IMAPIFolder> inbox;
    ULONG type = 0;
    EXPECT_EQ(S_OK, store_->OpenEntry(cb, entry_id.Get(), nullptr, MAPI_MODIFY, &type,
                                      inbox.PutUnknown()));
    return inbox;
}

FileMessageHandle::~FileMessageHandle() {
    message.Reset();
    storage.Reset();
    CloseIMsgSession(session);
}

void CreateMessageFile(const std::filesystem::path& path, FileMessageHandle& out) {
    ASSERT_EQ(S_OK, StgCreateDocfile(
                        Wide(path).c_str(),
                        STGM_TRANSACTED | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE, 0,
                        &out.storage));
    ASSERT_EQ(S_OK, OpenIMsgSession(MAPIGetDefaultMalloc(), 0, &out.session));
    ASSERT_EQ(S_OK, OpenIMsgOnIStg(out.session, MAPIAllocateBuffer, MAPIAllocateMore,
                                   MAPIFreeBuffer, MAPIGetDefaultMalloc(), nullptr,
                                   out.storage.Get(), nullptr, 0, 0, &out.message));
}

void OpenMessageFile(const std::filesystem::path& path, FileMessageHandle& out) {
    ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE,
                                   nullptr, 0, &out.storage));
    ASSERT_EQ(S_OK, OpenIMsgSession(MAPIGetDefaultMalloc(), 0, &out.session));
    ASSERT_EQ(S_OK, OpenIMsgOnIStg(out.session, MAPIAllocateBuffer, MAPIAllocateMore,
                                   MAPIFreeBuffer, MAPIGetDefaultMalloc(), nullptr,
                                   out.storage.Get(), nullptr, 0, 0, &out.message));
}

std::string PropText(IMAPIProp* object, ULONG tag) {
    MapiBuffer<SPropValue> value;
    if (FAILED(HrGetOneProp(object, tag, &value))) return "<missing>";
    switch (PROP_TYPE(tag)) {
        case PT_STRING8:
            return value->Value.lpszA;
        case PT_UNICODE:
            return platform::mapi::WideToUtf8(value->Value.lpszW);
        case PT_LONG:
            return std::to_string(value->Value.l);
        case PT_BOOLEAN:
            return value->Value.b ? "true" : "false";
        case PT_BINARY:
            return std::string(reinterpret_cast<const char*>(value->Value.bin.lpb),
                               value->Value.bin.cb);
        default:
            return "<type " + std::to_string(PROP_TYPE(tag)) + ">";
    }
}

}  // namespace orvella::testing
