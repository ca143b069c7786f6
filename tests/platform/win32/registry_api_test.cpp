// Behaviour of the Reg* functions as a caller observes it: sizes and buffers, names, access,
// handles, deletion, and the merged HKEY_CLASSES_ROOT view.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "registry_test_util.h"
#include "temp_home.h"
#include "winreg.h"

namespace orvella::testing {
namespace {

class RegistryApiTest : public ::testing::Test {
protected:
    TempHome home_;
};

// The names RegEnumKeyExA (subkeys) or RegEnumValueA (values) lists, in order.
std::vector<std::string> EnumeratedNames(HKEY key, bool subkeys) {
    std::vector<std::string> names;
    char name[256];
    for (DWORD i = 0;; ++i) {
        DWORD length = sizeof name;
        const LONG rc =
            subkeys ? RegEnumKeyExA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr)
                    : RegEnumValueA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (rc != ERROR_SUCCESS) {
            EXPECT_EQ(rc, ERROR_NO_MORE_ITEMS);
            return names;
        }
        names.emplace_back(name, length);
    }
}

std::vector<std::string> SubkeyNames(HKEY key) {
    return EnumeratedNames(key, true);
}
std::vector<std::string> ValueNames(HKEY key) {
    return EnumeratedNames(key, false);
}

TEST_F(RegistryApiTest, ShortBufferReportsRequiredSizeAndType) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", key), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(key.get(), "HomeDir", REG_SZ, Bytes("C:\\Orvella\0")), ERROR_SUCCESS);

    struct Case {
        DWORD buffer;
        LONG result;
        DWORD reportedSize;
    };
    for (const Case& c : {Case{0, ERROR_MORE_DATA, 11}, Case{10, ERROR_MORE_DATA, 11},
                          Case{11, ERROR_SUCCESS, 11}, Case{64, ERROR_SUCCESS, 11}}) {
        SCOPED_TRACE(c.buffer);
        std::string buffer(c.buffer + 1, 'x');
        DWORD size = c.buffer;
        DWORD type = 99;
        EXPECT_EQ(RegQueryValueExA(key.get(), "HomeDir", nullptr, &type,
                                   reinterpret_cast<BYTE*>(buffer.data()), &size),
                  c.result);
        EXPECT_EQ(size, c.reportedSize);
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
        if (c.result == ERROR_SUCCESS) {
            EXPECT_EQ(buffer.substr(0, 11), Bytes("C:\\Orvella\0"));
        }
    }
}

TEST_F(RegistryApiTest, NullBufferAsksForSizeAndType) {
    ASSERT_EQ(SetRaw(HKEY_CURRENT_USER, "Datastore", REG_BINARY, Bytes("\x01\x02\x03\x04\x05")),
              ERROR_SUCCESS);
    DWORD size = 0;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(HKEY_CURRENT_USER, "datastore", nullptr, &type, nullptr, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));

    type = 0;
    EXPECT_EQ(RegQueryValueExA(HKEY_CURRENT_USER, "Datastore", nullptr, &type, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));

    BYTE buffer[8];
    EXPECT_EQ(RegQueryValueExA(HKEY_CURRENT_USER, "Datastore", nullptr, &type, buffer, nullptr),
              ERROR_INVALID_PARAMETER);
    DWORD reserved = 0;
    EXPECT_EQ(RegQueryValueExA(HKEY_CURRENT_USER, "Datastore", &reserved, &type, nullptr, &size),
              ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryApiTest, BadValuesReadBackWithTheirTrueTypeAndSize) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Scoring", key),
              ERROR_SUCCESS);
    struct Case {
        const char* name;
        DWORD type;
        std::string data;
    };
    const Case cases[] = {
        {"StringWhereDword", REG_SZ, Bytes("12\0")},
        {"ThreeByteDword", REG_DWORD, Bytes("\x01\x02\x03")},
        {"EightByteDword", REG_DWORD, Bytes("\x01\0\0\0\0\0\0\0")},
        {"EmptyDword", REG_DWORD, ""},
        {"UnterminatedString", REG_SZ, "abc"},
        {"StrayNulInString", REG_SZ, Bytes("a\0b\0")},
        {"CustomType", 0x12345, Bytes("\xff\0")},
        {"", REG_NONE, ""},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(SetRaw(key.get(), c.name, c.type, c.data), ERROR_SUCCESS) << c.name;
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        // Read the way the add-in reads a DWORD: a 4-byte buffer, then check type and size.
        DWORD number = 0xAAAAAAAA;
        DWORD size = sizeof number;
        DWORD type = 0;
        const LONG rc = RegQueryValueExA(key.get(), c.name, nullptr, &type,
                                         reinterpret_cast<BYTE*>(&number), &size);
        EXPECT_EQ(rc, c.data.size() <= 4 ? ERROR_SUCCESS : ERROR_MORE_DATA);
        EXPECT_EQ(type, c.type);
        EXPECT_EQ(size, c.data.size());
        EXPECT_EQ(GetRaw(key.get(), c.name), (RawValue{c.type, c.data}));
    }
}

TEST_F(RegistryApiTest, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
    ScopedKey created;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\MiXed\\\xC3\x84rger", created),
              ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(created.get(), "RunSetup", REG_DWORD, Bytes("\x01\0\0\0")), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(created.get(), "RUNSETUP", REG_DWORD, Bytes("\x02\0\0\0")), ERROR_SUCCESS);

    ScopedKey opened;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "SOFTWARE\\mixed\\\xC3\xA4RGER", opened), ERROR_SUCCESS);
    EXPECT_EQ(GetRaw(opened.get(), "runsetup"), (RawValue{REG_DWORD, Bytes("\x02\0\0\0")}));
    EXPECT_EQ(ValueNames(opened.get()), std::vector<std::string>{"RunSetup"});

    ScopedKey software;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software", software), ERROR_SUCCESS);
    EXPECT_EQ(SubkeyNames(software.get()), std::vector<std::string>{"MiXed"});
}

TEST_F(RegistryApiTest, SubkeysEnumerateByUpperCaseNameAndValuesInTheOrderFirstSet) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Order", key), ERROR_SUCCESS);
    for (const char* name : {"b", "_x", "A", "c", "Ab"}) {
        ScopedKey subkey;
        ASSERT_EQ(CreateKey(key.get(), name, subkey), ERROR_SUCCESS);
    }
    for (const char* name : {"zeta", "alpha", "mid", "ALPHA"}) {
        ASSERT_EQ(SetRaw(key.get(), name, REG_SZ, Bytes("x\0")), ERROR_SUCCESS);
    }
    ASSERT_EQ(RegDeleteValueA(key.get(), "zeta"), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(key.get(), "zeta", REG_SZ, Bytes("y\0")), ERROR_SUCCESS);

    EXPECT_EQ(SubkeyNames(key.get()), (std::vector<std::string>{"A", "Ab", "b", "c", "_x"}));
    EXPECT_EQ(ValueNames(key.get()), (std::vector<std::string>{"alpha", "mid", "zeta"}));
}

TEST_F(RegistryApiTest, HandleRightsDecideWhichCallsSucceed) {
    ScopedKey sub, rights;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Rights\\Sub", sub), ERROR_SUCCESS);
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Rights", rights), ERROR_SUCCESS);

    struct Case {
        const char* name;
        REGSAM access;
        LONG query, set, deleteValue, enumKeys, enumValues, info, createSubkey;
    };
    constexpr LONG kOk = ERROR_SUCCESS;
    constexpr LONG kDenied = ERROR_ACCESS_DENIED;
    const Case cases[] = {
        {"KEY_READ", KEY_READ, kOk, kDenied, kDenied, kOk, kOk, kOk, kOk},
        {"KEY_WRITE", KEY_WRITE, kDenied, kOk, kOk, kDenied, kDenied, kDenied, kOk},
        {"KEY_QUERY_VALUE", KEY_QUERY_VALUE, kOk, kDenied, kDenied, kDenied, kOk, kOk, kOk},
        {"KEY_SET_VALUE", KEY_SET_VALUE, kDenied, kOk, kOk, kDenied, kDenied, kDenied, kOk},
        {"KEY_ALL_ACCESS", KEY_ALL_ACCESS, kOk, kOk, kOk, kOk, kOk, kOk, kOk},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScopedKey key;
        ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Rights", key, c.access), ERROR_SUCCESS);
        ASSERT_EQ(SetRaw(rights.get(), "v", REG_SZ, Bytes("x\0")), ERROR_SUCCESS);

        EXPECT_EQ(RegQueryValueExA(key.get(), "v", nullptr, nullptr, nullptr, nullptr), c.query);
        EXPECT_EQ(SetRaw(key.get(), "w", REG_SZ, Bytes("y\0")), c.set);
        EXPECT_EQ(RegDeleteValueA(key.get(), "v"), c.deleteValue);
        char name[64];
        DWORD length = sizeof name;
        EXPECT_EQ(RegEnumKeyExA(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
                  c.enumKeys);
        length = sizeof name;
        EXPECT_EQ(RegEnumValueA(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
                  c.enumValues);
        DWORD count = 0;
        EXPECT_EQ(RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr),
                  c.info);
        ScopedKey subkey;
        EXPECT_EQ(CreateKey(key.get(), "Made", subkey, KEY_READ), c.createSubkey);
    }
}

TEST_F(RegistryApiTest, ClosedAndUnknownHandlesAreInvalid) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Closing", 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(SetRaw(key, "v", REG_SZ, Bytes("x\0")), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);

    HKEY made_up = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x1234));
    EXPECT_EQ(RegQueryValueExA(made_up, "v", nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(HKEY_CLASSES_ROOT), ERROR_SUCCESS);
}

TEST_F(RegistryApiTest, HandleOfADeletedKeyReportsKeyDeleted) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Gone\\Child", key), ERROR_SUCCESS);
    ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Gone"), ERROR_SUCCESS);
    ScopedKey again;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Gone\\Child", again), ERROR_SUCCESS);

    char name[16];
    DWORD length = sizeof name;
    ScopedKey subkey;
    EXPECT_EQ(SetRaw(key.get(), "v", REG_SZ, Bytes("x\0")), ERROR_KEY_DELETED);
    EXPECT_EQ(RegQueryValueExA(key.get(), "v", nullptr, nullptr, nullptr, nullptr),
              ERROR_KEY_DELETED);
    EXPECT_EQ(RegEnumKeyExA(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_KEY_DELETED);
    EXPECT_EQ(CreateKey(key.get(), "Sub", subkey), ERROR_KEY_DELETED);
    EXPECT_EQ(GetRaw(again.get(), "v"), std::nullopt);
}

TEST_F(RegistryApiTest, DeleteKeyRefusesKeysWithSubkeysAndRoots) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Parent\\Child", key), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Parent"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, ""), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "software\\parent\\CHILD"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Parent"), ERROR_SUCCESS);
    ScopedKey gone;
    EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Parent", gone), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryApiTest, DeleteTreeRemovesEverythingBelowAndKeepsTheKeyWithoutSubkey) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Tree", key), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(key.get(), "top", REG_SZ, Bytes("t\0")), ERROR_SUCCESS);
    for (const char* path : {"a\\b\\c", "a\\d", "e"}) {
        ScopedKey subkey;
        ASSERT_EQ(CreateKey(key.get(), path, subkey), ERROR_SUCCESS);
        ASSERT_EQ(SetRaw(subkey.get(), "v", REG_SZ, Bytes("v\0")), ERROR_SUCCESS);
    }
    EXPECT_EQ(RegDeleteTreeA(key.get(), "a"), ERROR_SUCCESS);
    EXPECT_EQ(SubkeyNames(key.get()), std::vector<std::string>{"e"});
    EXPECT_EQ(RegDeleteTreeA(key.get(), "a"), ERROR_FILE_NOT_FOUND);

    ScopedKey reader;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Tree", reader, KEY_READ), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteTreeA(reader.get(), nullptr), ERROR_ACCESS_DENIED);

    EXPECT_EQ(RegDeleteTreeA(key.get(), nullptr), ERROR_SUCCESS);
    EXPECT_EQ(SubkeyNames(key.get()), std::vector<std::string>{});
    EXPECT_EQ(ValueNames(key.get()), std::vector<std::string>{});
    ScopedKey still;
    EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Tree", still), ERROR_SUCCESS);
}

TEST_F(RegistryApiTest, CreateReportsWhetherTheKeyIsNew) {
    for (const DWORD expected : {REG_CREATED_NEW_KEY, REG_OPENED_EXISTING_KEY}) {
        HKEY key = nullptr;
        DWORD disposition = 0;
        ASSERT_EQ(
            RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Fresh", 0, nullptr,
                            REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, &disposition),
            ERROR_SUCCESS);
        EXPECT_EQ(disposition, expected);
        RegCloseKey(key);
    }
}

TEST_F(RegistryApiTest, MalformedPathsAreRefused) {
    struct Case {
        std::string path;
        LONG result;
    };
    const Case cases[] = {
        {"\\Software", ERROR_INVALID_PARAMETER},
        {"Software\\\\Orvella", ERROR_INVALID_PARAMETER},
        {"Software\\" + std::string(256, 'n'), ERROR_INVALID_PARAMETER},
        {"Software\\" + std::string(255, 'n'), ERROR_SUCCESS},
        {"Line\nBreak", ERROR_INVALID_PARAMETER},
        {"Software\\Trailing\\", ERROR_SUCCESS},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        ScopedKey key;
        EXPECT_EQ(CreateKey(HKEY_CURRENT_USER, c.path.c_str(), key), c.result);
    }
    ScopedKey trailing;
    EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Trailing", trailing), ERROR_SUCCESS);
}

TEST_F(RegistryApiTest, EnumerationReportsShortBuffers) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Enum\\Child", key), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(key.get(), "Value", REG_BINARY, Bytes("\x01\x02\x03")), ERROR_SUCCESS);

    char name[16] = {};
    DWORD length = 0;
    ScopedKey parent;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Enum", parent), ERROR_SUCCESS);
    length = 5;
    EXPECT_EQ(RegEnumKeyExA(parent.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_MORE_DATA);
    EXPECT_EQ(length, 5u);
    length = 6;
    EXPECT_EQ(RegEnumKeyExA(parent.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(length, 5u);
    EXPECT_STREQ(name, "Child");
    EXPECT_EQ(RegEnumKeyExA(parent.get(), 1, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);

    BYTE data[2];
    DWORD size = sizeof data;
    DWORD type = 0;
    length = sizeof name;
    EXPECT_EQ(RegEnumValueA(key.get(), 0, name, &length, nullptr, &type, data, &size),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
    EXPECT_STREQ(name, "Value");
    length = 5;
    EXPECT_EQ(RegEnumValueA(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_MORE_DATA);
    EXPECT_EQ(RegEnumValueA(key.get(), 1, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryApiTest, QueryInfoReportsCountsAndLongestNames) {
    ScopedKey key;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Info", key), ERROR_SUCCESS);
    for (const char* path : {"ab", "abcd"}) {
        ScopedKey subkey;
        ASSERT_EQ(CreateKey(key.get(), path, subkey), ERROR_SUCCESS);
    }
    ASSERT_EQ(SetRaw(key.get(), "n", REG_BINARY, Bytes("1234567")), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(key.get(), "name", REG_SZ, Bytes("x\0")), ERROR_SUCCESS);
    DWORD subkeys = 0, maxSubkey = 0, maxClass = 9, values = 0, maxName = 0, maxData = 0;
    char className[4] = "zz";
    DWORD classLength = sizeof className;
    ASSERT_EQ(RegQueryInfoKeyA(key.get(), className, &classLength, nullptr, &subkeys, &maxSubkey,
                               &maxClass, &values, &maxName, &maxData, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(
        (std::vector<DWORD>{subkeys, maxSubkey, maxClass, values, maxName, maxData, classLength}),
        (std::vector<DWORD>{2, 4, 0, 2, 4, 7, 0}));
    EXPECT_STREQ(className, "");
}

TEST_F(RegistryApiTest, ClassesRootReadsTheUserKeyFirst) {
    ScopedKey machine, user, both_machine;
    ASSERT_EQ(CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\.both", both_machine),
              ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(both_machine.get(), nullptr, REG_SZ, Bytes("machine\0")), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(both_machine.get(), "MachineOnly", REG_SZ, Bytes("m\0")), ERROR_SUCCESS);
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Classes\\.BOTH", user), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(user.get(), nullptr, REG_SZ, Bytes("user\0")), ERROR_SUCCESS);
    ASSERT_EQ(CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\.machine", machine), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(machine.get(), nullptr, REG_SZ, Bytes("machine\0")), ERROR_SUCCESS);

    struct Case {
        const char* path;
        std::optional<RawValue> defaultValue;
    };
    const Case cases[] = {
        {".both", RawValue{REG_SZ, Bytes("user\0")}},
        {".machine", RawValue{REG_SZ, Bytes("machine\0")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        ScopedKey key;
        ASSERT_EQ(OpenKey(HKEY_CLASSES_ROOT, c.path, key, KEY_READ), ERROR_SUCCESS);
        EXPECT_EQ(GetRaw(key.get(), nullptr), c.defaultValue);
    }
    ScopedKey both;
    ASSERT_EQ(OpenKey(HKEY_CLASSES_ROOT, ".both", both), ERROR_SUCCESS);
    EXPECT_EQ(ValueNames(both.get()), std::vector<std::string>{""});
    ScopedKey missing;
    EXPECT_EQ(OpenKey(HKEY_CLASSES_ROOT, ".none", missing), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryApiTest, ClassesRootWritesToTheExistingKeyElseTheMachine) {
    ScopedKey user;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Classes\\UserOnly", user), ERROR_SUCCESS);
    for (const char* path : {"UserOnly", "Brand\\New"}) {
        ScopedKey key;
        ASSERT_EQ(CreateKey(HKEY_CLASSES_ROOT, path, key), ERROR_SUCCESS) << path;
        ASSERT_EQ(SetRaw(key.get(), "v", REG_SZ, Bytes("w\0")), ERROR_SUCCESS) << path;
    }
    struct Case {
        HKEY root;
        const char* path;
        bool hasValue;
    };
    const Case cases[] = {
        {HKEY_CURRENT_USER, "Software\\Classes\\UserOnly", true},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\UserOnly", false},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\Brand\\New", true},
        {HKEY_CURRENT_USER, "Software\\Classes\\Brand", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        ScopedKey key;
        const LONG opened = OpenKey(c.root, c.path, key);
        EXPECT_EQ(opened == ERROR_SUCCESS && GetRaw(key.get(), "v").has_value(), c.hasValue);
    }
    EXPECT_EQ(SetRaw(HKEY_CLASSES_ROOT, "OnRoot", REG_SZ, Bytes("r\0")), ERROR_SUCCESS);
    ScopedKey userClasses;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Classes", userClasses), ERROR_SUCCESS);
    EXPECT_EQ(GetRaw(userClasses.get(), "OnRoot"), (RawValue{REG_SZ, Bytes("r\0")}));
}

TEST_F(RegistryApiTest, ClassesRootEnumeratesUserSubkeysThenTheMachinesOthers) {
    for (const char* path :
         {"SOFTWARE\\Classes\\a", "SOFTWARE\\Classes\\B", "SOFTWARE\\Classes\\d"}) {
        ScopedKey key;
        ASSERT_EQ(CreateKey(HKEY_LOCAL_MACHINE, path, key), ERROR_SUCCESS);
    }
    for (const char* path : {"Software\\Classes\\b", "Software\\Classes\\C"}) {
        ScopedKey key;
        ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, path, key), ERROR_SUCCESS);
    }
    EXPECT_EQ(SubkeyNames(HKEY_CLASSES_ROOT), (std::vector<std::string>{"b", "C", "a", "d"}));
    DWORD subkeys = 0;
    ASSERT_EQ(RegQueryInfoKeyA(HKEY_CLASSES_ROOT, nullptr, nullptr, nullptr, &subkeys, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 4u);
}

TEST_F(RegistryApiTest, HandlesAreSharedSafelyBetweenThreads) {
    ScopedKey shared;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Threads", shared), ERROR_SUCCESS);
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) {
                const std::string name = "t" + std::to_string(t) + "_" + std::to_string(i);
                ScopedKey own;
                if (OpenKey(HKEY_CURRENT_USER, "Software\\Threads", own) != ERROR_SUCCESS)
                    ++failures[t];
                HKEY target = i % 2 ? shared.get() : own.get();
                if (SetRaw(target, name.c_str(), REG_SZ, name + '\0') != ERROR_SUCCESS)
                    ++failures[t];
                if (GetRaw(shared.get(), name.c_str()) != RawValue{REG_SZ, name + '\0'})
                    ++failures[t];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(ValueNames(shared.get()).size(), 100u);
}

TEST_F(RegistryApiTest, APredefinedRootFollowsTheHomeWhileAHandleKeepsItsOwn) {
    ScopedKey first;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Home", first), ERROR_SUCCESS);
    ASSERT_EQ(SetRaw(first.get(), "where", REG_SZ, Bytes("first\0")), ERROR_SUCCESS);
    {
        TempHome second;
        ScopedKey fresh;
        EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Home", fresh), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(GetRaw(first.get(), "where"), (RawValue{REG_SZ, Bytes("first\0")}));
    }
}

}  // namespace
}  // namespace orvella::testing
