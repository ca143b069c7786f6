// A second process for the registry tests: writes values and subkeys into one key of the home
// named by $ORVELLA_HOME, each through its own handle and call, as another program would.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "winreg.h"

// registry_child KEY PREFIX COUNT: under HKEY_CURRENT_USER\KEY, values PREFIX_i = "PREFIX_i" and
// subkeys PREFIX_i for i in [0, COUNT). Exit status 0 when every call succeeded.
int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: registry_child KEY PREFIX COUNT\n");
        return 2;
    }
    const std::string prefix = argv[2];
    const int count = std::atoi(argv[3]);
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        const std::string name = prefix + "_" + std::to_string(i);
        HKEY key = nullptr;
        LONG rc = RegCreateKeyExA(HKEY_CURRENT_USER, argv[1], 0, nullptr, 0, KEY_ALL_ACCESS,
                                  nullptr, &key, nullptr);
        if (rc == ERROR_SUCCESS) {
            rc = RegSetValueExA(key, name.c_str(), 0, REG_SZ,
                                reinterpret_cast<const BYTE*>(name.c_str()),
                                static_cast<DWORD>(name.size() + 1));
        }
        HKEY subkey = nullptr;
        if (rc == ERROR_SUCCESS) {
            rc = RegCreateKeyExA(key, name.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &subkey,
                                 nullptr);
        }
        if (rc != ERROR_SUCCESS) {
            std::fprintf(stderr, "registry_child: %s failed with %ld\n", name.c_str(),
                         static_cast<long>(rc));
            ++failures;
        }
        RegCloseKey(subkey);
        RegCloseKey(key);
    }
    return failures == 0 ? 0 : 1;
}
