// Compound files on disk through libgsf: the whole tree is read at open and written at commit.
#include "compound_file.h"

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-memory.h>
#include <gsf/gsf-utils.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>

#include "atomic_file.h"
#include "ole_storage.h"

namespace orvella::platform::ole {
namespace {

constexpr std::uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

void InitGsf() {
    static std::once_flag once;
    std::call_once(once, [] { gsf_init(); });
}

// Owns one GObject reference.
template <class T>
struct GObjectRef {
    T* p = nullptr;
    explicit GObjectRef(T* object) : p(object) {}
    GObjectRef(const GObjectRef&) = delete;
    GObjectRef& operator=(const GObjectRef&) = delete;
    ~GObjectRef() {
        if (p) g_object_unref(p);
    }
};

HRESULT FromErrno(int error, HRESULT otherwise) {
    switch (error) {
        case ENOENT:
            return STG_E_FILENOTFOUND;
        case ENOTDIR:
            return STG_E_PATHNOTFOUND;
        case EACCES:
        case EPERM:
        case EROFS:
            return STG_E_ACCESSDENIED;
        case ENOSPC:
        case EDQUOT:
            return STG_E_MEDIUMFULL;
        default:
            return otherwise;
    }
}

bool ReadChildren(GsfInfile* in, StorageNode& node) {
    const int count = gsf_infile_num_children(in);
    for (int i = 0; i < count; ++i) {
        const char* name = gsf_infile_name_by_index(in, i);
        GObjectRef<GsfInput> child(gsf_infile_child_by_index(in, i));
        if (!name || !child.p) return false;
        auto element = std::make_shared<StorageNode>();
        if (GSF_IS_INFILE(child.p) && gsf_infile_num_children(GSF_INFILE(child.p)) >= 0) {
            guint8 clsid[16];
            if (gsf_infile_msole_get_class_id(GSF_INFILE_MSOLE(child.p), clsid))
                std::memcpy(&element->clsid, clsid, sizeof(CLSID));
            if (!ReadChildren(GSF_INFILE(child.p), *element)) return false;
        } else {
            element->is_storage = false;
            const gsf_off_t size = gsf_input_size(child.p);
            element->bytes.resize(static_cast<std::size_t>(size));
            if (size > 0 &&
                !gsf_input_read(child.p, static_cast<std::size_t>(size), element->bytes.data()))
                return false;
        }
        node.children[name] = std::move(element);
    }
    return true;
}

bool WriteChildren(GsfOutfile* out, const StorageNode& node) {
    for (const auto& [name, element] : node.children) {
        GObjectRef<GsfOutput> child(gsf_outfile_new_child(out, name.c_str(), element->is_storage));
        if (!child.p) return false;
        bool written = true;
        if (element->is_storage) {
            gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(child.p),
                                           reinterpret_cast<const guint8*>(&element->clsid));
            written = WriteChildren(GSF_OUTFILE(child.p), *element);
        } else if (!element->bytes.empty()) {
            written = gsf_output_write(child.p, element->bytes.size(), element->bytes.data());
        }
        if (!gsf_output_close(child.p) || !written) return false;
    }
    return true;
}

}  // namespace

HRESULT ReadCompoundFile(const std::filesystem::path& path, std::shared_ptr<StorageNode>& root) {
    InitGsf();
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) return FromErrno(errno ? errno : ENOENT, STG_E_READFAULT);
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) return STG_E_ACCESSDENIED;
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                    std::istreambuf_iterator<char>());
    if (bytes.size() < 512 || std::memcmp(bytes.data(), kSignature, sizeof kSignature) != 0)
        return STG_E_FILEALREADYEXISTS;
    GObjectRef<GsfInput> input(gsf_input_memory_new(bytes.data(), bytes.size(), FALSE));
    GError* error = nullptr;
    GObjectRef<GsfInfile> ole(input.p ? gsf_infile_msole_new(input.p, &error) : nullptr);
    if (error) g_error_free(error);
    if (!ole.p) return STG_E_DOCFILECORRUPT;
    auto tree = std::make_shared<StorageNode>();
    guint8 clsid[16];
    if (gsf_infile_msole_get_class_id(GSF_INFILE_MSOLE(ole.p), clsid))
        std::memcpy(&tree->clsid, clsid, sizeof(CLSID));
    if (!ReadChildren(ole.p, *tree)) return STG_E_DOCFILECORRUPT;
    root = std::move(tree);
    return S_OK;
}

HRESULT WriteCompoundFile(const std::filesystem::path& path, const StorageNode& root) {
    InitGsf();
    GObjectRef<GsfOutput> sink(gsf_output_memory_new());
    if (!sink.p) return STG_E_INSUFFICIENTMEMORY;
    bool written = false;
    {
        GObjectRef<GsfOutfile> ole(gsf_outfile_msole_new(sink.p));
        if (!ole.p) return STG_E_INSUFFICIENTMEMORY;
        gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(ole.p),
                                       reinterpret_cast<const guint8*>(&root.clsid));
        written = WriteChildren(ole.p, root);
        written = gsf_output_close(GSF_OUTPUT(ole.p)) && written;
    }
    if (!written) return STG_E_WRITEFAULT;
    const GsfOutputMemory* memory = GSF_OUTPUT_MEMORY(sink.p);
    const int error =
        ReplaceFileContents(path, gsf_output_memory_get_bytes(const_cast<GsfOutputMemory*>(memory)),
                            static_cast<std::size_t>(gsf_output_size(sink.p)));
    if (error == ENOENT) return STG_E_PATHNOTFOUND;
    return error ? FromErrno(error, STG_E_WRITEFAULT) : S_OK;
}

}  // namespace orvella::platform::ole
