// The registry database as a file shared between processes: concurrent writers lose nothing, and
// a damaged or cut-short database is reported, naming the file, and never written to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "reg_file.h"
#include "registry_test_util.h"
#include "temp_home.h"
#include "winreg.h"

extern char** environ;

namespace orvella::testing {
namespace {

using platform::DescribeRegistryError;
using platform::ExportRegistry;
using platform::ImportRegistry;
using platform::RegistryError;
using ::testing::HasSubstr;

// Starts the helper process on the current home (it inherits $ORVELLA_HOME).
pid_t StartChild(const std::string& key, const std::string& prefix, int count) {
    std::vector<std::string> args{ORVELLA_REGISTRY_CHILD, key, prefix, std::to_string(count)};
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, ORVELLA_REGISTRY_CHILD, nullptr, nullptr, argv.data(), environ) != 0)
        return -1;
    return pid;
}

int WaitForChild(pid_t pid) {
    int status = 0;
    if (pid <= 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

class RegistryDurabilityTest : public ::testing::Test {
protected:
    TempHome home_;
};

TEST_F(RegistryDurabilityTest, TwoProcessesWritingTheSameKeyLoseNoWrite) {
    constexpr int kEach = 150;
    const pid_t child = StartChild("Software\\Shared", "child", kEach);
    ASSERT_GT(child, 0);
    // Start once the child is writing, so that the two really overlap.
    for (int wait = 0; wait < 10000; ++wait) {
        ScopedKey key;
        if (OpenKey(HKEY_CURRENT_USER, "Software\\Shared", key) == ERROR_SUCCESS &&
            GetRaw(key.get(), "child_0")) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    int failures = 0;
    for (int i = 0; i < kEach; ++i) {
        const std::string name = "parent_" + std::to_string(i);
        ScopedKey key, subkey;
        if (CreateKey(HKEY_CURRENT_USER, "Software\\Shared", key) != ERROR_SUCCESS ||
            SetRaw(key.get(), name.c_str(), REG_SZ, name + '\0') != ERROR_SUCCESS ||
            CreateKey(key.get(), name.c_str(), subkey, KEY_READ) != ERROR_SUCCESS) {
            ++failures;
        }
    }
    EXPECT_EQ(failures, 0);
    ASSERT_EQ(WaitForChild(child), 0);

    ScopedKey key;
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, "Software\\Shared", key), ERROR_SUCCESS);
    DWORD subkeys = 0, values = 0;
    ASSERT_EQ(RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr,
                               &values, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 300u);
    EXPECT_EQ(values, 300u);
    for (const char* prefix : {"child_", "parent_"}) {
        for (int i = 0; i < kEach; ++i) {
            const std::string name = prefix + std::to_string(i);
            EXPECT_EQ(GetRaw(key.get(), name.c_str()), (RawValue{REG_SZ, name + '\0'}));
        }
    }
}

TEST_F(RegistryDurabilityTest, DamagedDatabaseIsReportedAndNeverWritten) {
    // A real registry, written and closed by another process, then damaged in several ways.
    ASSERT_EQ(WaitForChild(StartChild("Software\\Fill", "fill", 60)), 0);
    const std::string intact = ReadFile(home_.path() / "registry.db");
    ASSERT_GT(intact.size(), 16384u);
    std::string garbled = intact;
    std::fill(garbled.begin() + 4096, garbled.begin() + 12288, '\xAB');
    struct Case {
        const char* damage;
        std::string bytes;
    };
    const Case cases[] = {
        {"text in place of a database", "this is not a registry database\n"},
        {"cut to its header", intact.substr(0, 100)},
        {"cut to its first page", intact.substr(0, 4096)},
        {"cut in half", intact.substr(0, intact.size() / 2)},
        {"pages overwritten", garbled},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.damage);
        TempHome home;
        const std::filesystem::path database = home.path() / "registry.db";
        WriteFile(database, c.bytes);
        WriteFile(home.path() / "in.reg", "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\New]\n");

        ScopedKey key;
        EXPECT_EQ(CreateKey(HKEY_CURRENT_USER, "Software\\New", key), ERROR_BADDB);
        EXPECT_THAT(DescribeRegistryError(ERROR_BADDB),
                    HasSubstr("the registry database " + database.string()));
        EXPECT_EQ(SetRaw(HKEY_CURRENT_USER, "v", REG_SZ, Bytes("x\0")), ERROR_BADDB);
        EXPECT_EQ(RegQueryValueExA(HKEY_CLASSES_ROOT, "v", nullptr, nullptr, nullptr, nullptr),
                  ERROR_BADDB);
        for (const bool exporting : {true, false}) {
            try {
                exporting ? ExportRegistry(home.path() / "out.reg")
                          : ImportRegistry(home.path() / "in.reg");
                ADD_FAILURE() << (exporting ? "exported" : "imported");
            } catch (const RegistryError& e) {
                EXPECT_EQ(e.code(), ERROR_BADDB);
                EXPECT_THAT(e.what(), HasSubstr(database.string()));
            }
        }
        EXPECT_EQ(ReadFile(database), c.bytes);
    }
}

}  // namespace
}  // namespace orvella::testing
