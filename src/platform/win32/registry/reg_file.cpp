// Export and import of .reg files against the registry database: export reads one snapshot,
// import applies a whole checked file in one transaction.
#include "reg_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "reg_format.h"
#include "registry_store.h"
#include "registry_view.h"

namespace orvella::platform {
namespace {

using registry::KeyPath;
using registry::KeyRef;
using registry::RegFileChange;
using registry::RegFileWriter;
using registry::RegistryStore;
using registry::Root;
using registry::Transaction;

std::string ReadWholeFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw RegistryError(ERROR_FILE_NOT_FOUND,
                            "cannot read " + file.string() + ": " + std::strerror(errno));
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) throw RegistryError(ERROR_CANTREAD, "cannot read " + file.string());
    return bytes.str();
}

// Writes beside the target and renames, so that a failed export never leaves half a file.
void ReplaceFile(const std::filesystem::path& file, const std::string& bytes) {
    const std::filesystem::path partial = file.string() + ".partial";
    {
        std::ofstream out(partial, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.close();
        if (!out) {
            const std::string reason = std::strerror(errno);
            std::error_code ignored;
            std::filesystem::remove(partial, ignored);
            throw RegistryError(ERROR_CANTWRITE, "cannot write " + file.string() + ": " + reason);
        }
    }
    std::error_code ec;
    std::filesystem::rename(partial, file, ec);
    if (ec) {
        std::filesystem::remove(partial, ec);
        throw RegistryError(ERROR_CANTWRITE, "cannot write " + file.string() + ": " + ec.message());
    }
}

void ExportTree(Transaction& tx, RegFileWriter& writer, const KeyRef& ref,
                const std::string& path) {
    writer.Key(path);
    if (ref.key != registry::kNoKey) {
        for (const registry::StoredValue& value : tx.Values(ref.key)) writer.Value(value);
    }
    for (const registry::StoredKey& subkey : registry::ListSubkeys(tx, ref)) {
        const KeyRef child =
            ref.classes ? *registry::OpenKey(tx, ref, {subkey.name}) : KeyRef{subkey.id};
        ExportTree(tx, writer, child, path + "\\" + subkey.name);
    }
}

// Exports the key `text`, naming each key of its path as it is stored.
void ExportKey(Transaction& tx, RegFileWriter& writer, std::string_view text) {
    const RegistryKeyPath parsed = ParseRegistryKeyPath(text);
    const Root root = *registry::PredefinedRoot(parsed.root);
    KeyPath names;
    registry::SplitKeyPath(parsed.subKey, names);
    KeyRef ref = registry::RootRef(tx, root);
    std::string path(registry::RootName(root));
    for (const std::string& name : names) {
        std::optional<KeyRef> next = registry::OpenKey(tx, ref, {name});
        if (!next) {
            throw RegistryError(ERROR_FILE_NOT_FOUND,
                                "the key " + parsed.ToString() + " does not exist");
        }
        ref = std::move(*next);
        path += "\\" + tx.KeyName(ref.key);
    }
    ExportTree(tx, writer, ref, path);
}

void Apply(Transaction& tx, const std::vector<RegFileChange>& changes) {
    std::optional<KeyRef> current;  // the key of the last [KEY] line
    for (const RegFileChange& change : changes) {
        switch (change.kind) {
            case RegFileChange::kOpenKey: {
                bool created;
                current = registry::CreateKey(tx, registry::RootRef(tx, change.root), change.path,
                                              created);
                break;
            }
            case RegFileChange::kDeleteKey: {
                current.reset();
                const std::optional<KeyRef> target =
                    registry::OpenKey(tx, registry::RootRef(tx, change.root), change.path);
                if (target) tx.DeleteKey(target->key);
                break;
            }
            case RegFileChange::kSetValue:
                tx.SetValue(registry::KeyForWriting(tx, *current), change.name, change.type,
                            change.data);
                break;
            case RegFileChange::kDeleteValue:
                if (current->key != registry::kNoKey) tx.DeleteValue(current->key, change.name);
                break;
        }
    }
}

}  // namespace

void ExportRegistry(const std::filesystem::path& file, std::string_view keyPath) {
    RegFileWriter writer;
    try {
        const std::shared_ptr<RegistryStore> store = RegistryStore::ForCurrentHome();
        Transaction tx(*store, Transaction::kRead);
        if (!keyPath.empty()) {
            ExportKey(tx, writer, keyPath);
        } else {
            for (const Root root : {Root::kCurrentUser, Root::kLocalMachine}) {
                ExportTree(tx, writer, registry::RootRef(tx, root),
                           std::string(registry::RootName(root)));
            }
        }
    } catch (const registry::StoreError& e) {
        throw RegistryError(e.code(), e.what());
    }
    ReplaceFile(file, writer.Finish());
}

void ImportRegistry(const std::filesystem::path& file) {
    const std::vector<RegFileChange> changes =
        registry::ParseRegFile(ReadWholeFile(file), file.string());
    try {
        const std::shared_ptr<RegistryStore> store = RegistryStore::ForCurrentHome();
        Transaction tx(*store, Transaction::kWrite);
        Apply(tx, changes);
        tx.Commit();
    } catch (const registry::StoreError& e) {
        throw RegistryError(e.code(), e.what());
    }
}

}  // namespace orvella::platform
