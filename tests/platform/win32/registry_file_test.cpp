// .reg export and import: byte-exact round trips, files as regedit writes them, our own export
// against a literal expected file, and malformed or cut-short files that must change nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "reg_file.h"
#include "registry_test_util.h"
#include "temp_home.h"
#include "winreg.h"

namespace orvella::testing {
namespace {

using platform::DescribeRegistryError;
using platform::ExportRegistry;
using platform::ImportRegistry;
using platform::RegistryError;
using ::testing::HasSubstr;

// UTF-16LE bytes of a UTF-16 literal, as regedit stores its files.
std::string LittleEndian(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

// Every key below `path` (inclusive) with its values, as the API enumerates them.
using Snapshot = std::map<std::string, std::vector<std::pair<std::string, RawValue>>>;

void TakeSnapshot(HKEY key, const std::string& path, Snapshot& snapshot) {
    auto& values = snapshot[path];
    char name[512];
    std::string data(4096, '\0');
    for (DWORD i = 0;; ++i) {
        DWORD length = sizeof name;
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        const LONG rc = RegEnumValueA(key, i, name, &length, nullptr, &type,
                                      reinterpret_cast<BYTE*>(data.data()), &size);
        if (rc == ERROR_NO_MORE_ITEMS) break;
        ASSERT_EQ(rc, ERROR_SUCCESS) << path;
        values.emplace_back(std::string(name, length), RawValue{type, data.substr(0, size)});
    }
    for (DWORD i = 0;; ++i) {
        DWORD length = sizeof name;
        const LONG rc = RegEnumKeyExA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (rc == ERROR_NO_MORE_ITEMS) break;
        ASSERT_EQ(rc, ERROR_SUCCESS) << path;
        const std::string subkeyName(name, length);
        ScopedKey subkey;
        ASSERT_EQ(OpenKey(key, subkeyName.c_str(), subkey), ERROR_SUCCESS);
        TakeSnapshot(subkey.get(), path + "\\" + subkeyName, snapshot);
    }
}

Snapshot WholeRegistry() {
    Snapshot snapshot;
    TakeSnapshot(HKEY_CURRENT_USER, "HKEY_CURRENT_USER", snapshot);
    TakeSnapshot(HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE", snapshot);
    return snapshot;
}

class RegistryFileTest : public ::testing::Test {
protected:
    void Set(HKEY root, const std::string& path, const char* name, DWORD type,
             std::string_view data) {
        ScopedKey key;
        ASSERT_EQ(CreateKey(root, path.c_str(), key), ERROR_SUCCESS) << path;
        ASSERT_EQ(SetRaw(key.get(), name, type, data), ERROR_SUCCESS) << path << " " << name;
    }

    std::optional<RawValue> Get(HKEY root, const char* path, const char* name) {
        ScopedKey key;
        if (OpenKey(root, path, key) != ERROR_SUCCESS) return std::nullopt;
        return GetRaw(key.get(), name);
    }

    TempHome home_;
};

TEST_F(RegistryFileTest, ExportThenImportRestoresEveryValueByteForByte) {
    const std::string deep = [] {
        std::string path = "Software\\Deep";
        for (int i = 0; i < 40; ++i) path += "\\Level" + std::to_string(i);
        return path;
    }();
    struct Case {
        HKEY root;
        std::string key;
        const char* name;
        DWORD type;
        std::string data;
    };
    const Case cases[] = {
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "RunSetup", REG_DWORD,
         Bytes("\x01\0\0\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "OddDword", REG_DWORD,
         Bytes("\x01\x02\x03")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "LongDword", REG_DWORD,
         Bytes("\x01\x02\x03\x04\x05")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "EmptyDword", REG_DWORD, ""},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "BigEndian", REG_DWORD_BIG_ENDIAN,
         Bytes("\0\0\0\x01")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Quota", REG_QWORD,
         Bytes("\0\x10\0\0\0\0\0\x80")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "", REG_SZ, Bytes("default\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Text", REG_SZ,
         Bytes("caf\xC3\xA9 \"quoted\" C:\\dir\\\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "EmptyString", REG_SZ, Bytes("\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "NoBytes", REG_SZ, ""},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Unterminated", REG_SZ, "abc"},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "InnerNul", REG_SZ, Bytes("a\0b\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Lines", REG_SZ, Bytes("one\r\ntwo\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "NotUtf8", REG_SZ,
         Bytes("\xFF\xC3(\xED\xB2\x80\xF4\x90\x80\x80\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Expand", REG_EXPAND_SZ,
         Bytes("%HOME%\\x\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "OddExpand", REG_EXPAND_SZ,
         Bytes("ab\xC3")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Multi", REG_MULTI_SZ,
         Bytes("a.com\0\xE2\x82\xAC\0\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "EmptyMulti", REG_MULTI_SZ, ""},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Binary", REG_BINARY,
         std::string(300, '\x5A') + Bytes("\0\xFF")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "EmptyBinary", REG_BINARY, ""},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "None", REG_NONE, Bytes("\x01\0")},
        {HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", "Custom", 0xABCDE, Bytes("xyz")},
        {HKEY_CURRENT_USER, "Software\\Names", "quote\"back\\slash", REG_SZ, Bytes("1\0")},
        {HKEY_CURRENT_USER, "Software\\Names", "line\nbreak\rname", REG_SZ, Bytes("2\0")},
        {HKEY_CURRENT_USER, "Software\\Names", "bad\xFFname", REG_SZ, Bytes("3\0")},
        {HKEY_CURRENT_USER, "Software\\Names", "@", REG_SZ, Bytes("at sign\0")},
        {HKEY_CURRENT_USER, "Software\\Key [with] \"odd\" \xFE name", "v", REG_SZ, Bytes("4\0")},
        {HKEY_CURRENT_USER, deep, "depth", REG_DWORD, Bytes("\x28\0\0\0")},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\.orv", "", REG_SZ, Bytes("Orvella.File\0")},
    };
    for (const Case& c : cases) Set(c.root, c.key, c.name, c.type, c.data);
    ScopedKey empty;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\Empty\\Key", empty), ERROR_SUCCESS);

    const Snapshot before = WholeRegistry();
    const std::filesystem::path exported = home_.path() / "all.reg";
    ExportRegistry(exported);
    {
        TempHome other;
        ImportRegistry(exported);
        EXPECT_EQ(WholeRegistry(), before);
        for (const Case& c : cases) {
            EXPECT_EQ(Get(c.root, c.key.c_str(), c.name), (RawValue{c.type, c.data})) << c.name;
        }
        ExportRegistry(other.path() / "again.reg");
        EXPECT_EQ(ReadFile(other.path() / "again.reg"), ReadFile(exported));
    }
}

TEST_F(RegistryFileTest, ExportMatchesTheFileRegeditWrites) {
    const std::string key = "Software\\Golden";
    Set(HKEY_CURRENT_USER, key, "RunSetup", REG_DWORD, Bytes("\x01\0\0\0"));
    Set(HKEY_CURRENT_USER, key, "HomeDir", REG_SZ, Bytes("C:\\Program Files\\Orvella\0"));
    Set(HKEY_CURRENT_USER, key, nullptr, REG_SZ, Bytes("Vintor\0"));
    Set(HKEY_CURRENT_USER, key, "Odd", REG_DWORD, Bytes("\x01\x02\x03"));
    Set(HKEY_CURRENT_USER, key, "NotUtf8", REG_SZ, Bytes("\xFF\0"));
    Set(HKEY_CURRENT_USER, key, "Path", REG_EXPAND_SZ, Bytes("%A%\0"));
    Set(HKEY_CURRENT_USER, key, "Domains", REG_MULTI_SZ, Bytes("a\0b\0\0"));
    Set(HKEY_CURRENT_USER, key, "Big", REG_QWORD, Bytes("\x01\0\0\0\0\0\0\0"));
    Set(HKEY_CURRENT_USER, key, "Bin", REG_BINARY,
        Bytes("\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f"
              "\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f"
              "\x20\x21\x22\x23\x24\x25\x26\x27\x28\x29\x2a\x2b\x2c\x2d\x2e\x2f"
              "\x30\x31\x32\x33\x34\x35\x36\x37\x38\x39\x3a\x3b\x3c\x3d\x3e\x3f"));
    Set(HKEY_CURRENT_USER, key + "\\Sub", "say \"hi\" \\o/", REG_SZ, Bytes("caf\xC3\xA9\0"));

    const std::filesystem::path file = home_.path() / "golden.reg";
    ExportRegistry(file, "hkcu\\software\\golden");
    const std::u16string expected =
        u"\uFEFFWindows Registry Editor Version 5.00\r\n"
        u"\r\n"
        u"[HKEY_CURRENT_USER\\Software\\Golden]\r\n"
        u"\"RunSetup\"=dword:00000001\r\n"
        u"\"HomeDir\"=\"C:\\\\Program Files\\\\Orvella\"\r\n"
        u"@=\"Vintor\"\r\n"
        u"\"Odd\"=hex(4):01,02,03\r\n"
        u"\"NotUtf8\"=hex(1):ff,dc,00,00\r\n"
        u"\"Path\"=hex(2):25,00,41,00,25,00,00,00\r\n"
        u"\"Domains\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
        u"\"Big\"=hex(b):01,00,00,00,00,00,00,00\r\n"
        u"\"Bin\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
        u"  16,17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27,28,29,2a,2b,2c,2d,2e,\\\r\n"
        u"  2f,30,31,32,33,34,35,36,37,38,39,3a,3b,3c,3d,3e,3f\r\n"
        u"\r\n"
        u"[HKEY_CURRENT_USER\\Software\\Golden\\Sub]\r\n"
        u"\"say \\\"hi\\\" \\\\o/\"=\"caf\u00e9\"\r\n"
        u"\r\n";
    EXPECT_EQ(ReadFile(file), LittleEndian(expected));
}

// The same registry file in each encoding regedit and editors produce.
const char16_t kRegeditFile[] =
    u"Windows Registry Editor Version 5.00\r\n"
    u"\r\n"
    u"; written by hand after a regedit export\r\n"
    u"[HKEY_CURRENT_USER\\Software\\Orvella\\Vintor]\r\n"
    u"\"RunSetup\"=dword:00000001\r\n"
    u"\"HomeDir\"=\"C:\\\\Program Files\\\\Orvella\"\r\n"
    u"@=\"Vintor\"\r\n"
    u"\"Datastore\"=hex:00,00,00,00,38,a1,bb,10,05,e5,10,1a,a1,bb,08,00,2b,2a,56,c2,00,\\\r\n"
    u"  00,6d,73,70,73,74,2e,64,6c,6c,00\r\n"
    u"\"Path\"=hex(2):25,00,55,00,53,00,45,00,52,00,50,00,52,00,4f,00,46,00,49,00,4c,\\\r\n"
    u"  00,45,00,25,00,00,00\r\n"
    u"\"FriendlyDomains\"=hex(7):61,00,2e,00,63,00,6f,00,6d,00,00,00,62,00,2e,00,6f,\\\r\n"
    u"  00,72,00,67,00,00,00,00,00\r\n"
    u"\"Quota\"=hex(b):00,10,00,00,00,00,00,00\r\n"
    u"\"Caf\u00e9\"=\"na\u00efve \u20ac\"\r\n"
    u"\r\n"
    u"[HKEY_CURRENT_USER\\Software\\Orvella\\Vintor\\Scoring]\r\n"
    u"\"DebugScoring\"=dword:FFFFFFFF\r\n"
    u"\r\n"
    u"[-HKEY_CURRENT_USER\\Software\\Orvella\\Old]\r\n"
    u"\r\n"
    u"[HKEY_CURRENT_USER\\Software\\Orvella\\Vintor\\Setup]\r\n"
    u"\"Gone\"=-\r\n"
    u"\r\n"
    u"[HKEY_CLASSES_ROOT\\.orv]\r\n"
    u"@=\"Orvella.File\"\r\n"
    u"\r\n";

std::string Utf8(std::u16string_view text) {
    std::string out;
    for (const char16_t unit : text) {
        if (unit < 0x80) {
            out += static_cast<char>(unit);
        } else if (unit < 0x800) {
            out += static_cast<char>(0xC0 | (unit >> 6));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (unit >> 12));
            out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
    return out;
}

TEST_F(RegistryFileTest, RegeditFilesImportInEveryEncoding) {
    struct Case {
        const char* encoding;
        std::string bytes;
    };
    const Case cases[] = {
        {"UTF-16LE with BOM", LittleEndian(u"\uFEFF") + LittleEndian(kRegeditFile)},
        {"UTF-8 with BOM", "\xEF\xBB\xBF" + Utf8(kRegeditFile)},
        {"UTF-8", Utf8(kRegeditFile)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.encoding);
        TempHome home;
        Set(HKEY_CURRENT_USER, "Software\\Orvella\\Old\\Deeper", "x", REG_SZ, Bytes("x\0"));
        Set(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Setup", "Gone", REG_SZ, Bytes("x\0"));
        Set(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Setup", "Kept", REG_SZ, Bytes("k\0"));
        WriteFile(home.path() / "in.reg", c.bytes);
        ImportRegistry(home.path() / "in.reg");

        const char* vintor = "Software\\Orvella\\Vintor";
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "RunSetup"),
                  (RawValue{REG_DWORD, Bytes("\x01\0\0\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "HomeDir"),
                  (RawValue{REG_SZ, Bytes("C:\\Program Files\\Orvella\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, ""), (RawValue{REG_SZ, Bytes("Vintor\0")}));
        EXPECT_EQ(
            Get(HKEY_CURRENT_USER, vintor, "Datastore"),
            (RawValue{REG_BINARY, Bytes("\0\0\0\0\x38\xa1\xbb\x10\x05\xe5\x10\x1a\xa1\xbb\x08\0"
                                        "\x2b\x2a\x56\xc2\0\0mspst.dll\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "Path"),
                  (RawValue{REG_EXPAND_SZ, Bytes("%USERPROFILE%\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "FriendlyDomains"),
                  (RawValue{REG_MULTI_SZ, Bytes("a.com\0b.org\0\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "Quota"),
                  (RawValue{REG_QWORD, Bytes("\0\x10\0\0\0\0\0\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, vintor, "Caf\xC3\xA9"),
                  (RawValue{REG_SZ, Bytes("na\xC3\xAFve \xE2\x82\xAC\0")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Scoring", "DebugScoring"),
                  (RawValue{REG_DWORD, Bytes("\xFF\xFF\xFF\xFF")}));
        EXPECT_EQ(Get(HKEY_CURRENT_USER, "Software\\Orvella\\Old", "x"), std::nullopt);
        EXPECT_EQ(Get(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Setup", "Gone"), std::nullopt);
        EXPECT_EQ(Get(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\Setup", "Kept"),
                  (RawValue{REG_SZ, Bytes("k\0")}));
        EXPECT_EQ(Get(HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\.orv", ""),
                  (RawValue{REG_SZ, Bytes("Orvella.File\0")}));
    }
}

TEST_F(RegistryFileTest, Version4FilesKeepTheirTextAsEightBitBytes) {
    WriteFile(home_.path() / "old.reg",
              "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Old]\n\"Path\"=hex(2):25,41,25,00\n");
    ImportRegistry(home_.path() / "old.reg");
    EXPECT_EQ(Get(HKEY_LOCAL_MACHINE, "SOFTWARE\\Old", "Path"),
              (RawValue{REG_EXPAND_SZ, Bytes("%A%\0")}));
}

TEST_F(RegistryFileTest, MalformedOrTruncatedFilesAreRefusedWithTheLineAndChangeNothing) {
    Set(HKEY_CURRENT_USER, "Software\\Kept", "v", REG_SZ, Bytes("before\0"));
    const std::string start =
        "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\New]\r\n"
        "\"made\"=dword:00000001\r\n[HKEY_CURRENT_USER\\Software\\Kept]\r\n\"v\"=\"after\"\r\n";
    struct Case {
        std::string text;
        std::string error;
    };
    const Case cases[] = {
        {"REGEDIT5\r\n[HKEY_CURRENT_USER\\Software\\New]\r\n",
         ":1: not a registry file: the first line must be \"Windows Registry Editor Version 5.00\" "
         "or "
         "\"REGEDIT4\""},
        {start + "\"cut\"=hex:01,02,\\\r\n  03,\\\r\n",
         ":8: the file ends inside hex data continued with \\"},
        {start + "\"cut\"=\"no end", ":7: the string has no closing quote"},
        {start + "\"big\"=dword:123456789\r\n", ":7: dword: needs 1 to 8 hex digits"},
        {start + "\"bad\"=hex:1,02\r\n", ":7: expected hex bytes written as two digits each"},
        {start + "\"odd\"=hex(2):41,00,42\r\n",
         ":7: the UTF-16 text of a hex(2) value has an odd number of bytes"},
        {start + "\"path\"=\"C:\\temp\"\r\n", ":7: unknown escape \\t in a string"},
        {start + "\"what\"=float:1.5\r\n", ":7: unrecognised data"},
        {start + "\"novalue\"\r\n", ":7: expected = after the value name"},
        {start + "[HKEY_NOWHERE\\Software]\r\n",
         ":7: unknown registry root in \"HKEY_NOWHERE\\Software\""},
        {start + "[HKEY_CURRENT_USER\\Software\r\n", ":7: the key line has no closing ]"},
        {start + "[HKEY_CURRENT_USER\\Software\\\\Twice]\r\n", ":7: malformed key path"},
        {start + "[-HKEY_CURRENT_USER]\r\n", ":7: a root key cannot be deleted"},
        {start + "[-HKEY_CURRENT_USER\\Software\\New]\r\n\"orphan\"=\"x\"\r\n",
         ":8: a value line must follow a [KEY] line"},
        {start + "stray text\r\n", ":7: unexpected text"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const std::filesystem::path file = home_.path() / "bad.reg";
        WriteFile(file, c.text);
        try {
            ImportRegistry(file);
            ADD_FAILURE() << "imported a malformed file";
        } catch (const RegistryError& e) {
            EXPECT_EQ(e.code(), ERROR_INVALID_DATA);
            EXPECT_THAT(e.what(), HasSubstr(file.string() + c.error));
        }
        EXPECT_EQ(Get(HKEY_CURRENT_USER, "Software\\Kept", "v"),
                  (RawValue{REG_SZ, Bytes("before\0")}));
        ScopedKey created;
        EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\New", created), ERROR_FILE_NOT_FOUND);
    }
}

TEST_F(RegistryFileTest, CutShortUtf16FileIsRefused) {
    const std::string whole = LittleEndian(u"\uFEFF") + LittleEndian(kRegeditFile);
    const std::filesystem::path file = home_.path() / "cut.reg";
    WriteFile(file, whole.substr(0, 301));
    try {
        ImportRegistry(file);
        ADD_FAILURE() << "imported half a character";
    } catch (const RegistryError& e) {
        EXPECT_THAT(e.what(),
                    HasSubstr(file.string() + ":5: the UTF-16 text ends in half a character"));
    }
    ScopedKey key;
    EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Orvella", key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryFileTest, ExportOfAMissingKeyOrUnknownRootFails) {
    struct Case {
        const char* key;
        LONG code;
        const char* message;
    };
    const Case cases[] = {
        {"HKCU\\Software\\Nothing", ERROR_FILE_NOT_FOUND,
         "the key HKEY_CURRENT_USER\\Software\\Nothing does not exist"},
        {"HKEY_USERS\\x", ERROR_INVALID_PARAMETER, "unknown registry root in \"HKEY_USERS\\x\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        try {
            ExportRegistry(home_.path() / "x.reg", c.key);
            ADD_FAILURE() << "exported";
        } catch (const RegistryError& e) {
            EXPECT_EQ(e.code(), c.code);
            EXPECT_THAT(e.what(), HasSubstr(c.message));
        }
        EXPECT_FALSE(std::filesystem::exists(home_.path() / "x.reg"));
    }
}

}  // namespace
}  // namespace orvella::testing
