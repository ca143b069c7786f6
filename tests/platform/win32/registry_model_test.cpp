// Model-based test: seeded random sequences of registry calls run against the real registry and a
// small in-memory model of its documented behaviour; every result must agree.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "registry_test_util.h"
#include "temp_home.h"
#include "winreg.h"

namespace orvella::testing {
namespace {

using Path = std::vector<std::string>;

// The model's names are ASCII, so folding is ASCII upper case.
std::string Fold(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return folded;
}

struct ModelValue {
    std::string name;
    DWORD type;
    std::string data;
};

struct Node {
    std::string name;
    Node* parent = nullptr;
    bool deleted = false;
    std::map<std::string, Node*> children;  // by folded name: the enumeration order
    std::vector<ModelValue> values;         // in the order first set

    ModelValue* FindValue(std::string_view name) {
        for (ModelValue& value : values) {
            if (Fold(value.name) == Fold(name)) return &value;
        }
        return nullptr;
    }
};

// The registry as its contract describes it, in memory.
class Model {
public:
    Model()
        : user_(NewNode("HKEY_CURRENT_USER", nullptr)),
          machine_(NewNode("HKEY_LOCAL_MACHINE", nullptr)) {}

    Node* user() const { return user_; }
    Node* machine() const { return machine_; }

    Node* Find(Node* from, const Path& path) const {
        for (const std::string& name : path) {
            const auto it = from->children.find(Fold(name));
            if (it == from->children.end()) return nullptr;
            from = it->second;
        }
        return from;
    }

    Node* Create(Node* from, const Path& path, bool& created) {
        created = false;
        for (const std::string& name : path) {
            const auto it = from->children.find(Fold(name));
            created = it == from->children.end();
            from = created ? NewNode(name, from) : it->second;
        }
        return from;
    }

    void Delete(Node* node) {
        node->parent->children.erase(Fold(node->name));
        MarkDeleted(node);
    }

    void Clear(Node* node) {
        for (auto& [fold, child] : node->children) MarkDeleted(child);
        node->children.clear();
        node->values.clear();
    }

private:
    Node* NewNode(const std::string& name, Node* parent) {
        nodes_.push_back(std::make_unique<Node>());
        Node* node = nodes_.back().get();
        node->name = name;
        node->parent = parent;
        if (parent) parent->children[Fold(name)] = node;
        return node;
    }

    void MarkDeleted(Node* node) {
        node->deleted = true;
        for (auto& [fold, child] : node->children) MarkDeleted(child);
    }

    std::vector<std::unique_ptr<Node>> nodes_;
    Node* user_;
    Node* machine_;
};

// A key as a handle sees it; for the classes view both sides as found when it was opened.
struct Ref {
    bool classes = false;
    Path path;
    Node* key = nullptr;
    Node* user = nullptr;
    Node* machine = nullptr;
};

enum RootIndex { kUser, kMachine, kClasses };

struct Handle {
    HKEY real = nullptr;
    bool predefined = false;
    RootIndex root = kUser;
    Ref ref;
    REGSAM access = KEY_ALL_ACCESS;
};

const Path kUserClasses{"Software", "Classes"};
const Path kMachineClasses{"SOFTWARE", "Classes"};

Path Join(const Path& a, const Path& b) {
    Path joined = a;
    joined.insert(joined.end(), b.begin(), b.end());
    return joined;
}

std::string Text(const Path& path) {
    std::string text;
    for (const std::string& name : path) text += (text.empty() ? "" : "\\") + name;
    return text;
}

class ModelRun {
public:
    explicit ModelRun(unsigned seed) : seed_(seed), random_(seed) {
        for (const RootIndex root : {kUser, kMachine, kClasses}) {
            Handle handle;
            handle.real = root == kUser      ? HKEY_CURRENT_USER
                          : root == kMachine ? HKEY_LOCAL_MACHINE
                                             : HKEY_CLASSES_ROOT;
            handle.predefined = true;
            handle.root = root;
            handles_.push_back(handle);
        }
    }

    ~ModelRun() {
        for (size_t i = 3; i < handles_.size(); ++i) RegCloseKey(handles_[i].real);
    }

    void Step(int step) {
        step_ = step;
        switch (Pick(12)) {
            case 0:
                return OpenOrCreate(false);
            case 1:
            case 2:
                return OpenOrCreate(true);
            case 3:
                return Close();
            case 4:
            case 5:
                return SetValue();
            case 6:
            case 7:
                return QueryValue();
            case 8:
                return DeleteValue();
            case 9:
                return Pick(2) ? DeleteKey() : DeleteTree();
            case 10:
                return Pick(2) ? EnumKey() : EnumValue();
            default:
                return QueryInfo();
        }
    }

private:
    // ---- random choices ----

    int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

    std::string RandomCase(std::string name) {
        for (char& c : name) {
            if (Pick(2))
                c = static_cast<char>(std::isupper(static_cast<unsigned char>(c))
                                          ? std::tolower(c)
                                          : std::toupper(c));
        }
        return name;
    }

    Path RandomPath(int maxDepth, bool mayBeEmpty) {
        Path path;
        if (Pick(3) == 0) {
            path.push_back(RandomCase("Software"));
            path.push_back(RandomCase("Classes"));
        }
        static const char* const kNames[] = {"a", "Bb", "c", "Software", "Classes", "Zed"};
        const int depth = Pick(maxDepth + 1);
        for (int i = 0; i < depth; ++i) path.push_back(RandomCase(kNames[Pick(6)]));
        if (path.empty() && !mayBeEmpty) path.push_back(RandomCase(kNames[Pick(6)]));
        return path;
    }

    std::string RandomValueName() {
        static const char* const kNames[] = {"", "v", "Value2", "w", "long value name"};
        return RandomCase(kNames[Pick(5)]);
    }

    std::string RandomData() {
        std::string data;
        const int size = Pick(11);
        static const char kBytes[] = {'\0', 'a', 'Z', '\xff', '\xc3', '\x80', '\n'};
        for (int i = 0; i < size; ++i) data += kBytes[Pick(sizeof kBytes)];
        return data;
    }

    DWORD RandomType() {
        static const DWORD kTypes[] = {REG_SZ,     REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD,
                                       REG_BINARY, REG_NONE,      REG_QWORD,    0x1234};
        return kTypes[Pick(8)];
    }

    REGSAM RandomAccess() {
        static const REGSAM kAccess[] = {KEY_ALL_ACCESS,
                                         KEY_READ,
                                         KEY_WRITE,
                                         KEY_QUERY_VALUE,
                                         KEY_SET_VALUE | KEY_QUERY_VALUE,
                                         KEY_ENUMERATE_SUB_KEYS};
        return kAccess[Pick(6)];
    }

    Handle& RandomHandle() {
        if (handles_.size() == 3 || Pick(3) == 0) return handles_[Pick(3)];
        return handles_[3 + Pick(static_cast<int>(handles_.size()) - 3)];
    }

    // ---- the model's view of handles ----

    Ref ClassesRef(const Path& path) {
        Ref ref;
        ref.classes = true;
        ref.path = path;
        ref.user = model_.Find(model_.user(), Join(kUserClasses, path));
        ref.machine = model_.Find(model_.machine(), Join(kMachineClasses, path));
        ref.key = ref.user ? ref.user : ref.machine;
        return ref;
    }

    Ref RootRef(RootIndex root) {
        if (root == kClasses) return ClassesRef({});
        Ref ref;
        ref.key = root == kUser ? model_.user() : model_.machine();
        return ref;
    }

    // The call's target key: rights first, then whether the handle's key still exists.
    LONG Target(const Handle& handle, REGSAM needed, Ref& ref) {
        if ((handle.access & needed) != needed) return ERROR_ACCESS_DENIED;
        ref = handle.predefined ? RootRef(handle.root) : handle.ref;
        if (!handle.predefined && ref.key->deleted) return ERROR_KEY_DELETED;
        return ERROR_SUCCESS;
    }

    std::optional<Ref> Open(const Ref& base, const Path& path) {
        if (path.empty()) return base;
        if (base.classes) {
            Ref ref = ClassesRef(Join(base.path, path));
            if (!ref.key) return std::nullopt;
            return ref;
        }
        Node* node = model_.Find(base.key, path);
        if (!node) return std::nullopt;
        Ref ref;
        ref.key = node;
        return ref;
    }

    Ref Create(const Ref& base, const Path& path, bool& created) {
        created = false;
        if (path.empty()) return base;
        if (!base.classes) {
            Ref ref;
            ref.key = model_.Create(base.key, path, created);
            return ref;
        }
        Ref ref = ClassesRef(Join(base.path, path));
        if (!ref.key) {
            ref.machine = model_.Create(model_.machine(), Join(kMachineClasses, ref.path), created);
            ref.key = ref.machine;
        }
        return ref;
    }

    std::vector<Node*> Subkeys(const Ref& ref) {
        std::vector<Node*> nodes;
        if (!ref.classes) {
            for (auto& [fold, node] : ref.key->children) nodes.push_back(node);
            return nodes;
        }
        if (ref.user) {
            for (auto& [fold, node] : ref.user->children) nodes.push_back(node);
        }
        if (ref.machine) {
            for (auto& [fold, node] : ref.machine->children) {
                if (!ref.user || !ref.user->children.count(fold)) nodes.push_back(node);
            }
        }
        return nodes;
    }

    // ---- reporting ----

    std::string Where(const std::string& operation) const {
        std::ostringstream out;
        out << "seed " << seed_ << ", step " << step_ << ": " << operation;
        return out.str();
    }

    std::string Describe(const Handle& handle) const {
        if (handle.predefined)
            return handle.root == kUser ? "HKCU" : handle.root == kMachine ? "HKLM" : "HKCR";
        std::ostringstream out;
        out << "handle " << handle.real;
        return out.str();
    }

    // ---- operations ----

    void OpenOrCreate(bool create) {
        const Handle base = RandomHandle();
        const Path path = RandomPath(3, true);
        const REGSAM access = RandomAccess();
        const std::string op = Where(std::string(create ? "create" : "open") + " " +
                                     Describe(base) + " \"" + Text(path) + "\"");

        HKEY real = nullptr;
        DWORD disposition = 0;
        const std::string text = Text(path);
        const LONG realRc = create ? RegCreateKeyExA(base.real, text.c_str(), 0, nullptr, 0, access,
                                                     nullptr, &real, &disposition)
                                   : RegOpenKeyExA(base.real, text.c_str(), 0, access, &real);

        LONG modelRc = ERROR_SUCCESS;
        bool created = false;
        Handle opened;
        if (path.empty() && base.predefined) {
            opened = base;
        } else if (Ref ref; (modelRc = Target(base, 0, ref)) == ERROR_SUCCESS) {
            if (create) {
                opened.ref = Create(ref, path, created);
            } else if (std::optional<Ref> found = Open(ref, path)) {
                opened.ref = *found;
            } else {
                modelRc = ERROR_FILE_NOT_FOUND;
            }
            opened.access = access;
        }
        ASSERT_EQ(realRc, modelRc) << op;
        if (realRc != ERROR_SUCCESS) return;
        if (create) {
            ASSERT_EQ(disposition,
                      static_cast<DWORD>(created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY))
                << op;
        }
        if (opened.predefined) {
            ASSERT_EQ(real, base.real) << op;
            return;
        }
        opened.real = real;
        handles_.push_back(opened);
        if (handles_.size() > 24) Close();
    }

    void Close() {
        if (handles_.size() == 3) return;
        const size_t index = 3 + Pick(static_cast<int>(handles_.size()) - 3);
        const HKEY real = handles_[index].real;
        const std::string op = Where("close " + Describe(handles_[index]));
        handles_.erase(handles_.begin() + static_cast<std::ptrdiff_t>(index));
        ASSERT_EQ(RegCloseKey(real), ERROR_SUCCESS) << op;
        ASSERT_EQ(RegQueryValueExA(real, "", nullptr, nullptr, nullptr, nullptr),
                  ERROR_INVALID_HANDLE)
            << op;
    }

    void SetValue() {
        Handle& handle = RandomHandle();
        const std::string name = RandomValueName();
        const DWORD type = RandomType();
        const std::string data = RandomData();
        const std::string op = Where("set " + Describe(handle) + " \"" + name + "\" type " +
                                     std::to_string(type) + " size " + std::to_string(data.size()));

        const LONG realRc = SetRaw(handle.real, name.c_str(), type, data);
        Ref ref;
        LONG modelRc = Target(handle, KEY_SET_VALUE, ref);
        if (modelRc == ERROR_SUCCESS) {
            Node* key = ref.key;
            bool created;
            if (!key) key = model_.Create(model_.machine(), kMachineClasses, created);
            if (ModelValue* existing = key->FindValue(name)) {
                existing->type = type;
                existing->data = data;
            } else {
                key->values.push_back({name, type, data});
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
    }

    void QueryValue() {
        const Handle& handle = RandomHandle();
        const std::string name = RandomValueName();
        const int mode = Pick(3);  // 0: size only, 1: type only, 2: a buffer
        const DWORD bufferSize = static_cast<DWORD>(Pick(12));
        const std::string op =
            Where("query " + Describe(handle) + " \"" + name + "\" mode " + std::to_string(mode) +
                  " buffer " + std::to_string(bufferSize));

        std::string buffer(bufferSize + 1, '\x55');
        DWORD size = bufferSize;
        DWORD type = 0xEEEE;
        const LONG realRc =
            RegQueryValueExA(handle.real, name.c_str(), nullptr, &type,
                             mode == 2 ? reinterpret_cast<BYTE*>(buffer.data()) : nullptr,
                             mode == 1 ? nullptr : &size);

        Ref ref;
        LONG modelRc = Target(handle, KEY_QUERY_VALUE, ref);
        const ModelValue* value = nullptr;
        if (modelRc == ERROR_SUCCESS) {
            value = ref.key ? ref.key->FindValue(name) : nullptr;
            if (!value)
                modelRc = ERROR_FILE_NOT_FOUND;
            else if (mode == 2 && bufferSize < value->data.size())
                modelRc = ERROR_MORE_DATA;
        }
        ASSERT_EQ(realRc, modelRc) << op;
        if (!value) return;
        ASSERT_EQ(type, value->type) << op;
        if (mode != 1) {
            ASSERT_EQ(size, value->data.size()) << op;
        }
        if (realRc == ERROR_SUCCESS && mode == 2) {
            ASSERT_EQ(buffer.substr(0, size), value->data) << op;
        }
    }

    void DeleteValue() {
        const Handle& handle = RandomHandle();
        const std::string name = RandomValueName();
        const std::string op = Where("delete value " + Describe(handle) + " \"" + name + "\"");
        const LONG realRc = RegDeleteValueA(handle.real, name.c_str());
        Ref ref;
        LONG modelRc = Target(handle, KEY_SET_VALUE, ref);
        if (modelRc == ERROR_SUCCESS) {
            ModelValue* value = ref.key ? ref.key->FindValue(name) : nullptr;
            if (value) {
                ref.key->values.erase(ref.key->values.begin() + (value - ref.key->values.data()));
            } else {
                modelRc = ERROR_FILE_NOT_FOUND;
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
    }

    void DeleteKey() {
        const Handle& handle = RandomHandle();
        const Path path = RandomPath(2, true);
        const std::string op = Where("delete key " + Describe(handle) + " \"" + Text(path) + "\"");
        const LONG realRc = RegDeleteKeyA(handle.real, Text(path).c_str());
        Ref base;
        LONG modelRc = Target(handle, 0, base);
        if (modelRc == ERROR_SUCCESS) {
            const std::optional<Ref> target = Open(base, path);
            if (!target || !target->key) {
                modelRc = ERROR_FILE_NOT_FOUND;
            } else if (!target->key->parent || !target->key->children.empty()) {
                modelRc = ERROR_ACCESS_DENIED;
            } else {
                model_.Delete(target->key);
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
    }

    void DeleteTree() {
        const Handle& handle = RandomHandle();
        // A predefined root is never emptied whole: that would leave little to test.
        const Path path = RandomPath(2, !handle.predefined);
        const std::string op = Where("delete tree " + Describe(handle) + " \"" + Text(path) + "\"");
        const LONG realRc =
            RegDeleteTreeA(handle.real, path.empty() ? nullptr : Text(path).c_str());
        Ref base;
        LONG modelRc = ERROR_SUCCESS;
        if (!path.empty()) {
            if ((modelRc = Target(handle, 0, base)) == ERROR_SUCCESS) {
                const std::optional<Ref> target = Open(base, path);
                if (target) {
                    model_.Delete(target->key);
                } else {
                    modelRc = ERROR_FILE_NOT_FOUND;
                }
            }
        } else if ((modelRc = Target(handle, DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE,
                                     base)) == ERROR_SUCCESS &&
                   base.key) {
            if (!(handle.access & KEY_SET_VALUE) && !base.key->values.empty()) {
                modelRc = ERROR_ACCESS_DENIED;
            } else {
                model_.Clear(base.key);
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
    }

    void EnumKey() {
        const Handle& handle = RandomHandle();
        const DWORD index = static_cast<DWORD>(Pick(6));
        const DWORD bufferSize = static_cast<DWORD>(Pick(10));
        const std::string op =
            Where("enum key " + Describe(handle) + " index " + std::to_string(index) + " buffer " +
                  std::to_string(bufferSize));
        char name[16] = {};
        DWORD length = bufferSize;
        const LONG realRc =
            RegEnumKeyExA(handle.real, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        Ref ref;
        LONG modelRc = Target(handle, KEY_ENUMERATE_SUB_KEYS, ref);
        std::string expected;
        if (modelRc == ERROR_SUCCESS) {
            const std::vector<Node*> subkeys = Subkeys(ref);
            if (index >= subkeys.size()) {
                modelRc = ERROR_NO_MORE_ITEMS;
            } else {
                expected = subkeys[index]->name;
                if (bufferSize <= expected.size()) modelRc = ERROR_MORE_DATA;
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
        if (realRc == ERROR_SUCCESS) {
            ASSERT_EQ(std::string(name, length), expected) << op;
        }
    }

    void EnumValue() {
        const Handle& handle = RandomHandle();
        const DWORD index = static_cast<DWORD>(Pick(5));
        const DWORD nameSize = static_cast<DWORD>(Pick(18));
        const DWORD dataSize = static_cast<DWORD>(Pick(12));
        const std::string op = Where(
            "enum value " + Describe(handle) + " index " + std::to_string(index) + " name buffer " +
            std::to_string(nameSize) + " data buffer " + std::to_string(dataSize));
        char name[32] = {};
        std::string data(dataSize + 1, '\x55');
        DWORD nameLength = nameSize;
        DWORD size = dataSize;
        DWORD type = 0;
        const LONG realRc = RegEnumValueA(handle.real, index, name, &nameLength, nullptr, &type,
                                          reinterpret_cast<BYTE*>(data.data()), &size);
        Ref ref;
        LONG modelRc = Target(handle, KEY_QUERY_VALUE, ref);
        const ModelValue* value = nullptr;
        if (modelRc == ERROR_SUCCESS) {
            if (!ref.key || index >= ref.key->values.size()) {
                modelRc = ERROR_NO_MORE_ITEMS;
            } else {
                value = &ref.key->values[index];
                if (nameSize <= value->name.size() || dataSize < value->data.size())
                    modelRc = ERROR_MORE_DATA;
            }
        }
        ASSERT_EQ(realRc, modelRc) << op;
        if (!value || nameSize <= value->name.size()) return;
        ASSERT_EQ(std::string(name, nameLength), value->name) << op;
        ASSERT_EQ(type, value->type) << op;
        ASSERT_EQ(size, value->data.size()) << op;
        if (realRc == ERROR_SUCCESS) {
            ASSERT_EQ(data.substr(0, size), value->data) << op;
        }
    }

    void QueryInfo() {
        const Handle& handle = RandomHandle();
        const std::string op = Where("query info " + Describe(handle));
        DWORD real[5] = {};
        const LONG realRc =
            RegQueryInfoKeyA(handle.real, nullptr, nullptr, nullptr, &real[0], &real[1], nullptr,
                             &real[2], &real[3], &real[4], nullptr, nullptr);
        Ref ref;
        const LONG modelRc = Target(handle, KEY_QUERY_VALUE, ref);
        ASSERT_EQ(realRc, modelRc) << op;
        if (realRc != ERROR_SUCCESS) return;
        DWORD expected[5] = {};
        for (const Node* subkey : Subkeys(ref)) {
            ++expected[0];
            expected[1] = std::max(expected[1], static_cast<DWORD>(subkey->name.size()));
        }
        if (ref.key) {
            for (const ModelValue& value : ref.key->values) {
                ++expected[2];
                expected[3] = std::max(expected[3], static_cast<DWORD>(value.name.size()));
                expected[4] = std::max(expected[4], static_cast<DWORD>(value.data.size()));
            }
        }
        ASSERT_EQ(std::vector<DWORD>(real, real + 5), std::vector<DWORD>(expected, expected + 5))
            << op;
    }

    unsigned seed_;
    std::mt19937 random_;
    int step_ = 0;
    Model model_;
    std::vector<Handle> handles_;
};

class RegistryModelTest : public ::testing::TestWithParam<unsigned> {
protected:
    TempHome home_;
};

TEST_P(RegistryModelTest, RandomCallsAgreeWithTheModel) {
    ModelRun run(GetParam());
    for (int step = 0; step < 1500; ++step) {
        run.Step(step);
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RegistryModelTest, ::testing::Values(1u, 2u, 3u, 4u));

}  // namespace
}  // namespace orvella::testing
